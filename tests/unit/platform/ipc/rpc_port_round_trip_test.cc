// SPDX-License-Identifier: Apache-2.0
// Velmora tests: rpc-port round trips between a proxy and a stub application launched on demand.
#include <gtest/gtest.h>

#include "ipc_fixture.hh"

namespace {

using vtest::Client;
using vtest::IpcTest;
using vtest::Result;
using vtest::apps::run_until;

constexpr const char *kApp = "test.echo";

class RpcPortRoundTrip : public IpcTest {
 protected:
  void SetUp() override { install(kApp, "ipc_echo_stub"); }
};

TEST_F(RpcPortRoundTrip, ConnectLaunchesTheStubAndEchoes) {
  Client c;
  ASSERT_EQ(c.connect(kApp), RPC_PORT_ERROR_NONE);
  EXPECT_EQ(c.connected, 0);  // the outcome comes later, on the main loop
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  ASSERT_EQ(c.connected, 1);
  EXPECT_EQ(c.rejected, 0);
  EXPECT_EQ(c.endpoint, kApp);
  EXPECT_EQ(c.port_name, "Echo");
  ASSERT_NE(c.main_port, nullptr);
  ASSERT_NE(c.callback_port, nullptr);
  EXPECT_NE(c.main_port, c.callback_port);

  Result r(c.main_port, {"echo", "hello"});
  ASSERT_EQ(r.status, RPC_PORT_ERROR_NONE);
  EXPECT_EQ(vtest::take_string(r.parcel), "echo");
  EXPECT_EQ(vtest::take_string(r.parcel), "hello");

  // The launched application got its id and the root in its environment.
  auto lines = starts(kApp);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find(std::string(" ") + kApp + " " + root.path()), std::string::npos)
      << lines[0];
}

TEST_F(RpcPortRoundTrip, ManyCallsGetTheirOwnResultsInOrder) {
  Client c;
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  ASSERT_EQ(c.connected, 1);
  for (int i = 0; i < 50; ++i) {
    Result r(c.main_port, {"echo", "call " + std::to_string(i)});
    ASSERT_EQ(r.status, 0) << i;
    EXPECT_EQ(vtest::take_string(r.parcel), "echo");
    EXPECT_EQ(vtest::take_string(r.parcel), "call " + std::to_string(i));
  }
}

TEST_F(RpcPortRoundTrip, LargeResultArrivesWhole) {
  Client c;
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  ASSERT_EQ(c.connected, 1);
  const int size = 3 * 1024 * 1024;  // larger than any socket buffer: arrives in many pieces
  Result r(c.main_port, {"big", size});
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(vtest::take_string(r.parcel), "big");
  std::string big = vtest::take_string(r.parcel);
  EXPECT_EQ(big.size(), (size_t)size);
  EXPECT_EQ(big.find_first_not_of('x'), std::string::npos);
}

TEST_F(RpcPortRoundTrip, PushedCallbacksRaiseOneReceivedEventEachInOrder) {
  Client c;
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  ASSERT_EQ(c.connected, 1);
  {
    Result r(c.main_port, {"push", "note", 3});
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(vtest::take_string(r.parcel), "pushed");
  }
  EXPECT_EQ(c.received, 0);  // callbacks are delivered by the main loop, not by the call
  ASSERT_TRUE(run_until([&] { return c.received >= 3; }));
  EXPECT_EQ(c.pushed, (std::vector<std::string>{"note:0", "note:1", "note:2"}));
}

TEST_F(RpcPortRoundTrip, UnreadCallbackIsDroppedAndTheNextOneAnnounced) {
  Client c;
  std::vector<std::string> seen;
  c.on_received = [&] {
    // Reads only every second announced parcel: the others must not pile up.
    if (c.received % 2 == 1) return;
    rpc_port_parcel_h p = nullptr;
    ASSERT_EQ(rpc_port_parcel_create_from_port(&p, c.callback_port), 0);
    vtest::take_string(p);
    vtest::take_string(p);
    seen.push_back(std::to_string(vtest::take_int(p)));
    rpc_port_parcel_destroy(p);
  };
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  Result r(c.main_port, {"push", "x", 4});
  ASSERT_EQ(r.status, 0);
  ASSERT_TRUE(run_until([&] { return c.received >= 4; }));
  EXPECT_EQ(seen, (std::vector<std::string>{"1", "3"}));
}

TEST_F(RpcPortRoundTrip, StubSeesTheCallerIdAndOneConnectedEvent) {
  setenv("VELMORA_APP_ID", "test.caller", 1);
  Client c;
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  ASSERT_EQ(c.connected, 1);
  Result r(c.main_port, {"info"});
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(vtest::take_string(r.parcel), "test.caller");
  EXPECT_FALSE(vtest::take_string(r.parcel).empty());  // the instance
  EXPECT_EQ(vtest::take_int(r.parcel), 1);
}

TEST_F(RpcPortRoundTrip, CallerThatIsNoApplicationIsSeenAsEmptyId) {
  Client c;
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  ASSERT_EQ(c.connected, 1);
  Result r(c.main_port, {"info"});
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(vtest::take_string(r.parcel), "");
}

TEST_F(RpcPortRoundTrip, TwoConnectionsHaveDistinctInstances) {
  Client a, b;
  ASSERT_EQ(a.connect(kApp), 0);
  ASSERT_EQ(b.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return a.ended() && b.ended(); }));
  ASSERT_EQ(a.connected, 1);
  ASSERT_EQ(b.connected, 1);
  Result ra(a.main_port, {"info"});
  Result rb(b.main_port, {"info"});
  ASSERT_EQ(ra.status, 0);
  ASSERT_EQ(rb.status, 0);
  vtest::take_string(ra.parcel);
  vtest::take_string(rb.parcel);
  EXPECT_NE(vtest::take_string(ra.parcel), vtest::take_string(rb.parcel));
  EXPECT_EQ(starts(kApp).size(), 1u);
}

}  // namespace

namespace {

// A parcel one of whose fields could not be written (over the maximum size) is not sent: the
// stub never sees a request with a field missing, and the connection goes on.
TEST_F(RpcPortRoundTrip, ParcelWithAFieldThatCouldNotBeWrittenIsNotSent) {
  Client c;
  ASSERT_EQ(c.connect(kApp), 0);
  ASSERT_TRUE(run_until([&] { return c.ended(); }));
  ASSERT_EQ(c.connected, 1);
  rpc_port_parcel_h p = nullptr;
  ASSERT_EQ(rpc_port_parcel_create(&p), 0);
  rpc_port_parcel_write_string(p, "echo");
  const std::string big(RPC_PORT_PARCEL_MAX_SIZE, 'z');
  EXPECT_EQ(rpc_port_parcel_write_string(p, big.c_str()), RPC_PORT_ERROR_OUT_OF_MEMORY);
  rpc_port_parcel_write_string(p, "after");
  EXPECT_EQ(rpc_port_parcel_send(p, c.main_port), RPC_PORT_ERROR_INVALID_PARAMETER);
  rpc_port_parcel_destroy(p);
  Result r(c.main_port, {"echo", "next"});  // the first result is this request's
  ASSERT_EQ(r.status, RPC_PORT_ERROR_NONE);
  EXPECT_EQ(vtest::take_string(r.parcel), "echo");
  EXPECT_EQ(vtest::take_string(r.parcel), "next");
  EXPECT_EQ(c.disconnected, 0);
}

}  // namespace
