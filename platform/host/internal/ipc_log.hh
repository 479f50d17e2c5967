// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: log lines of the inter-process parts (tag "VELMORA_IPC").
#pragma once

#include "dlog.h"

#define IPC_LOGE(...) dlog_print(DLOG_ERROR, "VELMORA_IPC", __VA_ARGS__)
#define IPC_LOGW(...) dlog_print(DLOG_WARN, "VELMORA_IPC", __VA_ARGS__)
#define IPC_LOGI(...) dlog_print(DLOG_INFO, "VELMORA_IPC", __VA_ARGS__)
