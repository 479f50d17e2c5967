// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: the exported rpc_port_<Type>_* functions of every AccountSvc record and
// list, expanded from account_svc_records.def.h. Each is one call into the generic operations
// (record_ops.hh) with its type's descriptor and its own name for the log lines.
#include "record_ops.hh"

namespace va::rec {
// The position of each field in its type's descriptor: va::rec::fields_AccountS::AccessToken, ...
#define VREC_FIELD_INDEX_(T, F, K, A) F,
#define VREC_FIELD_INDICES_(T)                                \
  namespace fields_##T {                                      \
    enum : size_t { RPC_PORT_FIELDS_##T(VREC_FIELD_INDEX_) }; \
  }
RPC_PORT_RECORDS(VREC_FIELD_INDICES_)
RPC_PORT_LISTS(VREC_FIELD_INDICES_)
#undef VREC_FIELD_INDICES_
#undef VREC_FIELD_INDEX_
}  // namespace va::rec

#define VREC_F_(T, F) va::rec::kDesc_##T.fields[va::rec::fields_##T::F]

#define VREC_EXPORT_LIFECYCLE_(T)                                                          \
  VELMORA_API int rpc_port_##T##_create(rpc_port_##T##_h *h) {                             \
    void *out = nullptr;                                                                   \
    int ret = va::rec::create_out(va::rec::kDesc_##T, h ? &out : nullptr, __func__);       \
    if (ret == 0) *h = static_cast<rpc_port_##T##_h>(out);                                 \
    return ret;                                                                            \
  }                                                                                        \
  VELMORA_API int rpc_port_##T##_destroy(rpc_port_##T##_h h) {                             \
    return va::rec::destroy_checked(va::rec::kDesc_##T, h, __func__);                      \
  }                                                                                        \
  VELMORA_API int rpc_port_##T##_clone(rpc_port_##T##_h h, rpc_port_##T##_h *clone) {      \
    void *out = nullptr;                                                                   \
    int ret = va::rec::clone_out(va::rec::kDesc_##T, h, clone ? &out : nullptr, __func__); \
    if (ret == 0) *clone = static_cast<rpc_port_##T##_h>(out);                             \
    return ret;                                                                            \
  }

#define VREC_EXPORT_FIELD_(T, F, K, A) VREC_EXPORT_##K##_(T, F, A)

#define VREC_EXPORT_STRING_(T, F, A)                                              \
  VELMORA_API int rpc_port_##T##_set_##F(rpc_port_##T##_h h, const char *value) { \
    return va::rec::set_string(VREC_F_(T, F), h, value, __func__);                \
  }                                                                               \
  VELMORA_API int rpc_port_##T##_get_##F(rpc_port_##T##_h h, char **value) {      \
    return va::rec::get_string(VREC_F_(T, F), h, value, __func__);                \
  }

#define VREC_EXPORT_SCALAR_(T, F, C)                                     \
  VELMORA_API int rpc_port_##T##_set_##F(rpc_port_##T##_h h, C value) {  \
    return va::rec::set_scalar<C>(VREC_F_(T, F), h, value, __func__);    \
  }                                                                      \
  VELMORA_API int rpc_port_##T##_get_##F(rpc_port_##T##_h h, C *value) { \
    return va::rec::get_scalar<C>(VREC_F_(T, F), h, value, __func__);    \
  }
#define VREC_EXPORT_INT_(T, F, A) VREC_EXPORT_SCALAR_(T, F, int)
#define VREC_EXPORT_LLONG_(T, F, A) VREC_EXPORT_SCALAR_(T, F, long long)
#define VREC_EXPORT_DOUBLE_(T, F, A) VREC_EXPORT_SCALAR_(T, F, double)

#define VREC_EXPORT_RECORD_(T, F, A)                                                    \
  VELMORA_API int rpc_port_##T##_set_##F(rpc_port_##T##_h h, rpc_port_##A##_h value) {  \
    return va::rec::set_record(VREC_F_(T, F), h, value, __func__);                      \
  }                                                                                     \
  VELMORA_API int rpc_port_##T##_get_##F(rpc_port_##T##_h h, rpc_port_##A##_h *value) { \
    void *out = nullptr;                                                                \
    int ret = va::rec::get_record(VREC_F_(T, F), h, value ? &out : nullptr, __func__);  \
    if (ret == 0) *value = static_cast<rpc_port_##A##_h>(out);                          \
    return ret;                                                                         \
  }

#define VREC_EXPORT_ITEMS_(T, F, I)                                                           \
  VELMORA_API int rpc_port_##T##_add_##F(rpc_port_##T##_h h, I value) {                       \
    return va::rec::list_add(VREC_F_(T, F), h, value, __func__);                              \
  }                                                                                           \
  VELMORA_API int rpc_port_##T##_foreach_##F(                                                 \
      rpc_port_##T##_h h, bool (*callback)(I value, void *user_data), void *user_data) {      \
    return va::rec::list_foreach<I>(VREC_F_(T, F), h, callback, user_data, __func__);         \
  }                                                                                           \
  VELMORA_API int rpc_port_##T##_remove_##F(rpc_port_##T##_h h, unsigned int nth) {           \
    return va::rec::list_remove(VREC_F_(T, F), h, nth, __func__);                             \
  }                                                                                           \
  VELMORA_API int rpc_port_##T##_get_##F##_length(rpc_port_##T##_h h, unsigned int *length) { \
    return va::rec::list_length(VREC_F_(T, F), h, length, __func__);                          \
  }
#define VREC_EXPORT_LIST_(T, F, A) VREC_EXPORT_ITEMS_(T, F, rpc_port_##A##_h)
#define VREC_EXPORT_STRLIST_(T, F, A) VREC_EXPORT_ITEMS_(T, F, const char *)

#define VREC_EXPORT_TYPE_(T) \
  VREC_EXPORT_LIFECYCLE_(T)  \
  RPC_PORT_FIELDS_##T(VREC_EXPORT_FIELD_)

RPC_PORT_RECORDS(VREC_EXPORT_TYPE_)
RPC_PORT_LISTS(VREC_EXPORT_TYPE_)
