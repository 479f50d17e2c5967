// SPDX-License-Identifier: Apache-2.0
// Velmora tests: rpc-port proxy events: rejection, disconnection, time-outs, destroy.
#include <gtest/gtest.h>
#include <signal.h>

#include "ipc_fixture.hh"

namespace {

using vtest::Client;
using vtest::IpcTest;
using vtest::Result;
using vtest::apps::drain;
using vtest::apps::run_until;

constexpr const char *kApp = "test.echo";

class RpcPortEvents : public IpcTest {
 protected:
  void SetUp() override { install(kApp, "ipc_echo_stub"); }

  void connect(Client *c) {
    ASSERT_EQ(c->connect(kApp), 0);
    ASSERT_TRUE(run_until([&] { return c->ended(); }));
    ASSERT_EQ(c->connected, 1);
  }
};

TEST_F(RpcPortEvents, ConnectRefusesBadArgumentsAndASecondConnect) {
  Client c;
  EXPECT_EQ(rpc_port_proxy_connect(nullptr, kApp, "Echo"), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_proxy_connect(c.proxy, nullptr, "Echo"), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_proxy_connect(c.proxy, kApp, nullptr), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_proxy_connect(c.proxy, "../escape", "Echo"), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_proxy_connect(c.proxy, kApp, "a/b"), RPC_PORT_ERROR_INVALID_PARAMETER);
  ASSERT_EQ(c.connect(kApp), 0);
  EXPECT_EQ(c.connect(kApp), RPC_PORT_ERROR_INVALID_PARAMETER);  // still connecting
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  ASSERT_EQ(c.connected, 1);
  EXPECT_EQ(c.connect(kApp), RPC_PORT_ERROR_INVALID_PARAMETER);  // connected
}

TEST_F(RpcPortEvents, PortsAreOnlyThereWhenConnected) {
  Client c;
  rpc_port_h port = nullptr;
  EXPECT_NE(rpc_port_proxy_get_port(c.proxy, RPC_PORT_PORT_MAIN, &port), 0);
  EXPECT_EQ(port, nullptr);
  EXPECT_EQ(rpc_port_proxy_get_port(c.proxy, RPC_PORT_PORT_MAIN, nullptr),
            RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_proxy_get_port(c.proxy, (rpc_port_port_type_e)7, &port),
            RPC_PORT_ERROR_INVALID_PARAMETER);
  connect(&c);
  ASSERT_EQ(rpc_port_proxy_get_port(c.proxy, RPC_PORT_PORT_MAIN, &port), 0);
  EXPECT_EQ(port, c.main_port);
  ASSERT_EQ(rpc_port_proxy_get_port(c.proxy, RPC_PORT_PORT_CALLBACK, &port), 0);
  EXPECT_EQ(port, c.callback_port);
}

TEST_F(RpcPortEvents, NotRegisteredAppIsRejected) {
  Client c;
  ASSERT_EQ(c.connect("test.nobody"), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  EXPECT_EQ(c.rejected, 1);
  EXPECT_EQ(c.connected, 0);
  EXPECT_EQ(c.endpoint, "test.nobody");
  EXPECT_EQ(c.port_name, "Echo");
}

TEST_F(RpcPortEvents, MissingExecutableIsRejected) {
  install_exec("test.missing", root.path_of("no-such-program"));
  Client c;
  ASSERT_EQ(c.connect("test.missing"), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  EXPECT_EQ(c.rejected, 1);
}

TEST_F(RpcPortEvents, AppThatExitsBeforeListeningIsRejected) {
  install("test.quitter", "ipc_quitter");
  Client c;
  ASSERT_EQ(c.connect("test.quitter"), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  EXPECT_EQ(c.rejected, 1);
  EXPECT_EQ(starts("test.quitter").size(), 1u);
}

TEST_F(RpcPortEvents, AppThatNeverListensIsRejectedAfterTheLaunchTimeOut) {
  setenv("VELMORA_TEST_NO_LISTEN", "1", 1);
  setenv("VELMORA_LAUNCH_TIMEOUT_MS", "500", 1);
  Client c;
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  EXPECT_EQ(c.rejected, 1);
  // Started once (it may still be writing its start line: it never listens, so nothing waited).
  EXPECT_TRUE(run_until([&] { return starts(kApp).size() == 1; }));
}

TEST_F(RpcPortEvents, PortTheStubDoesNotServeIsRejected) {
  Client first;
  connect(&first);  // the application runs, serving "Echo" only
  setenv("VELMORA_LAUNCH_TIMEOUT_MS", "300", 1);
  Client c;
  ASSERT_EQ(c.connect(kApp, "Other"), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  EXPECT_EQ(c.rejected, 1);
  EXPECT_EQ(starts(kApp).size(), 1u);  // a running instance is not started again
}

TEST_F(RpcPortEvents, DisallowedCallerIsRejected) {
  setenv("VELMORA_TEST_ALLOWED", "test.friend", 1);
  setenv("VELMORA_APP_ID", "test.stranger", 1);
  Client c;
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  EXPECT_EQ(c.rejected, 1);
  EXPECT_EQ(c.connected, 0);
}

TEST_F(RpcPortEvents, CallerThatIsNoApplicationIsRejectedByARestrictedStub) {
  setenv("VELMORA_TEST_ALLOWED", "test.friend", 1);
  Client c;
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  EXPECT_EQ(c.rejected, 1);
}

TEST_F(RpcPortEvents, AllowedCallerConnects) {
  setenv("VELMORA_TEST_ALLOWED", "test.other,test.friend", 1);
  setenv("VELMORA_APP_ID", "test.friend", 1);
  Client c;
  connect(&c);
  Result r(c.main_port, {"info"});
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(vtest::take_string(r.parcel), "test.friend");
}

TEST_F(RpcPortEvents, KilledStubAppGivesOneDisconnectedEvent) {
  Client c;
  connect(&c);
  pid_t pid;
  {
    Result r(c.main_port, {"pid"});
    ASSERT_EQ(r.status, 0);
    pid = vtest::take_int(r.parcel);
  }
  ASSERT_GT(pid, 0);
  EXPECT_EQ(pid, vtest::apps::instance_pid(root.path(), kApp));
  ASSERT_EQ(kill(pid, SIGKILL), 0);
  ASSERT_TRUE(run_until([&] { return c.disconnected > 0; }));
  drain();
  EXPECT_EQ(c.disconnected, 1);
  EXPECT_EQ(c.rejected, 0);
  rpc_port_h port = nullptr;
  EXPECT_NE(rpc_port_proxy_get_port(c.proxy, RPC_PORT_PORT_MAIN, &port), 0);
}

TEST_F(RpcPortEvents, ConnectAgainAfterDisconnectRelaunches) {
  Client c;
  connect(&c);
  {
    Result r(c.main_port, {"exit"});
    EXPECT_EQ(r.status, RPC_PORT_ERROR_IO_ERROR);  // the stub went away instead of answering
  }
  ASSERT_TRUE(run_until([&] { return c.disconnected > 0; }));
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.connected == 2 || c.rejected > 0; }));
  ASSERT_EQ(c.connected, 2);
  Result r(c.main_port, {"echo", "again"});
  ASSERT_EQ(r.status, 0);
  vtest::take_string(r.parcel);
  EXPECT_EQ(vtest::take_string(r.parcel), "again");
  EXPECT_EQ(starts(kApp).size(), 2u);
}

TEST_F(RpcPortEvents, StubClosingTheConnectionGivesDisconnected) {
  Client c;
  connect(&c);
  {
    Result r(c.main_port, {"close"});
    EXPECT_EQ(r.status, RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(r.parcel, nullptr);
  }
  ASSERT_TRUE(run_until([&] { return c.disconnected > 0; }));
  drain();
  EXPECT_EQ(c.disconnected, 1);
}

TEST_F(RpcPortEvents, BlockingReadTimesOutThenTheConnectionEnds) {
  setenv("VELMORA_RPC_TIMEOUT_MS", "300", 1);
  EXPECT_EQ(velmora_host_rpc_timeout_ms(), 300);
  Client c;
  connect(&c);
  rpc_port_h main_port = c.main_port;
  {
    Result r(main_port, {"hang"});
    EXPECT_EQ(r.status, RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(r.parcel, nullptr);
  }
  // The connection is closed at once: nothing more can be sent or read on it ...
  EXPECT_EQ(vtest::send_request(main_port, {"echo", "late"}), RPC_PORT_ERROR_IO_ERROR);
  rpc_port_parcel_h p = nullptr;
  EXPECT_EQ(rpc_port_parcel_create_from_port(&p, main_port), RPC_PORT_ERROR_IO_ERROR);
  // ... and the disconnected event follows on the main loop, once.
  EXPECT_EQ(c.disconnected, 0);
  ASSERT_TRUE(run_until([&] { return c.disconnected > 0; }));
  drain();
  EXPECT_EQ(c.disconnected, 1);
}

TEST_F(RpcPortEvents, TimeOutDefaultsToTenSeconds) {
  EXPECT_EQ(velmora_host_rpc_timeout_ms(), 10000);
  setenv("VELMORA_RPC_TIMEOUT_MS", "nonsense", 1);
  EXPECT_EQ(velmora_host_rpc_timeout_ms(), 10000);
  setenv("VELMORA_RPC_TIMEOUT_MS", "-4", 1);
  EXPECT_EQ(velmora_host_rpc_timeout_ms(), 10000);
}

TEST_F(RpcPortEvents, SendOnThePortInsideTheDisconnectedEventFails) {
  Client c;
  int send_result = 1;
  c.on_disconnected = [&] { send_result = vtest::send_request(c.main_port, {"echo", "x"}); };
  connect(&c);
  Result r(c.main_port, {"exit"});
  ASSERT_TRUE(run_until([&] { return c.disconnected > 0; }));
  EXPECT_EQ(send_result, RPC_PORT_ERROR_IO_ERROR);
}

TEST_F(RpcPortEvents, DestroyInsideTheConnectedEventDeliversNothingMore) {
  Client c;
  c.on_connected = [&] { c.destroy(); };
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.connected > 0; }));
  drain();
  EXPECT_EQ(c.connected, 1);
  EXPECT_EQ(c.disconnected, 0);
  EXPECT_EQ(c.rejected, 0);
}

TEST_F(RpcPortEvents, DestroyInsideTheReceivedEventDeliversNothingMore) {
  Client c;
  c.on_received = [&] { c.destroy(); };
  connect(&c);
  Result r(c.main_port, {"push", "x", 5});
  ASSERT_EQ(r.status, 0);
  ASSERT_TRUE(run_until([&] { return c.received > 0; }));
  drain();
  EXPECT_EQ(c.received, 1);
  EXPECT_EQ(c.disconnected, 0);
}

TEST_F(RpcPortEvents, DestroyInsideTheDisconnectedEventIsSafe) {
  Client c;
  c.on_disconnected = [&] { c.destroy(); };
  connect(&c);
  Result r(c.main_port, {"exit"});
  ASSERT_TRUE(run_until([&] { return c.disconnected > 0; }));
  drain();
  EXPECT_EQ(c.disconnected, 1);
  EXPECT_EQ(c.proxy, nullptr);
}

TEST_F(RpcPortEvents, DestroyWhileLaunchingDeliversNothing) {
  setenv("VELMORA_TEST_START_DELAY_MS", "200", 1);
  Client c;
  ASSERT_EQ(c.connect(kApp), 0);
  c.destroy();
  // The instance starts anyway; wait until it listens, then give late events every chance.
  ASSERT_TRUE(run_until([&] {
    return g_file_test((root.path() + "/run/" + kApp + "/rpc-Echo.sock").c_str(),
                       G_FILE_TEST_EXISTS);
  }));
  drain();
  EXPECT_EQ(c.connected + c.rejected + c.disconnected, 0);
}

TEST_F(RpcPortEvents, DestroyRefusesNull) {
  EXPECT_EQ(rpc_port_proxy_destroy(nullptr), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_proxy_create(nullptr), RPC_PORT_ERROR_INVALID_PARAMETER);
  rpc_port_parcel_h p = nullptr;
  EXPECT_EQ(rpc_port_parcel_create_from_port(&p, nullptr), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_parcel_send(nullptr, nullptr), RPC_PORT_ERROR_INVALID_PARAMETER);
}

}  // namespace
