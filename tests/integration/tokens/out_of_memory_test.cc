// SPDX-License-Identifier: Apache-2.0
// Velmora tests: token requests and the agent connection when the library runs out of memory.
//
// Against the real agent, every allocation the library makes for one public call (from the call
// to its callback: the checks, the clone, the request record, the reply holder, the reply's values
// copied into the clone; for connect, the handle and its proxy) is made to fail in turn
// (tests/support/alloc_faults.hh). Each run returns VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY at once
// (and no callback comes), or its callback runs exactly once with VELMORA_ACCOUNT_ERROR_NONE and
// every value of the reply, or with VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY; nothing crashes and
// nothing leaks (every run, in one process under the leak checker).
#include <gtest/gtest.h>

#include <string>

#include "account_fixture.hh"
#include "alloc_faults.hh"

namespace vtest {
namespace {

using TokensOutOfMemory = AccountTest;

// Gives the main loop a moment, so that a callback that should not come would come.
void settle() {
  run_until([] { return false; }, 50);
}

void expect_token_or_out_of_memory(AllocationRun &run, velmora_account_h h) {
  Completion done;
  const int ret = velmora_account_request_access_token(h, Completion::cb, &done);
  if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
    run.stop();
    EXPECT_EQ(ret, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
    settle();
    EXPECT_EQ(done.calls, 0);
    return;
  }
  const bool called = done.wait();
  run.stop();  // the call ended with its callback; what follows reads the answer
  ASSERT_TRUE(called);
  EXPECT_EQ(done.calls, 1);
  if (done.result == VELMORA_ACCOUNT_ERROR_NONE) {
    // A complete answer: the token and its values are all there.
    EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN).size(), 43u);
    EXPECT_NE(done.str(VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN), "<unset>");
    EXPECT_EQ(done.integer(VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN), 3600);
  } else {
    EXPECT_EQ(done.result, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  }
}

TEST_F(TokensOutOfMemory, AccessTokenOverAppControl) {
  if (!allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
  prepare();
  velmora_account_h h = app_control_handle();
  ASSERT_NE(h, nullptr);
  token_over_app_control();  // the agent runs: every walked call meets it the same way
  const long total = each_failing_allocation(kLibraryAllocations, [&](long, AllocationRun &run) {
    expect_token_or_out_of_memory(run, h);
  });
  EXPECT_GT(total, 3);
}

// The same request with the platform's allocations failing in turn: the app control object the
// library makes and fills, and the values it reads from the reply. (Over the port a parcel that
// cannot be written is not sent, and the proxy then waits for its result until the method call
// time-out and closes the connection, by design: that walk is not made here; the reply's part of
// it is, in AccessTokenReplyReadFromThePort.)
TEST_F(TokensOutOfMemory, AccessTokenOverAppControlWithThePlatformOutOfMemory) {
  if (!allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
  prepare();
  velmora_account_h h = app_control_handle();
  ASSERT_NE(h, nullptr);
  token_over_app_control();
  const long total = each_failing_allocation(kPlatformAllocations, [&](long, AllocationRun &run) {
    expect_token_or_out_of_memory(run, h);
  });
  EXPECT_GT(total, 3);
}

TEST_F(TokensOutOfMemory, AccessTokenOverThePort) {
  if (!allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
  prepare();
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  const long total = each_failing_allocation(kLibraryAllocations, [&](long, AllocationRun &run) {
    expect_token_or_out_of_memory(run, h);
  });
  EXPECT_GT(total, 3);
}

// Over the port, every allocation the platform makes once the request is sent (the texts of the
// AccountS read from the pushed reply) fails in turn: each such run is answered with
// VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY, never with the values that could be read.
TEST_F(TokensOutOfMemory, AccessTokenReplyReadFromThePort) {
  if (!allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
  prepare();
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  const long total = each_failing_allocation_of_answer<Completion>(
      kPlatformAllocations,
      [h](Completion &done, AllocationRun &) {
        return velmora_account_request_access_token(h, Completion::cb, &done);
      },
      [](const Completion &done) {
        EXPECT_EQ(done.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN).size(), 43u);
        EXPECT_EQ(done.integer(VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN), 3600);
      });
  EXPECT_GE(total, 20);  // the twenty texts of an AccountS
}

// The blocking last access token over the port: every allocation of the library fails in turn,
// the AccountS the answer is read into among them. Each run returns OUT_OF_MEMORY and no handle,
// or NONE and a handle with the whole token; never a result read from the wrong place of the
// answer.
TEST_F(TokensOutOfMemory, LastAccessTokenSync) {
  if (!allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
  prepare();
  velmora_account_h h = connected_handle();
  ASSERT_NE(h, nullptr);
  const std::string token = token_through(h);
  ASSERT_EQ(token.size(), 43u);
  const long total = each_failing_allocation(kLibraryAllocations, [&](long n, AllocationRun &run) {
    velmora_account_h response = nullptr;
    const int ret = velmora_account_get_last_access_token_sync(h, &response);
    run.stop();
    Completion holder;  // owns `response` from here
    holder.account = response;
    if (ret == VELMORA_ACCOUNT_ERROR_NONE) {
      ASSERT_NE(response, nullptr);
      EXPECT_EQ(holder.str(VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN), token);
      EXPECT_EQ(holder.str(VELMORA_ACCOUNT_PROPERTY_LOGIN_ID), kLogin);
    } else {
      EXPECT_EQ(ret, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
      EXPECT_NE(n, 0);
      EXPECT_EQ(response, nullptr);
    }
  });
  EXPECT_GT(total, 3);
}

TEST_F(TokensOutOfMemory, ConnectAndDisconnect) {
  if (!allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
  prepare();
  const long total = each_failing_allocation(kLibraryAllocations, [&](long, AllocationRun &run) {
    Connection events;
    velmora_account_h h = nullptr;
    const int ret = velmora_account_connect(&h, Connection::cb, &events);
    if (ret != VELMORA_ACCOUNT_ERROR_NONE) {
      EXPECT_EQ(ret, VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
      EXPECT_EQ(h, nullptr);
      return;
    }
    ASSERT_NE(h, nullptr);
    const bool told = run_until([&] { return events.events > 0; });
    run.stop();
    ASSERT_TRUE(told);
    EXPECT_TRUE(events.last_state == VELMORA_ACCOUNT_CONNECTION_STATE_CONNECTED ||
                events.last_result == VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY)
        << events.last_state << " " << events.last_result;
    velmora_account_disconnect(h);
  });
  EXPECT_GT(total, 2);
}

}  // namespace
}  // namespace vtest
