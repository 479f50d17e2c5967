// SPDX-License-Identifier: Apache-2.0
// Velmora tests: reply delegates: ids, sequence numbers, parcel form, destroy and dispose.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <thread>

#include "log_capture.hh"
#include "proxy_fixture.hh"
#include "velmora_host.h"

namespace {

using vtest::Calls;

va::proxy::Delegate *as_delegate(void *h) { return static_cast<va::proxy::Delegate *>(h); }

TEST(ProxyDelegates, FirstOfEachTypeHasSequenceOneAndItsOwnId) {
  Calls calls;
  auto *a = rpc_port_AccountSvc_ResponseCb_create(Calls::on_account, true, &calls);
  auto *e = rpc_port_AccountSvc_ResponseErrorCb_create(Calls::on_error, false, &calls);
  auto *p = rpc_port_AccountSvc_ResponsePlaceCb_create(Calls::on_place, true, nullptr);
  auto *f = rpc_port_AccountSvc_ResponseProfileCb_create(Calls::on_profile, true, &calls);
  ASSERT_TRUE(a && e && p && f);
  EXPECT_EQ(as_delegate(a)->seq, 1);
  EXPECT_EQ(as_delegate(e)->seq, 1);
  EXPECT_EQ(as_delegate(p)->seq, 1);
  EXPECT_EQ(as_delegate(f)->seq, 1);
  EXPECT_EQ(as_delegate(a)->id, 1);
  EXPECT_EQ(as_delegate(e)->id, 2);
  EXPECT_EQ(as_delegate(p)->id, 3);
  EXPECT_EQ(as_delegate(f)->id, 4);
  EXPECT_TRUE(as_delegate(a)->once);
  EXPECT_FALSE(as_delegate(e)->once);
  EXPECT_EQ(as_delegate(a)->user_data, &calls);
  EXPECT_EQ(as_delegate(p)->user_data, nullptr);

  auto *a2 = rpc_port_AccountSvc_ResponseCb_create(Calls::on_account, true, nullptr);
  EXPECT_EQ(as_delegate(a2)->seq, 2);
  EXPECT_EQ(va::proxy::last_sequence(1), 2u);
  EXPECT_EQ(va::proxy::last_sequence(2), 1u);

  EXPECT_EQ(rpc_port_AccountSvc_ResponseCb_destroy(a), 0);
  EXPECT_EQ(rpc_port_AccountSvc_ResponseCb_destroy(a2), 0);
  EXPECT_EQ(rpc_port_AccountSvc_ResponseErrorCb_destroy(e), 0);
  EXPECT_EQ(rpc_port_AccountSvc_ResponsePlaceCb_destroy(p), 0);
  EXPECT_EQ(rpc_port_AccountSvc_ResponseProfileCb_destroy(f), 0);
}

TEST(ProxyDelegates, SequenceNumbersStayUniqueAcrossThreads) {
  constexpr int kThreads = 4;
  constexpr int kEach = 500;
  std::vector<std::vector<int>> seen(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&seen, t] {
      for (int i = 0; i < kEach; ++i) {
        auto *d = rpc_port_AccountSvc_ResponseErrorCb_create(Calls::on_error, true, nullptr);
        seen[t].push_back(as_delegate(d)->seq);
        rpc_port_AccountSvc_ResponseErrorCb_destroy(d);
      }
    });
  }
  for (auto &th : threads) th.join();
  std::set<int> all;
  for (auto &v : seen) all.insert(v.begin(), v.end());
  EXPECT_EQ(all.size(), static_cast<size_t>(kThreads * kEach));
  EXPECT_EQ(*all.begin(), 1);
  EXPECT_EQ(*all.rbegin(), kThreads * kEach);
}

TEST(ProxyDelegates, ParcelFormIsIdSequenceOnce) {
  auto *d = rpc_port_AccountSvc_ResponseProfileCb_create(Calls::on_profile, false, nullptr);
  rpc_port_parcel_h p = nullptr;
  ASSERT_EQ(rpc_port_parcel_create(&p), 0);
  ASSERT_EQ(rpc_port_parcel_write(p, va::rec::parcelable_of(d), d), 0);
  const void *raw = nullptr;
  unsigned int size = 0;
  ASSERT_EQ(velmora_host_parcel_get_raw(p, &raw, &size), 0);

  rpc_port_parcel_h q = nullptr;
  ASSERT_EQ(velmora_host_parcel_create_from_raw(&q, raw, size), 0);
  int id = 0, seq = 0;
  bool once = true;
  EXPECT_EQ(rpc_port_parcel_read_int32(q, &id), 0);
  EXPECT_EQ(rpc_port_parcel_read_int32(q, &seq), 0);
  EXPECT_EQ(rpc_port_parcel_read_bool(q, &once), 0);
  EXPECT_EQ(id, 4);
  EXPECT_EQ(seq, as_delegate(d)->seq);
  EXPECT_FALSE(once);
  char extra = 0;
  EXPECT_NE(rpc_port_parcel_read_byte(q, &extra), 0) << "nothing follows the header";

  // Read back through the parcelable pair into another delegate.
  rpc_port_parcel_h r = nullptr;
  ASSERT_EQ(velmora_host_parcel_create_from_raw(&r, raw, size), 0);
  auto *back = rpc_port_AccountSvc_ResponseProfileCb_create(Calls::on_profile, true, nullptr);
  ASSERT_EQ(rpc_port_parcel_read(r, va::rec::parcelable_of(back), back), 0);
  EXPECT_EQ(as_delegate(back)->id, 4);
  EXPECT_EQ(as_delegate(back)->seq, as_delegate(d)->seq);
  EXPECT_FALSE(as_delegate(back)->once);

  rpc_port_parcel_destroy(p);
  rpc_port_parcel_destroy(q);
  rpc_port_parcel_destroy(r);
  rpc_port_AccountSvc_ResponseProfileCb_destroy(d);
  rpc_port_AccountSvc_ResponseProfileCb_destroy(back);
}

TEST(ProxyDelegates, DestroyNullIsInvalidParameter) {
  vtest::LogCapture log;
  EXPECT_EQ(rpc_port_AccountSvc_ResponseCb_destroy(nullptr), -1);
  EXPECT_EQ(rpc_port_AccountSvc_ResponseErrorCb_destroy(nullptr), -1);
  EXPECT_EQ(rpc_port_AccountSvc_ResponsePlaceCb_destroy(nullptr), -1);
  EXPECT_EQ(rpc_port_AccountSvc_ResponseProfileCb_destroy(nullptr), -1);
  EXPECT_EQ(log.count("Invalid parameter"), 4) << log.dump();
  const vtest::LogLine *line = log.find("Invalid parameter");
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->tag, vtest::kRpcTag);
  EXPECT_EQ(line->prio, DLOG_ERROR);
  EXPECT_EQ(line->function(), "rpc_port_AccountSvc_ResponseCb_destroy");
}

TEST(ProxyDelegates, DisposeWithNullArgumentsLogsBothPointers) {
  rpc_port_proxy_AccountSvc_h proxy = vtest::bare_proxy();
  auto *d = rpc_port_AccountSvc_ResponseCb_create(Calls::on_account, true, nullptr);
  vtest::LogCapture log;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_ResponseCb_dispose(nullptr, d), -1);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_ResponseCb_dispose(proxy, nullptr), -1);
  char first[128], second[128];
  snprintf(first, sizeof(first), "Invalid handle %p %p", static_cast<void *>(nullptr),
           static_cast<void *>(d));
  snprintf(second, sizeof(second), "Invalid handle %p %p", static_cast<void *>(proxy),
           static_cast<void *>(nullptr));
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, first)) << log.dump();
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, second)) << log.dump();
  rpc_port_AccountSvc_ResponseCb_destroy(d);
  rpc_port_proxy_AccountSvc_destroy(proxy);
}

TEST(ProxyDelegates, DisposeOfUnlistedDelegateFailsSilentlyAndLeavesItAllocated) {
  rpc_port_proxy_AccountSvc_h proxy = vtest::bare_proxy();
  auto *listed = rpc_port_AccountSvc_ResponseErrorCb_create(Calls::on_error, true, nullptr);
  auto *stray = rpc_port_AccountSvc_ResponseErrorCb_create(Calls::on_error, true, nullptr);
  vtest::LogCapture log;
  // Empty list.
  EXPECT_EQ(rpc_port_proxy_AccountSvc_ResponseErrorCb_dispose(proxy, stray), -1);
  // Non-empty list without it.
  proxy->delegates = g_list_append(proxy->delegates, listed);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_ResponseErrorCb_dispose(proxy, stray), -1);
  EXPECT_TRUE(log.lines().empty()) << log.dump();
  EXPECT_EQ(vtest::listed(proxy), 1u);
  // Still allocated: the caller may destroy it (a double free would be caught by the sanitizer).
  EXPECT_EQ(as_delegate(stray)->id, 2);
  EXPECT_EQ(rpc_port_AccountSvc_ResponseErrorCb_destroy(stray), 0);
  rpc_port_proxy_AccountSvc_destroy(proxy);
}

TEST(ProxyDelegates, DisposeOfListedDelegateUnlinksAndFreesIt) {
  rpc_port_proxy_AccountSvc_h proxy = vtest::bare_proxy();
  auto *a = rpc_port_AccountSvc_ResponseCb_create(Calls::on_account, true, nullptr);
  auto *b = rpc_port_AccountSvc_ResponsePlaceCb_create(Calls::on_place, false, nullptr);
  auto *c = rpc_port_AccountSvc_ResponseProfileCb_create(Calls::on_profile, true, nullptr);
  proxy->delegates = g_list_append(proxy->delegates, a);
  proxy->delegates = g_list_append(proxy->delegates, b);
  proxy->delegates = g_list_append(proxy->delegates, c);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_ResponsePlaceCb_dispose(proxy, b), 0);
  EXPECT_EQ(vtest::listed(proxy), 2u);
  EXPECT_EQ(g_list_nth_data(proxy->delegates, 0), static_cast<void *>(a));
  EXPECT_EQ(g_list_nth_data(proxy->delegates, 1), static_cast<void *>(c));
  EXPECT_EQ(rpc_port_proxy_AccountSvc_ResponseCb_dispose(proxy, a), 0);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_ResponseProfileCb_dispose(proxy, c), 0);
  EXPECT_EQ(vtest::listed(proxy), 0u);
  rpc_port_proxy_AccountSvc_destroy(proxy);
}

}  // namespace
