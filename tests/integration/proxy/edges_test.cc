// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the proxy's edge cases over a real connection: pushed callbacks that match no
// delegate, a body that cannot be read, calls before the connection stands, a failed send,
// dispose and destroy with outstanding delegates, and answers only a scripted peer gives.
#include "agent_fixture.hh"
#include "scripted_stub.hh"

namespace {

using vtest::Replies;

constexpr const char *kAgentEvent =
    "[__RPC_PORT__] endpoint(dev.velmora.account), port_name(AccountSvc)";

class NidlEdges : public vtest::AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    seed("alice@example.com", true, true);
  }

  rpc_port_AccountS_h alice() {
    return vtest::account_of({{rpc_port_AccountS_set_LoginId, "alice@example.com"},
                              {rpc_port_AccountS_set_ClientId, kClient}});
  }

  // Sends RequestAccessToken with a new once-delegate; returns the delegate.
  rpc_port_AccountSvc_ResponseCb_h request_token(rpc_port_proxy_AccountSvc_h proxy,
                                                 Replies *replies, int expect = 0) {
    rpc_port_AccountS_h a = alice();
    auto *d = rpc_port_AccountSvc_ResponseCb_create(Replies::on_account, true, replies);
    EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_RequestAccessToken(proxy, a, d), expect);
    rpc_port_AccountS_destroy(a);
    return d;
  }

  vtest::Events events_;
};

TEST_F(NidlEdges, PushWithUnknownDelegateIdIsLoggedAndConsumed) {
  fault("RequestAccessToken", "push_unknown_delegate_id", "true");
  rpc_port_proxy_AccountSvc_h proxy = connect_proxy(&events_);
  vtest::LogCapture log;
  Replies replies;
  auto *d = request_token(proxy, &replies);
  ASSERT_TRUE(vtest::run_until([&log] { return log.count(kAgentEvent) > 0; })) << log.dump();
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_WARN, "Unknown id(5)")) << log.dump();
  EXPECT_TRUE(replies.got.empty());
  EXPECT_EQ(vtest::listed(proxy), 1u);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_ResponseCb_dispose(proxy, d), 0);
}

TEST_F(NidlEdges, PushWithWrongSequenceNumberIsDroppedSilently) {
  fault("RequestAccessToken", "push_wrong_sequence", "true");
  rpc_port_proxy_AccountSvc_h proxy = connect_proxy(&events_);
  vtest::LogCapture log;
  Replies replies;
  request_token(proxy, &replies);
  ASSERT_TRUE(vtest::run_until([&log] { return log.count(kAgentEvent) > 0; })) << log.dump();
  for (const vtest::LogLine &l : log.lines()) {
    if (l.tag == vtest::kRpcTag) {
      EXPECT_LT(l.prio, DLOG_WARN) << "dropped silently: " << l.message;
    }
  }
  EXPECT_TRUE(replies.got.empty());
  EXPECT_EQ(vtest::listed(proxy), 1u) << "stays until disposed or the proxy goes";
}

TEST_F(NidlEdges, PushWithUnreadableBodyReachesTheDelegateAsFailure) {
  fault("RequestAccessToken", "push_malformed_body", "true");
  rpc_port_proxy_AccountSvc_h proxy = connect_proxy(&events_);
  Replies replies;
  request_token(proxy, &replies);
  ASSERT_TRUE(wait_replies(replies, 1));
  EXPECT_EQ(replies.got[0].result, -1);
  EXPECT_TRUE(replies.got[0].has_record);
  EXPECT_TRUE(replies.got[0].access_token.empty());
  EXPECT_EQ(vtest::listed(proxy), 0u);
}

TEST_F(NidlEdges, CallBeforeTheConnectedEventIsNotConnectedAndSendsNothing) {
  rpc_port_proxy_AccountSvc_callback_s cbs = {
      vtest::Events::on_connected, vtest::Events::on_disconnected, vtest::Events::on_rejected};
  rpc_port_proxy_AccountSvc_h proxy = nullptr;
  ASSERT_EQ(rpc_port_proxy_AccountSvc_create(kAgent, &cbs, &events_, &proxy), 0);
  proxies_.push_back(proxy);
  ASSERT_EQ(rpc_port_proxy_AccountSvc_connect(proxy), 0);

  vtest::LogCapture log;
  set_last_result(-99);
  Replies replies;
  auto *d = request_token(proxy, &replies, -1);
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Not connected")) << log.dump();
  EXPECT_EQ(get_last_result(), -99);
  EXPECT_EQ(vtest::listed(proxy), 0u);
  EXPECT_EQ(rpc_port_AccountSvc_ResponseCb_destroy(d), 0);  // still the caller's

  ASSERT_TRUE(vtest::run_until([this] { return events_.connected > 0; }));
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_INFO, kAgentEvent)) << log.dump();
  char *login = nullptr;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(proxy, &login), 0);
  EXPECT_STREQ(login, "alice@example.com");
  free(login);
}

TEST_F(NidlEdges, ConnectingAgainWhileConnectingReturnsThePlatformsCode) {
  rpc_port_proxy_AccountSvc_callback_s cbs = {
      vtest::Events::on_connected, vtest::Events::on_disconnected, vtest::Events::on_rejected};
  rpc_port_proxy_AccountSvc_h proxy = nullptr;
  ASSERT_EQ(rpc_port_proxy_AccountSvc_create(kAgent, &cbs, &events_, &proxy), 0);
  proxies_.push_back(proxy);
  ASSERT_EQ(rpc_port_proxy_AccountSvc_connect(proxy), 0);
  vtest::LogCapture log;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_connect(proxy), -22);
  EXPECT_TRUE(
      log.has(vtest::kRpcTag, DLOG_ERROR, "Failed to connect AccountSvc(dev.velmora.account)"))
      << log.dump();
  ASSERT_TRUE(vtest::run_until([this] { return events_.connected > 0; }));
  EXPECT_EQ(events_.connected, 1);
}

TEST_F(NidlEdges, FailedSendKeepsTheDelegateAndReportsIoError) {
  fault("GetDefaultAccount", "crash", "true");
  rpc_port_proxy_AccountSvc_h proxy = connect_proxy(&events_);
  vtest::LogCapture log;

  // The agent dies in the middle of the call: the port ends while waiting.
  char *login = nullptr;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(proxy, &login), -1);
  EXPECT_EQ(login, nullptr);
  EXPECT_EQ(get_last_result(), 0);
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Invalid protocol")) << log.dump();

  // The disconnected event has not run yet: the next call still has its port, and sending fails.
  log.clear();
  Replies replies;
  auto *d = request_token(proxy, &replies, -1);
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Failed to send parcel. result(-5)"))
      << log.dump();
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Invalid protocol")) << log.dump();
  EXPECT_EQ(get_last_result(), -5);
  EXPECT_EQ(vtest::listed(proxy), 1u) << "the proxy owns the delegate from the call on";

  ASSERT_TRUE(vtest::run_until([this] { return events_.disconnected > 0; }));
  EXPECT_EQ(vtest::listed(proxy), 1u);
  EXPECT_TRUE(replies.got.empty());
  log.clear();
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(proxy, &login), -1);
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Not connected")) << log.dump();
  EXPECT_EQ(rpc_port_proxy_AccountSvc_ResponseCb_dispose(proxy, d), 0);
  EXPECT_EQ(vtest::listed(proxy), 0u);
}

TEST_F(NidlEdges, ConnectionClosedMidCallEndsTheCallThenDisconnects) {
  fault("GetAccountList", "close_connection", "true");
  rpc_port_proxy_AccountSvc_h proxy = connect_proxy(&events_);
  const pid_t agent = agent_pid();
  vtest::LogCapture log;
  rpc_port_list_string_h list = nullptr;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetAccountList(proxy, &list), -1);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(get_last_result(), 0);
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Invalid protocol")) << log.dump();
  ASSERT_TRUE(vtest::run_until([this] { return events_.disconnected > 0; }));

  // The agent itself lives on and serves a new connection.
  vtest::Events again;
  rpc_port_proxy_AccountSvc_h other = connect_proxy(&again);
  EXPECT_EQ(agent_pid(), agent);
  char *login = nullptr;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(other, &login), 0);
  EXPECT_STREQ(login, "alice@example.com");
  free(login);
}

TEST_F(NidlEdges, DisposedDelegateIsNeverCalled) {
  rpc_port_proxy_AccountSvc_h proxy = connect_proxy(&events_);
  vtest::LogCapture log;
  Replies replies;
  auto *d = request_token(proxy, &replies);
  EXPECT_EQ(rpc_port_proxy_AccountSvc_ResponseCb_dispose(proxy, d), 0);
  EXPECT_EQ(vtest::listed(proxy), 0u);
  // The answer still arrives and is read, then dropped.
  ASSERT_TRUE(vtest::run_until([&log] { return log.count(kAgentEvent) > 0; })) << log.dump();
  EXPECT_TRUE(replies.got.empty());
}

TEST_F(NidlEdges, DestroyWithOutstandingDelegatesNeverCallsThem) {
  Replies replies;
  {
    vtest::Events events;
    rpc_port_proxy_AccountSvc_h proxy = connect_proxy(&events);
    request_token(proxy, &replies);
    rpc_port_AccountS_h a = alice();
    EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_CommonAccount(
                  proxy, a, 0,
                  rpc_port_AccountSvc_ResponseCb_create(Replies::on_account, false, &replies)),
              0);
    rpc_port_AccountS_destroy(a);
    EXPECT_EQ(vtest::listed(proxy), 2u);
    destroy_proxy(proxy);  // both answers are on their way; the leak checker sees the delegates go
  }
  // Another connection's full round trip, answer included: by then the first one's pushes were
  // sent long ago and nothing of them may reach a callback.
  vtest::Events events;
  rpc_port_proxy_AccountSvc_h other = connect_proxy(&events);
  Replies mine;
  request_token(other, &mine);
  ASSERT_TRUE(wait_replies(mine, 1));
  vtest::run_pending();
  EXPECT_TRUE(replies.got.empty());
}

TEST_F(NidlEdges, DelegateCallbackOnTheMainPortIsSkippedWhileWaiting) {
  vtest::ScriptedStub stub(*root_, vtest::Script::kCallbackBeforeResult);
  rpc_port_proxy_AccountSvc_h proxy = connect_proxy(&events_, vtest::ScriptedStub::kAppId);
  vtest::LogCapture log;
  char *login = nullptr;
  EXPECT_EQ(rpc_port_proxy_AccountSvc_invoke_GetDefaultAccount(proxy, &login), 7);
  EXPECT_STREQ(login, "scripted");
  free(login);
  EXPECT_EQ(log.count("Invalid protocol"), 0) << log.dump();
}

TEST_F(NidlEdges, SecondPushForAOnceDelegateIsDropped) {
  vtest::ScriptedStub stub(*root_, vtest::Script::kPushTwice);
  rpc_port_proxy_AccountSvc_h proxy = connect_proxy(&events_, vtest::ScriptedStub::kAppId);
  const std::string event = std::string("[__RPC_PORT__] endpoint(") + vtest::ScriptedStub::kAppId +
                            "), port_name(AccountSvc)";
  vtest::LogCapture log;
  Replies replies;
  request_token(proxy, &replies);
  ASSERT_TRUE(vtest::run_until([&] { return log.count(event) >= 2; })) << log.dump();
  ASSERT_EQ(replies.got.size(), 1u);
  EXPECT_EQ(replies.got[0].login_id, "first");
  EXPECT_EQ(vtest::listed(proxy), 0u);
}

TEST_F(NidlEdges, PushWithProtocolZeroIsInvalid) {
  vtest::ScriptedStub stub(*root_, vtest::Script::kPushProtocolZeroFirst);
  rpc_port_proxy_AccountSvc_h proxy = connect_proxy(&events_, vtest::ScriptedStub::kAppId);
  vtest::LogCapture log;
  Replies replies;
  request_token(proxy, &replies);
  ASSERT_TRUE(wait_replies(replies, 1));
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_ERROR, "Invalid protocol")) << log.dump();
  EXPECT_EQ(replies.got[0].login_id, "right");
}

TEST_F(NidlEdges, PushWithDelegateIdZeroIsUnknown) {
  vtest::ScriptedStub stub(*root_, vtest::Script::kPushIdZero);
  rpc_port_proxy_AccountSvc_h proxy = connect_proxy(&events_, vtest::ScriptedStub::kAppId);
  vtest::LogCapture log;
  Replies replies;
  request_token(proxy, &replies);
  ASSERT_TRUE(wait_replies(replies, 1));
  EXPECT_TRUE(log.has(vtest::kRpcTag, DLOG_WARN, "Unknown id(0)")) << log.dump();
  ASSERT_EQ(replies.got.size(), 1u);
  EXPECT_EQ(replies.got[0].login_id, "right");
}

}  // namespace
