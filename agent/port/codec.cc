// SPDX-License-Identifier: Apache-2.0
// Velmora agent: reading AccountSvc requests and writing results and pushed callbacks.
#include "port/codec.hh"

#include <cstdlib>

#include "records_internal.hh"

namespace vagent::nidl {

namespace {

// A record read from a request into `out`.
template <typename H, int (*Create)(H *), typename Owner>
bool read_record(rpc_port_parcel_h parcel, Owner *out) {
  H h = nullptr;
  if (Create(&h) != 0) return false;
  out->reset(h);
  rpc_port_parcel_read(parcel, va::rec::parcelable_of(h), h);
  return true;
}

template <typename H, int (*Create)(H *), int (*Destroy)(H)>
void write_empty_record(rpc_port_parcel_h parcel) {
  H h = nullptr;
  if (Create(&h) != 0) return;
  rpc_port_parcel_write(parcel, va::rec::parcelable_of(h), h);
  Destroy(h);
}

Parcel new_parcel() {
  rpc_port_parcel_h p = nullptr;
  rpc_port_parcel_create(&p);
  return Parcel(p);
}

}  // namespace

Account new_account() {
  rpc_port_AccountS_h h = nullptr;
  rpc_port_AccountS_create(&h);
  return Account(h);
}

std::string NidlRequest::field(int (*get)(rpc_port_AccountS_h, char **)) const {
  if (!account) return "";
  char *value = nullptr;
  if (get(account.get(), &value) != 0 || !value) return "";
  std::string out = value;
  free(value);
  return out;
}

int NidlRequest::int_field(int (*get)(rpc_port_AccountS_h, int *)) const {
  int value = 0;
  if (account) get(account.get(), &value);
  return value;
}

bool read_request(rpc_port_parcel_h parcel, const std::vector<ArgKind> &args, NidlRequest *out) {
  for (ArgKind kind : args) {
    switch (kind) {
      case ArgKind::kString: {
        char *s = nullptr;
        if (rpc_port_parcel_read_string(parcel, &s) != 0 || !s) return false;
        out->strings.emplace_back(s);
        free(s);
        break;
      }
      case ArgKind::kInt: {
        int v = 0;
        if (rpc_port_parcel_read_int32(parcel, &v) != 0) return false;
        out->ints.push_back(v);
        break;
      }
      case ArgKind::kAccount: {
        out->account = new_account();
        if (!out->account) return false;
        rpc_port_parcel_read(parcel, va::rec::parcelable_of(out->account.get()),
                             out->account.get());
        break;
      }
      case ArgKind::kProfile:
        if (!read_record<rpc_port_ProfileS_h, rpc_port_ProfileS_create>(parcel, &out->profile))
          return false;
        break;
      case ArgKind::kPrivacy:
        if (!read_record<rpc_port_PrivacyS_h, rpc_port_PrivacyS_create>(parcel, &out->privacy))
          return false;
        break;
      case ArgKind::kDelegate:
        // The delegate's parcel form: int32 id, int32 sequence number, bool once. It comes last
        // in every method, so a request cut short anywhere fails here at the latest.
        if (rpc_port_parcel_read_int32(parcel, &out->delegate.id) != 0 ||
            rpc_port_parcel_read_int32(parcel, &out->delegate.seq) != 0 ||
            rpc_port_parcel_read_bool(parcel, &out->delegate.once) != 0)
          return false;
        out->has_delegate = true;
        break;
    }
  }
  return true;
}

Parcel result_parcel(OutKind kind, const Output &output, int result) {
  Parcel p = new_parcel();
  if (!p) return p;
  rpc_port_parcel_write_int32(p.get(), kProtocolResult);
  switch (kind) {
    case OutKind::kNone:
      break;
    case OutKind::kString:
      rpc_port_parcel_write_string(p.get(), output.text.c_str());
      break;
    case OutKind::kBool:
      rpc_port_parcel_write_bool(p.get(), output.flag);
      break;
    case OutKind::kStringList:
      // A list_string record: its count, then each string.
      rpc_port_parcel_write_array_count(p.get(), static_cast<int>(output.list.size()));
      for (const std::string &s : output.list) rpc_port_parcel_write_string(p.get(), s.c_str());
      break;
    case OutKind::kAccount:
      if (output.account)
        rpc_port_parcel_write(p.get(), va::rec::parcelable_of(output.account.get()),
                              output.account.get());
      else
        write_empty_record<rpc_port_AccountS_h, rpc_port_AccountS_create,
                           rpc_port_AccountS_destroy>(p.get());
      break;
  }
  rpc_port_parcel_write_int32(p.get(), result);
  return p;
}

Parcel callback_parcel(const DelegateRef &delegate, int result, const rpc_port_AccountS_h account,
                       const rpc_port_PlaceInfoS_h places, const PushFaults &faults,
                       const rpc_port_ProfileS_h profile) {
  Parcel p = new_parcel();
  if (!p) return p;
  rpc_port_parcel_write_int32(p.get(), kProtocolCallback);
  // Id 5 belongs to no delegate type; a sequence number this far off was never handed out.
  rpc_port_parcel_write_int32(p.get(), faults.unknown_id ? 5 : delegate.id);
  rpc_port_parcel_write_int32(p.get(),
                              faults.wrong_sequence ? delegate.seq + 0x40000000 : delegate.seq);
  rpc_port_parcel_write_bool(p.get(), delegate.once);
  if (faults.malformed_body) {
    // Three bytes where the int32 result should be: nothing of the body can be read.
    rpc_port_parcel_write_byte(p.get(), '\x7f');
    rpc_port_parcel_write_byte(p.get(), '\x7f');
    rpc_port_parcel_write_byte(p.get(), '\x7f');
    return p;
  }
  rpc_port_parcel_write_int32(p.get(), result);
  switch (delegate.id) {
    case kResponseCb:
      if (account)
        rpc_port_parcel_write(p.get(), va::rec::parcelable_of(account), account);
      else
        write_empty_record<rpc_port_AccountS_h, rpc_port_AccountS_create,
                           rpc_port_AccountS_destroy>(p.get());
      break;
    case kResponsePlaceCb:
      if (places)
        rpc_port_parcel_write(p.get(), va::rec::parcelable_of(places), places);
      else
        write_empty_record<rpc_port_PlaceInfoS_h, rpc_port_PlaceInfoS_create,
                           rpc_port_PlaceInfoS_destroy>(p.get());
      break;
    case kResponseProfileCb:
      if (profile)
        rpc_port_parcel_write(p.get(), va::rec::parcelable_of(profile), profile);
      else
        write_empty_record<rpc_port_ProfileS_h, rpc_port_ProfileS_create,
                           rpc_port_ProfileS_destroy>(p.get());
      break;
    default:  // ResponseErrorCb, or an id the agent does not know: the result alone
      break;
  }
  return p;
}

}  // namespace vagent::nidl
