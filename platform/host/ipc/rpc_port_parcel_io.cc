// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: sending parcels on ports and reading them from ports.
//
// The proxy's main port reads blocking: it waits with poll() (the main loop does not run) until
// the result frame arrives, the connection ends or velmora_host_rpc_timeout_ms() passes. On a time-
// out the connection is closed, so that a late result can never be taken for the answer to a later
// call; the disconnect event follows on the main loop. Every other port reads without blocking:
// it hands out a frame that has already arrived, as announced by a received event.
#include <new>

#include "ipc_log.hh"
#include "ipc_port.hh"
#include "parcel_internal.hh"
#include "rpc_port_parcel.h"
#include "velmora_host.h"

using vhost::ipc::IoStatus;

namespace {

// Bytes a non-blocking read takes at most in one call.
constexpr size_t kReadBudget = 256 * 1024;

int take_frame(rpc_port_parcel_h *h, rpc_port_h port) {
  auto *parcel = new (std::nothrow) rpc_port_parcel_s;
  if (!parcel) return RPC_PORT_ERROR_OUT_OF_MEMORY;
  parcel->data = std::move(port->frames.front());
  port->frames.pop_front();
  ++port->taken;
  *h = parcel;
  return RPC_PORT_ERROR_NONE;
}

const char *status_text(IoStatus status) {
  switch (status) {
    case IoStatus::kOk:
      return "ok";
    case IoStatus::kEof:
      return "the peer closed the connection";
    case IoStatus::kError:
      return "socket error";
    case IoStatus::kTooBig:
      return "frame over the maximum size";
    case IoStatus::kTimedOut:
      return "timed out";
    case IoStatus::kFull:
      return "the peer does not read what it is sent";
  }
  return "?";
}

}  // namespace

extern "C" int rpc_port_parcel_create_from_port(rpc_port_parcel_h *h, rpc_port_h port) {
  if (!h || !port || !port->link) return RPC_PORT_ERROR_INVALID_PARAMETER;
  *h = nullptr;
  if (!port->frames.empty()) return take_frame(h, port);
  vhost::ipc::Link *link = port->link;
  if (link->closed()) return RPC_PORT_ERROR_IO_ERROR;
  IoStatus status;
  if (port->type == RPC_PORT_PORT_MAIN && link->blocking_main()) {
    status = vhost::ipc::read_frame_blocking(port->fd, &port->reader, &port->frames,
                                             velmora_host_rpc_timeout_ms());
    if (status == IoStatus::kTimedOut)
      IPC_LOGE("no result within %d ms: closing the connection", velmora_host_rpc_timeout_ms());
  } else {
    status = vhost::ipc::read_available(port->fd, &port->reader, &port->frames, kReadBudget);
  }
  if (status != IoStatus::kOk) {
    if (status != IoStatus::kTimedOut && status != IoStatus::kEof)
      IPC_LOGE("reading from a port failed: %s", status_text(status));
    link->ref();
    link->close();
    link->unref();
  }
  if (port->frames.empty()) return RPC_PORT_ERROR_IO_ERROR;
  return take_frame(h, port);
}

extern "C" int rpc_port_parcel_send(rpc_port_parcel_h h, rpc_port_h port) {
  if (!h || !port || !port->link) return RPC_PORT_ERROR_INVALID_PARAMETER;
  if (h->failed) {
    // Sending what is left would hand the peer a parcel with a field missing.
    IPC_LOGE("not sending a parcel in which a write failed");
    return RPC_PORT_ERROR_INVALID_PARAMETER;
  }
  vhost::ipc::Link *link = port->link;
  if (link->closed()) return RPC_PORT_ERROR_IO_ERROR;
  // A stub's port never waits for its peer; a proxy's main port waits while the socket is full.
  IoStatus status = port->out ? port->out->push(h->data.data(), h->data.size())
                              : vhost::ipc::send_frame(port->fd, h->data.data(), h->data.size(),
                                                       velmora_host_rpc_timeout_ms());
  if (status == IoStatus::kTooBig) return RPC_PORT_ERROR_INVALID_PARAMETER;
  if (status != IoStatus::kOk) {
    if (status != IoStatus::kEof)
      IPC_LOGE("sending on a port failed, dropping the connection: %s", status_text(status));
    link->ref();
    link->close();
    link->unref();
    return RPC_PORT_ERROR_IO_ERROR;
  }
  return RPC_PORT_ERROR_NONE;
}
