// SPDX-License-Identifier: Apache-2.0
// Velmora tests: a scripted peer on an AccountSvc port, for the answers the reference agent never
// gives (a delegate callback on the main port, a callback pushed twice, a callback with protocol 0
// or delegate id 0).
//
// It runs in a child process as its own application ("dev.velmora.scripted", registered in the
// test's platform root), listens on "AccountSvc" and answers every request with its script. The
// parent connects a proxy to it like to the agent.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "agent_fixture.hh"
#include "rpc_port.h"

namespace vtest {

enum class Script {
  kCallbackBeforeResult,   // a protocol-1 parcel on the main port, then the result "scripted" / 7
  kPushTwice,              // result 0, then the same callback pushed twice ("first", "second")
  kPushProtocolZeroFirst,  // result 0, a callback parcel with protocol 0, then the right one
  kPushIdZero,             // result 0, a callback with delegate id 0, then the right one
};

class ScriptedStub {
 public:
  static constexpr const char *kAppId = "dev.velmora.scripted";

  // Registers the application in the current platform root and starts the child; returns once it
  // listens.
  ScriptedStub(PlatformRoot &root, Script script) : script_(script) {
    root.install_package(kAppId, {{kAppId, "service", "/bin/false"}});
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
    pid_ = fork();
    if (pid_ == 0) {
      close(fds[0]);
      child(fds[1]);
    }
    close(fds[1]);
    struct pollfd p = {fds[0], POLLIN, 0};
    char ready = 0;
    if (poll(&p, 1, kWaitMs) != 1 || read(fds[0], &ready, 1) != 1 || ready != 'L')
      ADD_FAILURE() << "the scripted stub did not start";
    close(fds[0]);
  }

  ~ScriptedStub() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      int status;
      waitpid(pid_, &status, 0);
    }
  }

 private:
  static void send(rpc_port_parcel_h p, rpc_port_h port) {
    rpc_port_parcel_send(p, port);
    rpc_port_parcel_destroy(p);
  }

  static rpc_port_parcel_h callback(int protocol, int id, int seq, bool once, int result,
                                    const char *login_id) {
    rpc_port_parcel_h p = nullptr;
    rpc_port_parcel_create(&p);
    rpc_port_parcel_write_int32(p, protocol);
    rpc_port_parcel_write_int32(p, id);
    rpc_port_parcel_write_int32(p, seq);
    rpc_port_parcel_write_bool(p, once);
    rpc_port_parcel_write_int32(p, result);
    rpc_port_AccountS_h a = account_of({{rpc_port_AccountS_set_LoginId, login_id}});
    rpc_port_parcel_write(p, va::rec::parcelable_of(a), a);
    rpc_port_AccountS_destroy(a);
    return p;
  }

  static int on_received(const char *, const char *instance, rpc_port_h port, void *data) {
    auto *self = static_cast<ScriptedStub *>(data);
    rpc_port_parcel_h req = nullptr;
    if (rpc_port_parcel_create_from_port(&req, port) != 0) return -1;
    int method = 0;
    rpc_port_parcel_read_int32(req, &method);
    rpc_port_h cb_port = nullptr;
    rpc_port_stub_get_port(self->stub_, RPC_PORT_PORT_CALLBACK, instance, &cb_port);

    rpc_port_parcel_h result = nullptr;
    rpc_port_parcel_create(&result);
    rpc_port_parcel_write_int32(result, 0);
    if (self->script_ == Script::kCallbackBeforeResult) {
      // GetDefaultAccount: a callback-looking parcel first, which the caller must skip.
      send(callback(1, 1, 1, true, 0, "pushed-on-main"), port);
      rpc_port_parcel_write_string(result, "scripted");
      rpc_port_parcel_write_int32(result, 7);
      send(result, port);
      rpc_port_parcel_destroy(req);
      return 0;
    }
    // A method with an AccountS and a ResponseCb delegate (RequestAccessToken and the like).
    rpc_port_AccountS_h a = nullptr;
    rpc_port_AccountS_create(&a);
    rpc_port_parcel_read(req, va::rec::parcelable_of(a), a);
    rpc_port_AccountS_destroy(a);
    int id = 0, seq = 0;
    bool once = false;
    rpc_port_parcel_read_int32(req, &id);
    rpc_port_parcel_read_int32(req, &seq);
    rpc_port_parcel_read_bool(req, &once);
    rpc_port_parcel_destroy(req);
    rpc_port_parcel_write_int32(result, 0);
    send(result, port);
    switch (self->script_) {
      case Script::kPushTwice:
        send(callback(1, id, seq, once, 0, "first"), cb_port);
        send(callback(1, id, seq, once, 0, "second"), cb_port);
        break;
      case Script::kPushProtocolZeroFirst:
        send(callback(0, id, seq, once, 0, "protocol-zero"), cb_port);
        send(callback(1, id, seq, once, 0, "right"), cb_port);
        break;
      case Script::kPushIdZero:
        send(callback(1, 0, seq, once, 0, "id-zero"), cb_port);
        send(callback(1, id, seq, once, 0, "right"), cb_port);
        break;
      case Script::kCallbackBeforeResult:
        break;
    }
    return 0;
  }

  [[noreturn]] void child(int ready_fd) {
    setenv("VELMORA_APP_ID", kAppId, 1);
    GMainContext *ctx = g_main_context_new();
    g_main_context_push_thread_default(ctx);
    if (rpc_port_stub_create(&stub_, "AccountSvc") != 0 ||
        rpc_port_stub_add_received_event_cb(stub_, on_received, this) != 0 ||
        rpc_port_stub_listen(stub_) != 0)
      _exit(3);
    if (write(ready_fd, "L", 1) != 1) _exit(4);
    close(ready_fd);
    for (;;) g_main_context_iteration(ctx, TRUE);  // until the parent kills it
  }

  Script script_;
  pid_t pid_ = -1;
  rpc_port_stub_h stub_ = nullptr;
};

}  // namespace vtest
