// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: where applications listen, and the Unix sockets themselves.
//
// Below the platform root, "run/<app id>/" holds the sockets of a running application:
// "rpc-<port name>.sock" per rpc-port stub and "appcontrol.sock" for launch requests.
// "run/<app id>.lock" and "run/<app id>.pid" belong to the launcher (ipc_launcher.hh).
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace vhost::ipc {

inline constexpr const char *kAppControlSocket = "appcontrol.sock";
// Present in the run directory while the application refuses launch requests.
inline constexpr const char *kRefusingMarker = "appcontrol.refusing";
// Connections a listening socket holds before they are accepted: a burst of hundreds of callers
// (or a server that waits for descriptors, ipc_accept.hh) must not see connections refused. The
// kernel caps it at net.core.somaxconn.
inline constexpr int kListenBacklog = 4096;
// Unix socket paths are limited (sun_path); a root nested too deep cannot hold sockets.
inline constexpr size_t kMaxSocketPath = 108;

// "rpc-<port>.sock".
std::string rpc_socket_name(const std::string &port_name);
// "<root>/run/<app id>".
std::string app_run_dir(const std::string &app_id);
// "<root>/run/<app id>/<socket name>".
std::string app_socket_path(const std::string &app_id, const std::string &socket_name);

// Connects a non-blocking, close-on-exec stream socket. -1 (errno set) when nobody listens there.
int connect_unix(const std::string &path);

// A listening socket that removes its file again when closed, if the file is still its own.
struct Listener {
  int fd = -1;
  std::string path;
  dev_t dev = 0;
  ino_t ino = 0;
};
// Binds and listens at `path` (non-blocking, close-on-exec), creating its directory. Refuses when
// a live process already listens there; a stale socket file is replaced. False with *error set.
bool listen_unix(const std::string &path, Listener *out, std::string *error);
void close_listener(Listener *listener);
// The listeners of this process that are open now (they stay where they are until closed).
std::vector<Listener *> open_listeners();

// The peer's process and user of a connected Unix socket.
bool peer_credentials(int fd, pid_t *pid, uid_t *uid);

// The calling application's id ("" when it runs as no application).
std::string own_app_id();

}  // namespace vhost::ipc
