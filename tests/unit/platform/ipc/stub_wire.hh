// SPDX-License-Identifier: Apache-2.0
// Velmora tests: playing the proxy, on the raw wire, against the echo stub application.
#pragma once

#include <string>

#include "ipc_fixture.hh"
#include "raw_wire.hh"

namespace vtest {

namespace raw_stub {
inline constexpr const char *kApp = "test.echo";
}

// The test plays the proxy against the echo stub application.
class RpcPortStubWire : public IpcTest {
 protected:
  // Runs before the stub application is launched (it inherits the environment set here).
  virtual void before_launch() {}
  void SetUp() override {
    before_launch();
    install(raw_stub::kApp, "ipc_echo_stub");
    Client c;  // launches the application
    ASSERT_EQ(c.connect(raw_stub::kApp), 0);
    ASSERT_TRUE(apps::run_until([&] { return c.ended(); }));
    ASSERT_EQ(c.connected, 1);
    path = root.path() + "/run/" + raw_stub::kApp + "/rpc-Echo.sock";
  }
  // The stub still serves a proper proxy.
  void expect_serving() {
    Client c;
    ASSERT_EQ(c.connect(raw_stub::kApp), 0);
    ASSERT_TRUE(apps::run_until([&] { return c.ended(); }));
    ASSERT_EQ(c.connected, 1);
    Result r(c.main_port, {"echo", "still here"});
    ASSERT_EQ(r.status, 0);
    vtest::take_string(r.parcel);
    EXPECT_EQ(vtest::take_string(r.parcel), "still here");
    EXPECT_EQ(starts(raw_stub::kApp).size(), 1u);
  }
  // A raw handshake; false when the stub did not accept both streams.
  bool handshake(int *m, int *cb, const std::string &id = "raw-1") {
    *m = raw::connect_to(path);
    *cb = raw::connect_to(path);
    raw::Bytes a, b;
    return *m >= 0 && *cb >= 0 && raw::write_frame(*m, raw::hello(0, "", "Echo", id)) &&
           raw::write_frame(*cb, raw::hello(1, "", "Echo", id)) && raw::read_frame(*m, &a) &&
           raw::read_frame(*cb, &b) && a == raw::answer(0) && b == raw::answer(0);
  }
  std::string path;
};

}  // namespace vtest
