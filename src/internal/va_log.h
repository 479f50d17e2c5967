// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the library's log lines.
//
// Account client lines go out under "VelmoraAccount_CAPI" as "<file> : <function>(<line>) >
// <message>"; the generated layer's under "RPC_PORT_PROXY" as "<file>: <function>(<line>) >
// <message>" (no blank before the colon). File is the source file's base name.
#pragma once

#include "dlog.h"

#define VA_TAG "VelmoraAccount_CAPI"
#define RPC_TAG "RPC_PORT_PROXY"

// The function a line names: the enclosing function, or the name VA_LOG_NAME gave it. Internal
// functions carry the va_ prefix; where the log must keep showing an older name (the name the
// service's tools know), the function starts with VA_LOG_NAME("that_name").
inline constexpr const char *va_log_name_ = nullptr;
#define VA_LOG_NAME(name) [[maybe_unused]] static constexpr const char *va_log_name_ = name
#define VA_LOG_FUNC (va_log_name_ != nullptr ? va_log_name_ : __func__)

#define VA_LOG(prio, fmt, ...)                                                         \
  dlog_print(prio, VA_TAG, "%s : %s(%d) > " fmt, __FILE_NAME__, VA_LOG_FUNC, __LINE__, \
             ##__VA_ARGS__)
#define VA_LOGD(fmt, ...) VA_LOG(DLOG_DEBUG, fmt, ##__VA_ARGS__)
#define VA_LOGI(fmt, ...) VA_LOG(DLOG_INFO, fmt, ##__VA_ARGS__)
#define VA_LOGW(fmt, ...) VA_LOG(DLOG_WARN, fmt, ##__VA_ARGS__)
#define VA_LOGE(fmt, ...) VA_LOG(DLOG_ERROR, fmt, ##__VA_ARGS__)

// A line naming `func` instead of the calling function: the shared request and reply code logs
// under the name of the operation, or of the reply callback, that its table row gives.
#define VA_LOG_AS(prio, func, fmt, ...) \
  dlog_print(prio, VA_TAG, "%s : %s(%d) > " fmt, __FILE_NAME__, func, __LINE__, ##__VA_ARGS__)

// Entry and exit lines of a function.
#define VA_ENTRY() VA_LOGI("[%s]", VA_LOG_FUNC)
#define VA_EXIT() VA_LOGI("[%s] <<<< ended", VA_LOG_FUNC)

// A failed precondition is logged with its own text: "(handle == NULL)".
#define VA_RETV_IF(cond, ret) \
  do {                        \
    if (cond) {               \
      VA_LOGE("(%s)", #cond); \
      return ret;             \
    }                         \
  } while (0)

// The same with the condition's text given, where the line must show a text other than the code's
// own ("is_agent_installed() == false").
#define VA_RETV_IF_TEXT(cond, text, ret) \
  do {                                   \
    if (cond) {                          \
      VA_LOGE("(%s)", text);             \
      return ret;                        \
    }                                    \
  } while (0)

// The generated layer's lines. RPC_LOG_AT names the function explicitly, for code that serves many
// generated functions from one body.
#define RPC_LOG_AT(prio, func, fmt, ...) \
  dlog_print(prio, RPC_TAG, "%s: %s(%d) > " fmt, __FILE_NAME__, func, __LINE__, ##__VA_ARGS__)
#define RPC_LOG(prio, fmt, ...) RPC_LOG_AT(prio, VA_LOG_FUNC, fmt, ##__VA_ARGS__)
#define RPC_LOGE(fmt, ...) RPC_LOG(DLOG_ERROR, fmt, ##__VA_ARGS__)
#define RPC_LOGW(fmt, ...) RPC_LOG(DLOG_WARN, fmt, ##__VA_ARGS__)
#define RPC_LOGI(fmt, ...) RPC_LOG(DLOG_INFO, fmt, ##__VA_ARGS__)
