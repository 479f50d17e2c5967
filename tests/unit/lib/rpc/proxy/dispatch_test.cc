// SPDX-License-Identifier: Apache-2.0
// Velmora tests: pushed callbacks, dispatched by protocol value and delegate id to the receive
// routines, with parcels built by hand.
#include <gtest/gtest.h>

#include "log_capture.hh"
#include "proxy_fixture.hh"

namespace {

using vtest::Calls;
using vtest::pushed;

constexpr const char *kEventLine =
    "[__RPC_PORT__] endpoint(dev.velmora.account), port_name(AccountSvc)";

void dispatch(rpc_port_proxy_AccountSvc_h h, rpc_port_parcel_h p) {
  va::proxy::dispatch_callback(h, p, "dev.velmora.account", "AccountSvc");
}

void write_account(rpc_port_parcel_h p, const char *login_id) {
  rpc_port_AccountS_h a = nullptr;
  rpc_port_AccountS_create(&a);
  rpc_port_AccountS_set_LoginId(a, login_id);
  rpc_port_AccountS_set_TokenExpiresIn(a, 3600);
  rpc_port_parcel_write(p, va::rec::parcelable_of(a), a);
  rpc_port_AccountS_destroy(a);
}

class ProxyDispatch : public ::testing::Test {
 protected:
  void SetUp() override { proxy_ = vtest::bare_proxy(); }
  void TearDown() override {
    if (proxy_) rpc_port_proxy_AccountSvc_destroy(proxy_);
  }
  template <typename D>
  D add(D d) {
    proxy_->delegates = g_list_append(proxy_->delegates, d);
    return d;
  }
  int seq_of(void *d) { return static_cast<va::proxy::Delegate *>(d)->seq; }

  rpc_port_proxy_AccountSvc_h proxy_ = nullptr;
  Calls calls_;
};

TEST_F(ProxyDispatch, ResponseCbGetsResultAndRecordAndOnceDelegateIsRemoved) {
  auto *d = add(rpc_port_AccountSvc_ResponseCb_create(Calls::on_account, true, &calls_));
  vtest::LogCapture log;
  rpc_port_parcel_h p = pushed(1, 1, seq_of(d));
  rpc_port_parcel_write_int32(p, -22);
  write_account(p, "alice@example.com");
  dispatch(proxy_, p);
  ASSERT_EQ(calls_.calls.size(), 1u);
  EXPECT_EQ(calls_.calls[0].result, -22);
  EXPECT_EQ(calls_.calls[0].text, "alice@example.com");
  EXPECT_EQ(vtest::listed(proxy_), 0u);
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_INFO, kEventLine)) << log.dump();
}

TEST_F(ProxyDispatch, SecondPushForOnceDelegateIsDroppedSilently) {
  auto *d = add(rpc_port_AccountSvc_ResponseCb_create(Calls::on_account, true, &calls_));
  const int seq = seq_of(d);
  for (int i = 0; i < 2; ++i) {
    rpc_port_parcel_h p = pushed(1, 1, seq);
    rpc_port_parcel_write_int32(p, 0);
    write_account(p, "bob");
    vtest::LogCapture log;
    dispatch(proxy_, p);
    // Only the event line: a push that matches nothing is read and dropped without a word.
    ASSERT_EQ(log.lines().size(), 1u) << log.dump();
    EXPECT_EQ(log.lines()[0].text(), kEventLine);
  }
  EXPECT_EQ(calls_.calls.size(), 1u);
}

TEST_F(ProxyDispatch, DelegateWithoutOnceStaysAndIsCalledAgain) {
  auto *d = add(rpc_port_AccountSvc_ResponseErrorCb_create(Calls::on_error, false, &calls_));
  for (int result : {7, 8}) {
    rpc_port_parcel_h p = pushed(1, 2, seq_of(d), /*once=*/true);  // the header's flag is ignored
    rpc_port_parcel_write_int32(p, result);
    dispatch(proxy_, p);
  }
  ASSERT_EQ(calls_.calls.size(), 2u);
  EXPECT_EQ(calls_.calls[0].result, 7);
  EXPECT_EQ(calls_.calls[1].result, 8);
  EXPECT_EQ(vtest::listed(proxy_), 1u);
}

TEST_F(ProxyDispatch, MatchNeedsBothIdAndSequenceNumber) {
  // The first delegate of each type has sequence number 1: the id tells them apart.
  auto *a = add(rpc_port_AccountSvc_ResponseCb_create(Calls::on_account, true, &calls_));
  auto *e = add(rpc_port_AccountSvc_ResponseErrorCb_create(Calls::on_error, true, &calls_));
  ASSERT_EQ(seq_of(a), seq_of(e));
  rpc_port_parcel_h p = pushed(1, 2, seq_of(e));
  rpc_port_parcel_write_int32(p, 5);
  dispatch(proxy_, p);
  ASSERT_EQ(calls_.calls.size(), 1u);
  EXPECT_EQ(calls_.calls[0].result, 5);
  EXPECT_EQ(vtest::listed(proxy_), 1u);
  EXPECT_EQ(proxy_->delegates->data, static_cast<void *>(a));

  // Right id, wrong sequence number: nothing is called.
  p = pushed(1, 1, seq_of(a) + 100);
  rpc_port_parcel_write_int32(p, 0);
  write_account(p, "x");
  dispatch(proxy_, p);
  EXPECT_EQ(calls_.calls.size(), 1u);
  EXPECT_EQ(vtest::listed(proxy_), 1u);
}

TEST_F(ProxyDispatch, PlaceAndProfileDelegatesGetTheirRecords) {
  auto *pl = add(rpc_port_AccountSvc_ResponsePlaceCb_create(Calls::on_place, true, &calls_));
  auto *pr = add(rpc_port_AccountSvc_ResponseProfileCb_create(Calls::on_profile, true, &calls_));

  rpc_port_parcel_h p = pushed(1, 3, seq_of(pl));
  rpc_port_parcel_write_int32(p, 0);
  rpc_port_PlaceInfoS_h info = nullptr;
  rpc_port_PlaceInfoS_create(&info);
  rpc_port_PlaceInfoS_set_Reserved(info, "home");
  rpc_port_parcel_write(p, va::rec::parcelable_of(info), info);
  rpc_port_PlaceInfoS_destroy(info);
  dispatch(proxy_, p);

  p = pushed(1, 4, seq_of(pr));
  rpc_port_parcel_write_int32(p, 1);
  rpc_port_ProfileS_h profile = nullptr;
  rpc_port_ProfileS_create(&profile);
  rpc_port_ProfileS_set_Resource(profile, "all");
  rpc_port_parcel_write(p, va::rec::parcelable_of(profile), profile);
  rpc_port_ProfileS_destroy(profile);
  dispatch(proxy_, p);

  ASSERT_EQ(calls_.calls.size(), 2u);
  EXPECT_EQ(calls_.calls[0].result, 0);
  EXPECT_EQ(calls_.calls[0].text, "home");
  EXPECT_EQ(calls_.calls[1].result, 1);
  EXPECT_EQ(calls_.calls[1].text, "all");
  EXPECT_EQ(vtest::listed(proxy_), 0u);
}

TEST_F(ProxyDispatch, UnknownIdsZeroAndFiveAreLoggedAndConsumed) {
  auto *d = add(rpc_port_AccountSvc_ResponseCb_create(Calls::on_account, true, &calls_));
  for (int id : {0, 5}) {
    vtest::LogCapture log;
    rpc_port_parcel_h p = pushed(1, id, seq_of(d));
    rpc_port_parcel_write_int32(p, 0);
    dispatch(proxy_, p);
    const std::string text = "Unknown id(" + std::to_string(id) + ")";
    EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_WARN, text)) << log.dump();
    EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_INFO, kEventLine)) << log.dump();
  }
  EXPECT_TRUE(calls_.calls.empty());
  EXPECT_EQ(vtest::listed(proxy_), 1u);
}

TEST_F(ProxyDispatch, ProtocolOtherThanCallbackIsInvalid) {
  auto *d = add(rpc_port_AccountSvc_ResponseCb_create(Calls::on_account, true, &calls_));
  for (int protocol : {0, 2, -1}) {
    vtest::LogCapture log;
    rpc_port_parcel_h p = pushed(protocol, 1, seq_of(d));
    rpc_port_parcel_write_int32(p, 0);
    write_account(p, "x");
    dispatch(proxy_, p);
    EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Invalid protocol")) << log.dump();
    EXPECT_EQ(log.count(kEventLine), 0) << "no event line after an invalid protocol";
  }
  // An empty parcel has no protocol at all.
  vtest::LogCapture log;
  rpc_port_parcel_h empty = nullptr;
  rpc_port_parcel_create(&empty);
  dispatch(proxy_, empty);
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Invalid protocol")) << log.dump();
  EXPECT_TRUE(calls_.calls.empty());
  EXPECT_EQ(vtest::listed(proxy_), 1u);
}

TEST_F(ProxyDispatch, TruncatedBodyStillReachesTheDelegateWithWhatWasRead) {
  auto *d = add(rpc_port_AccountSvc_ResponseCb_create(Calls::on_account, true, &calls_));
  rpc_port_parcel_h p = pushed(1, 1, seq_of(d));
  rpc_port_parcel_write_int32(p, 42);
  rpc_port_parcel_write_string(p, "only-the-first-field");
  dispatch(proxy_, p);
  ASSERT_EQ(calls_.calls.size(), 1u);
  EXPECT_EQ(calls_.calls[0].result, 42);
  EXPECT_EQ(calls_.calls[0].text, "");  // LoginId was never reached
  EXPECT_EQ(vtest::listed(proxy_), 0u);
}

TEST_F(ProxyDispatch, BodyTooShortForTheResultReadsAsFailure) {
  auto *d = add(rpc_port_AccountSvc_ResponseErrorCb_create(Calls::on_error, true, &calls_));
  rpc_port_parcel_h p = pushed(1, 2, seq_of(d));
  rpc_port_parcel_write_byte(p, 1);  // not even an int32
  dispatch(proxy_, p);
  ASSERT_EQ(calls_.calls.size(), 1u);
  EXPECT_EQ(calls_.calls[0].result, -1);
}

TEST_F(ProxyDispatch, ReceiveRoutineCanBeDrivenDirectly) {
  auto *d = add(rpc_port_AccountSvc_ResponseErrorCb_create(Calls::on_error, true, &calls_));
  rpc_port_parcel_h p = nullptr;
  rpc_port_parcel_create(&p);
  rpc_port_parcel_write_int32(p, -13);
  va::proxy::receive(*va::proxy::delegate_type(2), &proxy_->delegates, p, seq_of(d), 2);
  rpc_port_parcel_destroy(p);
  ASSERT_EQ(calls_.calls.size(), 1u);
  EXPECT_EQ(calls_.calls[0].result, -13);
  EXPECT_EQ(proxy_->delegates, nullptr);
  EXPECT_EQ(va::proxy::delegate_type(0), nullptr);
  EXPECT_EQ(va::proxy::delegate_type(5), nullptr);
}

TEST_F(ProxyDispatch, DestroyWithOutstandingDelegatesReleasesThemUncalled) {
  add(rpc_port_AccountSvc_ResponseCb_create(Calls::on_account, true, &calls_));
  add(rpc_port_AccountSvc_ResponseErrorCb_create(Calls::on_error, false, &calls_));
  add(rpc_port_AccountSvc_ResponsePlaceCb_create(Calls::on_place, true, &calls_));
  add(rpc_port_AccountSvc_ResponseProfileCb_create(Calls::on_profile, false, &calls_));
  EXPECT_EQ(rpc_port_proxy_AccountSvc_destroy(proxy_), 0);
  proxy_ = nullptr;  // the leak checker proves the four delegates were freed
  EXPECT_TRUE(calls_.calls.empty());
}

// A completion callback that ends its own connection: the proxy goes away after the dispatch.
struct SelfDestroy {
  rpc_port_proxy_AccountSvc_h proxy;
  int called = 0;
  static void cb(void *self, int result) {
    auto *s = static_cast<SelfDestroy *>(self);
    s->called++;
    EXPECT_EQ(rpc_port_proxy_AccountSvc_destroy(s->proxy), 0);
  }
};

TEST_F(ProxyDispatch, DelegateCallbackMayDestroyItsProxy) {
  SelfDestroy s{proxy_};
  auto *d = add(rpc_port_AccountSvc_ResponseErrorCb_create(SelfDestroy::cb, true, &s));
  add(rpc_port_AccountSvc_ResponseCb_create(Calls::on_account, true, &calls_));
  rpc_port_parcel_h p = pushed(1, 2, seq_of(d));
  rpc_port_parcel_write_int32(p, 0);
  vtest::LogCapture log;
  dispatch(proxy_, p);
  proxy_ = nullptr;
  EXPECT_EQ(s.called, 1);
  EXPECT_TRUE(calls_.calls.empty());
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_INFO, kEventLine)) << log.dump();
}

}  // namespace
