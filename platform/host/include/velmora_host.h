/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora host platform: what the host implementation offers beyond the platform interfaces.
 *
 * The client library never includes this header: it is for the reference agent, the tools, the
 * tests, the fuzzers and the benchmarks, which run on the host platform and need to set it up,
 * observe it or serve as an application on it.
 */
#ifndef VELMORA_HOST_H
#define VELMORA_HOST_H

#include <stdbool.h>
#include <stddef.h>

#include "app_control.h"
#include "platform_export.h"
#include "rpc_port_parcel.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- platform root ----
 * Everything of one host platform lives below one directory: the device configuration, the package
 * registry, the sockets of running applications, the account store. It is VELMORA_PLATFORM_ROOT,
 * else "$XDG_RUNTIME_DIR/velmora-platform", else "/tmp/velmora-platform-<uid>". */

/* The root directory in use (read from the environment at each call; owned by the platform). */
PLATFORM_API const char *velmora_host_root(void);

/* The platform trusts a root only when it belongs to the current user, neither its group nor
 * others may write it, and the directories above it can be changed only by root or the current
 * user (or carry the sticky bit, as /tmp does); the same holds for every directory it uses below
 * the root. Otherwise another user could plant a package whose executable the platform would
 * start as this user. Every platform function that uses the root refuses one that fails.
 *
 * Checks the root: 0 when it can be trusted or does not exist yet, -13 with a message in *error
 * (naming the path and what to do; the caller frees it with free()) when it is refused. */
PLATFORM_API int velmora_host_check_root(char **error);
/* Prepares `path`, a file below the platform root that will hold state: checks the root, creates
 * the directories on the way (0700) and the file (0600, whatever the umask) when it does not
 * exist; an existing file must belong to the current user and is made 0600. Files such as an
 * SQLite database opened afterwards then stay private, with their journal files. 0, -13 for a
 * refused root, -5 for a file or directory that cannot be made, is not the user's or is not below
 * the root, -22 for no path; a message in *error. */
PLATFORM_API int velmora_host_prepare_state_file(const char *path, char **error);

/* ---- log ---- */

/* Receives every line given to dlog_print, whatever the print level: the priority, the tag, the
 * format as given and the formatted line (with its control characters escaped, as printed). */
typedef void (*velmora_host_log_hook_cb)(int prio, const char *tag, const char *fmt,
                                         const char *message, void *user_data);
/* Installs (or with NULL removes) the process-wide log hook. */
PLATFORM_API void velmora_host_set_log_hook(velmora_host_log_hook_cb hook, void *user_data);

/* ---- parcels ---- */

/* Lends the parcel's bytes (valid until the parcel changes or is destroyed). */
PLATFORM_API int velmora_host_parcel_get_raw(rpc_port_parcel_h h, const void **raw,
                                             unsigned int *size);
/* A new parcel holding a copy of `size` bytes, read from the start. Refuses more than
 * RPC_PORT_PARCEL_MAX_SIZE bytes. */
PLATFORM_API int velmora_host_parcel_create_from_raw(rpc_port_parcel_h *h, const void *raw,
                                                     unsigned int size);

/* ---- allocation failures (test builds) ----
 * In a build with VELMORA_ALLOC_FAULTS, from now on the n-th allocation of the parcel primitives
 * and of the app control object functions fails (they then report RPC_PORT_ERROR_OUT_OF_MEMORY or
 * APP_CONTROL_ERROR_OUT_OF_MEMORY) and every other one succeeds; n = 0 stops failing; the count
 * starts again at each call. False, and nothing changes, in other builds. */
PLATFORM_API bool velmora_host_alloc_fail_at(long n);
/* Allocations of the parcel primitives and app control objects since the last
 * velmora_host_alloc_fail_at. */
PLATFORM_API long velmora_host_alloc_count(void);

/* ---- companion devices: a wearable paired with a phone (two platform roots) ----
 * Pairing is recorded in both roots; the phone is then reached through the platform's own launch
 * requests, in the phone's root (its apps are launched there on demand, with the same framing,
 * limits, peer and root checks and reply time-outs as every launch request). */

/* The result of the companion functions below when the current root is not paired. */
#define VELMORA_HOST_NOT_PAIRED (-61)

/* Pairs the current root, a wearable, with the phone root `phone_root` (a trusted root of profile
 * "mobile"). Pairing again replaces the earlier pairing of this root. 0, -22 (not a wearable, not
 * a phone, the same root), -13 (a root that cannot be trusted), -5. */
PLATFORM_API int velmora_host_pair_phone(const char *phone_root, char **error);
/* Forgets the pairing of the current root (on both sides). 0 also when it was not paired. */
PLATFORM_API int velmora_host_unpair(char **error);
/* The root of the paired phone (of the current wearable root) or of the paired wearable (of the
 * current phone root), in *root (the caller frees it); 0 or VELMORA_HOST_NOT_PAIRED. */
PLATFORM_API int velmora_host_paired_phone(char **root);
PLATFORM_API int velmora_host_paired_wearable(char **root);
/* app_control_send_launch_request to an application of the paired phone. VELMORA_HOST_NOT_PAIRED
 * when there is none; else as app_control_send_launch_request (a phone app that cannot be launched
 * or dies before it replies fails the request through the reply callback). */
PLATFORM_API int velmora_host_companion_send_launch_request(app_control_h app_control,
                                                            app_control_reply_cb callback,
                                                            void *user_data);
/* After a reply, the stream of a launch request stays open for the next request to the same
 * application (from the same main context, in the same root) until the callee closes it at its
 * hello time-out. This closes every stream so kept by this process, e.g. before counting streams.
 */
PLATFORM_API void velmora_host_app_control_close_kept_streams(void);

/* ---- running as an application ----
 * An application's id is VELMORA_APP_ID in its environment (the launcher sets it). */

/* Receives each launch request sent to this application, on the thread-default main context of the
 * thread that called velmora_host_app_control_serve. `request` is lent for the call; answer it with
 * app_control_reply_to_launch_request, now or later (then keep a clone). */
typedef void (*velmora_host_launch_request_cb)(app_control_h request, void *user_data);
/* Starts accepting launch requests for the calling application. */
PLATFORM_API int velmora_host_app_control_serve(velmora_host_launch_request_cb callback,
                                                void *user_data);
/* True when the received launch request `app_control` (or a clone of it) comes from the instance of
 * its caller application that the platform launched in this root: the sending process, which the
 * platform knows from the socket's peer credentials, is the process the launcher started for that
 * application id. A process that merely runs under an application's id (VELMORA_APP_ID set by
 * hand) does not pass. False for an app control that was not received. */
PLATFORM_API bool velmora_host_app_control_caller_is_launched(app_control_h app_control);
/* Stops accepting launch requests. */
PLATFORM_API void velmora_host_app_control_stop(void);
/* While refusing, every launch request sent to this application is refused before it reaches the
 * callback: the sender gets APP_CONTROL_ERROR_LAUNCH_REJECTED (or a failed reply when the request
 * had to wait for this application to start). Off by default. */
PLATFORM_API void velmora_host_app_control_set_refusing(bool refusing);

/* The time a method call waits for its result on a proxy's main port before the connection is
 * given up: VELMORA_RPC_TIMEOUT_MS, default 10000. */
PLATFORM_API int velmora_host_rpc_timeout_ms(void);
/* The time a launch request waits for its reply before its reply callback gets
 * APP_CONTROL_RESULT_FAILED: VELMORA_REPLY_TIMEOUT_MS, default 300000 (five minutes, long enough
 * for a person in a login view). */
PLATFORM_API int velmora_host_reply_timeout_ms(void);

/* ---- device and packages: administration ----
 * For the velmora-platform command and the tests: set up the device profile and the package
 * registry of the current platform root. Each returns 0 or a negative code (-22 a bad argument,
 * -5 a file that cannot be read or written or is malformed, -13 a platform root or a directory in
 * it that others could change (see velmora_host_check_root), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE
 * / APP_MANAGER_ERROR_NO_SUCH_APP for what is not installed) and, when `error` is not NULL, a
 * message in *error that the caller frees with free(). */

/* An application of a package: its id, "service" or "ui", and the executable the launcher starts.
 */
typedef struct {
  const char *app_id; /* the application's id */
  const char *type;   /* "service" or "ui" */
  const char *exec;   /* the executable the launcher starts */
} velmora_host_app_s;

/* A metadata entry of one of the package's applications. */
typedef struct {
  const char *app_id; /* the application the entry belongs to */
  const char *key;    /* the entry's key */
  const char *value;  /* and its value */
} velmora_host_metadata_s;

/* Creates the platform root (its directory and package registry). With `profile` it also sets the
 * device profile; without, a root that has no device configuration gets "mobile". */
PLATFORM_API int velmora_host_init_root(const char *profile, char **error);
/* Sets the device profile: "mobile", "wearable", "tv" (any word of lower-case letters, digits, '-'
 * and '_' is accepted, for tests). */
PLATFORM_API int velmora_host_set_profile(const char *profile, char **error);
/* Hands out the device profile in *profile (the caller frees it with free()). */
PLATFORM_API int velmora_host_get_profile(char **profile, char **error);
/* Sets the device's current MCC (the mobile country code of the network it is on: three digits),
 * or removes it with NULL or "". Applications read it as system information
 * SYSTEM_INFO_KEY_MCC. */
PLATFORM_API int velmora_host_set_mcc(const char *mcc, char **error);
/* Hands out the device's MCC in *mcc ("" when it has none; the caller frees it with free()). */
PLATFORM_API int velmora_host_get_mcc(char **mcc, char **error);
/* Installs (or replaces) a package: its applications in order, then metadata entries in order. */
PLATFORM_API int velmora_host_install_package(const char *package_id,
                                              const velmora_host_app_s *apps, size_t n_apps,
                                              const velmora_host_metadata_s *metadata,
                                              size_t n_metadata, char **error);
/* Removes an installed package. */
PLATFORM_API int velmora_host_remove_package(const char *package_id, char **error);
/* Hands out the ids of the installed packages, sorted, as a NULL-terminated array in *package_ids,
 * and the messages about package files that cannot be read in *errors (may be NULL). Free both
 * with velmora_host_strv_free. Returns 0, or -5 when some package file could not be read. */
PLATFORM_API int velmora_host_list_packages(char ***package_ids, char ***errors);
/* Hands out the executable path of an installed application (the caller frees it with free()). */
PLATFORM_API int velmora_host_get_app_exec(const char *app_id, char **exec, char **error);
/* The package registry and the device configuration are read when they change (a change made
 * through the platform, or any change to a package file or to the configuration), not on every
 * request. Hands out how many times this process read each of them (either pointer may be NULL),
 * for tests and benchmarks that check it. */
PLATFORM_API void velmora_host_read_counts(unsigned *registry, unsigned *device_config);
/* Frees a NULL-terminated array of strings handed out above. NULL is fine. */
PLATFORM_API void velmora_host_strv_free(char **strv);

/* ---- launched applications ----
 * An application launched on demand runs detached (own session, clean environment); its stdout
 * and stderr are appended to log/<app id>.log below the root. */

/* One running application: its id and process id. */
typedef struct {
  char *app_id; /* the application's id */
  int pid;      /* its process id */
} velmora_host_running_s;

/* Hands out the path of an application's log file (the caller frees it with free()), or NULL for
 * a malformed app id. The file exists once the application was launched. */
PLATFORM_API char *velmora_host_app_log_path(const char *app_id);
/* Hands out the applications of this root that run now, sorted by app id, as an array of *count
 * entries (NULL when there is none); free it with velmora_host_running_free. 0 or -22, -12. */
PLATFORM_API int velmora_host_list_running(velmora_host_running_s **apps, size_t *count);
PLATFORM_API void velmora_host_running_free(velmora_host_running_s *apps, size_t count);
/* Stops a running application: SIGTERM, and SIGKILL when it still runs after `timeout_ms`. Returns
 * 0 once it is gone, -3 (ESRCH) when it does not run, -22 for a malformed app id. */
PLATFORM_API int velmora_host_stop_app(const char *app_id, int timeout_ms, char **error);
/* For an application launched on demand that exits when idle. Under the application's launch
 * lock it stops being reachable (its socket files go) unless a client already waits to be
 * accepted. Returns 0 when the application should now exit (the next request launches a new
 * instance; the lock is held until this process exits, so no request reaches one that is going
 * away), -16 (EBUSY) when a client waits (serve it and try again later), -22 when this process
 * runs as no application, -5 when the lock cannot be taken. */
PLATFORM_API int velmora_host_retire(void);

/* ---- text messages ----
 * The host has no phone network. A text message sent on the host is appended to the root's
 * outbox, "<root>/sms/outbox" (0600), one line per message: "<unix seconds>\t<to>\t<text>\n".
 * Whoever plays the phone reads it there (`velmora-agent outbox` prints it). An outbox past
 * 64 KiB moves to "outbox.1" before the next message. */

/* Sends `text` (1..480 bytes of printable UTF-8 on one line) to `to` (1..32 printable
 * characters). 0, -22 for a bad recipient or text, -5 when the outbox cannot be written (or the
 * root is refused); a message in *error (free it with free()) when `error` is not NULL. */
PLATFORM_API int velmora_host_sms_send(const char *to, const char *text, char **error);
/* The outbox file of the current root (the caller frees it with free()). */
PLATFORM_API char *velmora_host_sms_outbox_path(void);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_HOST_H */
