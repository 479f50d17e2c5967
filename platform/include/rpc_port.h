/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora platform: rpc-port, the transport of the generated proxy.
 *
 * A proxy connects to a port that a stub in another application listens on. A connection stands on
 * two streams: the main port, on which the proxy sends requests and blocks for their results, and
 * the callback port, on which the stub pushes callbacks at any time. All events are dispatched on
 * the thread-default GLib main context of the thread that created the proxy or stub.
 */
#ifndef VELMORA_PLATFORM_RPC_PORT_H
#define VELMORA_PLATFORM_RPC_PORT_H

#include <stdbool.h>

#include "platform_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The result codes of the RPC port functions. */
typedef enum {
  RPC_PORT_ERROR_NONE = 0,
  RPC_PORT_ERROR_IO_ERROR = -5,
  RPC_PORT_ERROR_OUT_OF_MEMORY = -12,
  RPC_PORT_ERROR_PERMISSION_DENIED = -13,
  RPC_PORT_ERROR_INVALID_PARAMETER = -22,
} rpc_port_error_e;

/* The two ports of a connection: requests and answers travel on the main port, pushed
 * callbacks on the callback port. */
typedef enum {
  RPC_PORT_PORT_MAIN = 0,
  RPC_PORT_PORT_CALLBACK = 1,
} rpc_port_port_type_e;

/* A proxy (the client end of a connection), a stub (the server end) and one port of a
 * connection. */
typedef struct rpc_port_proxy_s *rpc_port_proxy_h;
typedef struct rpc_port_stub_s *rpc_port_stub_h;
typedef struct rpc_port_s *rpc_port_h;

/* ---- proxy (client end) ---- */

/* The connection stands; `port` is the main port. */
typedef void (*rpc_port_proxy_connected_event_cb)(const char *endpoint, const char *port_name,
                                                  rpc_port_h port, void *user_data);
/* The stub closed the connection or went away. */
typedef void (*rpc_port_proxy_disconnected_event_cb)(const char *endpoint, const char *port_name,
                                                     void *user_data);
/* The stub refused this caller, or the stub application could not be reached at all. */
typedef void (*rpc_port_proxy_rejected_event_cb)(const char *endpoint, const char *port_name,
                                                 void *user_data);
/* Data arrived on the callback port. */
typedef void (*rpc_port_proxy_received_event_cb)(const char *endpoint, const char *port_name,
                                                 void *user_data);

/* A new proxy in *h, not yet connected; the caller frees it with rpc_port_proxy_destroy. */
PLATFORM_API int rpc_port_proxy_create(rpc_port_proxy_h *h);
/* Closes the connection, if any, and frees the proxy. No event is delivered afterwards. */
PLATFORM_API int rpc_port_proxy_destroy(rpc_port_proxy_h h);
/*
 * Starts connecting to `port_name` of application `appid`, launching the application when it is
 * registered but not running. Returns at once; the outcome arrives as a connected or rejected
 * event. RPC_PORT_ERROR_INVALID_PARAMETER for NULL arguments or a proxy already connecting or
 * connected.
 */
PLATFORM_API int rpc_port_proxy_connect(rpc_port_proxy_h h, const char *appid,
                                        const char *port_name);
/* Registers the callback of one event of the proxy, with the data handed back to it. Register
 * them before connecting. */
PLATFORM_API int rpc_port_proxy_add_connected_event_cb(rpc_port_proxy_h h,
                                                       rpc_port_proxy_connected_event_cb cb,
                                                       void *user_data);
PLATFORM_API int rpc_port_proxy_add_disconnected_event_cb(rpc_port_proxy_h h,
                                                          rpc_port_proxy_disconnected_event_cb cb,
                                                          void *user_data);
PLATFORM_API int rpc_port_proxy_add_rejected_event_cb(rpc_port_proxy_h h,
                                                      rpc_port_proxy_rejected_event_cb cb,
                                                      void *user_data);
PLATFORM_API int rpc_port_proxy_add_received_event_cb(rpc_port_proxy_h h,
                                                      rpc_port_proxy_received_event_cb cb,
                                                      void *user_data);
/* The main or callback port of a connected proxy (owned by the proxy). */
PLATFORM_API int rpc_port_proxy_get_port(rpc_port_proxy_h h, rpc_port_port_type_e type,
                                         rpc_port_h *port);

/* ---- stub (server end) ---- */

/* A proxy connected; `sender` is its application id, `instance` names this connection. */
typedef void (*rpc_port_stub_connected_event_cb)(const char *sender, const char *instance,
                                                 void *user_data);
/* The connection `instance` of `sender` ended. */
typedef void (*rpc_port_stub_disconnected_event_cb)(const char *sender, const char *instance,
                                                    void *user_data);
/* A request arrived on the connection's main port; read it with rpc_port_parcel_create_from_port.
 * A non-zero return closes the connection. */
typedef int (*rpc_port_stub_received_event_cb)(const char *sender, const char *instance,
                                               rpc_port_h port, void *user_data);

/* A new stub for the port `port_name` of the calling application in *h; it accepts connections
 * once rpc_port_stub_listen is called. The caller frees it with rpc_port_stub_destroy. */
PLATFORM_API int rpc_port_stub_create(rpc_port_stub_h *h, const char *port_name);
/* Stops listening, closes every connection and frees the stub. */
PLATFORM_API int rpc_port_stub_destroy(rpc_port_stub_h h);
/* Starts accepting connections for the calling application (its id comes from app_get_id). */
PLATFORM_API int rpc_port_stub_listen(rpc_port_stub_h h);
/*
 * Restricts callers: once any app id was added, only callers with one of the added ids are
 * accepted; the others get the rejected event. Peers of another user are always refused.
 */
PLATFORM_API int rpc_port_stub_add_allowed_app(rpc_port_stub_h h, const char *app_id);
/* Registers the callback of one event of the stub, with the data handed back to it. Register
 * them before listening. */
PLATFORM_API int rpc_port_stub_add_connected_event_cb(rpc_port_stub_h h,
                                                      rpc_port_stub_connected_event_cb cb,
                                                      void *user_data);
PLATFORM_API int rpc_port_stub_add_disconnected_event_cb(rpc_port_stub_h h,
                                                         rpc_port_stub_disconnected_event_cb cb,
                                                         void *user_data);
PLATFORM_API int rpc_port_stub_add_received_event_cb(rpc_port_stub_h h,
                                                     rpc_port_stub_received_event_cb cb,
                                                     void *user_data);
/* The main or callback port of the connection `instance` (owned by the stub). */
PLATFORM_API int rpc_port_stub_get_port(rpc_port_stub_h h, rpc_port_port_type_e type,
                                        const char *instance, rpc_port_h *port);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_PLATFORM_RPC_PORT_H */
