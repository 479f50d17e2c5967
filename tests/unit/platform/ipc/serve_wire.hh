// SPDX-License-Identifier: Apache-2.0
// Velmora tests: playing the sender, on the raw wire, against the callee application.
#pragma once

#include <fstream>
#include <iterator>
#include <string>

#include "app_control_fixture.hh"
#include "raw_wire.hh"

namespace vtest {

namespace raw_callee {

inline constexpr const char *kCallee = "test.callee";

inline raw::Bytes control(const std::string &app_id, const std::string &op, const Extras &extras) {
  raw::Bytes b = {3};  // app id and operation set
  raw::put_string(&b, app_id);
  raw::put_string(&b, op);
  raw::put_u32(&b, (uint32_t)extras.size());
  for (const auto &[k, v] : extras) {
    raw::put_string(&b, k);
    raw::put_string(&b, v);
  }
  return b;
}

}  // namespace raw_callee

// The test plays the sender against the callee application.
class AppControlServeWire : public IpcTest {
 protected:
  // Sets the environment the callee inherits when it is launched.
  virtual void before_launch() { setenv("VELMORA_RPC_TIMEOUT_MS", "2000", 1); }
  void SetUp() override {
    install(raw_callee::kCallee, "ipc_callee");
    before_launch();
    Replies r;  // launches the callee
    ASSERT_EQ(send_request(raw_callee::kCallee, {}, &r), 0);
    ASSERT_TRUE(apps::run_until([&] { return r.calls > 0; }));
    ASSERT_EQ(r.result, APP_CONTROL_RESULT_SUCCEEDED);
    path = root.path() + "/run/" + raw_callee::kCallee + "/appcontrol.sock";
  }
  void expect_serving() {
    Replies r;
    ASSERT_EQ(send_request(raw_callee::kCallee, {{"still", "here"}}, &r), 0);
    ASSERT_TRUE(apps::run_until([&] { return r.calls > 0; }));
    EXPECT_EQ(r.get("still"), "here");
    EXPECT_EQ(starts(raw_callee::kCallee).size(), 1u);
  }
  // What the callee wrote to its log file so far.
  std::string callee_log() const {
    std::ifstream in(root.path() + "/log/" + raw_callee::kCallee + ".log");
    return std::string(std::istreambuf_iterator<char>(in), {});
  }
  std::string path;
};

}  // namespace vtest
