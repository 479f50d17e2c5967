// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the rpc-port stub, served by the test process itself (it runs as an application).
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <map>

#include "ipc_fixture.hh"

namespace {

using vtest::Client;
using vtest::IpcTest;
using vtest::apps::drain;
using vtest::apps::run_until;

constexpr const char *kSelf = "test.self";

// A stub in this process that records its events and answers each request with "ok" + request.
struct LocalStub {
  rpc_port_stub_h stub = nullptr;
  std::vector<std::string> connected, disconnected;  // "<sender>|<instance>"
  std::vector<std::string> requests;
  int received_return = 0;
  std::function<void()> on_received;

  explicit LocalStub(const char *port = "Local") {
    EXPECT_EQ(rpc_port_stub_create(&stub, port), 0);
    rpc_port_stub_add_connected_event_cb(
        stub,
        [](const char *s, const char *i, void *d) {
          static_cast<LocalStub *>(d)->connected.push_back(std::string(s) + "|" + i);
        },
        this);
    rpc_port_stub_add_disconnected_event_cb(
        stub,
        [](const char *s, const char *i, void *d) {
          static_cast<LocalStub *>(d)->disconnected.push_back(std::string(s) + "|" + i);
        },
        this);
    rpc_port_stub_add_received_event_cb(stub, received, this);
  }
  ~LocalStub() { destroy(); }
  void destroy() {
    if (stub) rpc_port_stub_destroy(stub);
    stub = nullptr;
  }
  std::string instance() const {
    return connected.empty() ? "" : connected[0].substr(connected[0].find('|') + 1);
  }

  static int received(const char *, const char *, rpc_port_h port, void *d) {
    auto *self = static_cast<LocalStub *>(d);
    rpc_port_parcel_h p = nullptr;
    EXPECT_EQ(rpc_port_parcel_create_from_port(&p, port), 0);
    std::string text = vtest::take_string(p);
    rpc_port_parcel_destroy(p);
    self->requests.push_back(text);
    // A second read finds nothing: it does not block on a stub's port.
    rpc_port_parcel_h none = nullptr;
    EXPECT_EQ(rpc_port_parcel_create_from_port(&none, port), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(none, nullptr);
    vtest::send_request(port, {"ok", text});
    if (self->on_received) self->on_received();
    return self->received_return;
  }
};

class RpcPortStub : public IpcTest {
 protected:
  void SetUp() override {
    install(kSelf, "ipc_quitter");  // registered, so that proxies may reach it; never launched
    setenv("VELMORA_APP_ID", kSelf, 1);
  }
  void connect(Client *c, LocalStub *s) {
    ASSERT_EQ(c->connect(kSelf, "Local"), 0);
    ASSERT_TRUE(run_until([&] { return c->ended() && !s->connected.empty(); }));
    ASSERT_EQ(c->connected, 1);
  }
};

TEST_F(RpcPortStub, CreateAndListenCheckTheirArguments) {
  rpc_port_stub_h h = nullptr;
  EXPECT_EQ(rpc_port_stub_create(nullptr, "Local"), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_stub_create(&h, nullptr), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_stub_create(&h, "../x"), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_stub_listen(nullptr), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_stub_destroy(nullptr), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_stub_add_allowed_app(nullptr, "a"), RPC_PORT_ERROR_INVALID_PARAMETER);
  ASSERT_EQ(rpc_port_stub_create(&h, "Local"), 0);
  EXPECT_EQ(rpc_port_stub_add_allowed_app(h, nullptr), RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_stub_add_received_event_cb(h, nullptr, nullptr),
            RPC_PORT_ERROR_INVALID_PARAMETER);
  rpc_port_h port = nullptr;
  EXPECT_EQ(rpc_port_stub_get_port(h, RPC_PORT_PORT_MAIN, "nobody", &port),
            RPC_PORT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rpc_port_stub_destroy(h), 0);
}

TEST_F(RpcPortStub, ListeningNeedsAnApplicationId) {
  unsetenv("VELMORA_APP_ID");
  rpc_port_stub_h h = nullptr;
  ASSERT_EQ(rpc_port_stub_create(&h, "Local"), 0);
  EXPECT_EQ(rpc_port_stub_listen(h), RPC_PORT_ERROR_INVALID_PARAMETER);
  rpc_port_stub_destroy(h);
}

TEST_F(RpcPortStub, EventsNameTheSenderAndTheInstance) {
  LocalStub s;
  ASSERT_EQ(rpc_port_stub_listen(s.stub), 0);
  EXPECT_EQ(rpc_port_stub_listen(s.stub), RPC_PORT_ERROR_INVALID_PARAMETER);  // once
  Client c;
  connect(&c, &s);
  ASSERT_EQ(s.connected.size(), 1u);
  EXPECT_EQ(s.connected[0].substr(0, s.connected[0].find('|')), kSelf);
  const std::string instance = s.instance();
  ASSERT_FALSE(instance.empty());

  // A request: the stub reads it in its received event and answers on the same port.
  ASSERT_EQ(vtest::send_request(c.main_port, {"first"}), 0);
  ASSERT_TRUE(run_until([&] { return !s.requests.empty(); }));
  rpc_port_parcel_h p = nullptr;
  ASSERT_EQ(rpc_port_parcel_create_from_port(&p, c.main_port), 0);
  EXPECT_EQ(vtest::take_string(p), "ok");
  EXPECT_EQ(vtest::take_string(p), "first");
  rpc_port_parcel_destroy(p);

  // A callback pushed on the connection's callback port.
  rpc_port_h callback = nullptr, main_port = nullptr;
  ASSERT_EQ(rpc_port_stub_get_port(s.stub, RPC_PORT_PORT_CALLBACK, instance.c_str(), &callback), 0);
  ASSERT_EQ(rpc_port_stub_get_port(s.stub, RPC_PORT_PORT_MAIN, instance.c_str(), &main_port), 0);
  EXPECT_NE(callback, main_port);
  ASSERT_EQ(vtest::send_request(callback, {"push", "cb", 9}), 0);
  ASSERT_TRUE(run_until([&] { return c.received > 0; }));
  EXPECT_EQ(c.pushed, (std::vector<std::string>{"cb:9"}));

  // The proxy goes: the stub's disconnected event names the same sender and instance.
  c.destroy();
  ASSERT_TRUE(run_until([&] { return !s.disconnected.empty(); }));
  drain();
  EXPECT_EQ(s.disconnected, s.connected);
  EXPECT_EQ(rpc_port_stub_get_port(s.stub, RPC_PORT_PORT_MAIN, instance.c_str(), &main_port),
            RPC_PORT_ERROR_INVALID_PARAMETER);
}

TEST_F(RpcPortStub, NonZeroReceivedReturnClosesTheConnection) {
  LocalStub s;
  s.received_return = -1;
  ASSERT_EQ(rpc_port_stub_listen(s.stub), 0);
  Client c;
  connect(&c, &s);
  ASSERT_EQ(vtest::send_request(c.main_port, {"bye"}), 0);
  ASSERT_TRUE(run_until([&] { return c.disconnected > 0 && !s.disconnected.empty(); }));
  drain();
  EXPECT_EQ(c.disconnected, 1);
  EXPECT_EQ(s.disconnected.size(), 1u);
}

TEST_F(RpcPortStub, DestroyInsideTheReceivedEventIsSafe) {
  LocalStub s;
  s.on_received = [&] { s.destroy(); };
  ASSERT_EQ(rpc_port_stub_listen(s.stub), 0);
  Client c;
  connect(&c, &s);
  ASSERT_EQ(vtest::send_request(c.main_port, {"last"}), 0);
  ASSERT_TRUE(run_until([&] { return c.disconnected > 0; }));
  drain();
  EXPECT_EQ(s.requests.size(), 1u);
  EXPECT_TRUE(s.disconnected.empty());  // a destroyed stub delivers nothing more
}

TEST_F(RpcPortStub, DestroyingTheStubDisconnectsItsProxies) {
  LocalStub s;
  ASSERT_EQ(rpc_port_stub_listen(s.stub), 0);
  Client c;
  connect(&c, &s);
  s.destroy();
  ASSERT_TRUE(run_until([&] { return c.disconnected > 0; }));
  EXPECT_TRUE(s.disconnected.empty());
  // Its socket is gone, so a new stub may listen on the same port.
  LocalStub again;
  EXPECT_EQ(rpc_port_stub_listen(again.stub), 0);
}

TEST_F(RpcPortStub, SecondListenerOnTheSamePortFails) {
  LocalStub a, b;
  ASSERT_EQ(rpc_port_stub_listen(a.stub), 0);
  EXPECT_EQ(rpc_port_stub_listen(b.stub), RPC_PORT_ERROR_IO_ERROR);
}

TEST_F(RpcPortStub, StaleSocketFileIsReplaced) {
  {
    LocalStub old;
    ASSERT_EQ(rpc_port_stub_listen(old.stub), 0);
  }
  // A socket file nobody listens on, as a killed application leaves it.
  const std::string path = root.path() + "/run/" + kSelf + "/rpc-Local.sock";
  int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  struct sockaddr_un addr = {};
  addr.sun_family = AF_UNIX;
  strncpy(addr.sun_path, path.c_str(), sizeof(addr.sun_path) - 1);
  ASSERT_EQ(bind(fd, reinterpret_cast<struct sockaddr *>(&addr), sizeof(addr)), 0);
  close(fd);
  LocalStub s;
  ASSERT_EQ(rpc_port_stub_listen(s.stub), 0);
  Client c;
  connect(&c, &s);
}

TEST_F(RpcPortStub, AllowedAppsAreChecked) {
  LocalStub s;
  ASSERT_EQ(rpc_port_stub_add_allowed_app(s.stub, "test.friend"), 0);
  ASSERT_EQ(rpc_port_stub_listen(s.stub), 0);
  Client stranger;
  ASSERT_EQ(stranger.connect(kSelf, "Local"), 0);  // this process is test.self: not allowed
  ASSERT_TRUE(run_until([&] { return stranger.ended(); }));
  EXPECT_EQ(stranger.rejected, 1);
  EXPECT_TRUE(s.connected.empty());
  ASSERT_EQ(rpc_port_stub_add_allowed_app(s.stub, kSelf), 0);
  Client friendly;
  connect(&friendly, &s);
}

}  // namespace
