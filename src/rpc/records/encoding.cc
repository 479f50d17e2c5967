// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: how every AccountSvc record and list is written to and read from a
// parcel.
//
// The encoding is positional: the fields in declaration order, with no names, tags or lengths.
// Strings go as strings (NULL as ""), int as int32, long long as int64, double as double, a list
// as its element count then each element, a nested record as its own fields in place.
#include <cstdlib>

#include "record_ops.hh"

namespace va::rec {

namespace {

// The first failure of a read is the one that counts: once a read has failed, the reads after it
// start at the wrong place and fail for that reason.
ReadStatus worse(ReadStatus so_far, ReadStatus next) {
  return so_far != ReadStatus::kWhole ? so_far : next;
}

// The encoding of a record whose fields are all unset: "" for strings, 0 for numbers, count 0 for
// lists. It stands in for a nested record that is NULL. Nested records carry no NULL check on the
// wire, so writing nothing would shift every later field for the reader; writing the empty record
// keeps the stream decodable, and the reader gets an empty record of that type.
void write_empty(const RecordDesc &d, rpc_port_parcel_h parcel) {
  for (const FieldDesc &f : d.field_span()) {
    switch (f.kind) {
      case FieldKind::STRING:
        rpc_port_parcel_write_string(parcel, "");
        break;
      case FieldKind::INT:
        rpc_port_parcel_write_int32(parcel, 0);
        break;
      case FieldKind::LLONG:
        rpc_port_parcel_write_int64(parcel, 0);
        break;
      case FieldKind::DOUBLE:
        rpc_port_parcel_write_double(parcel, 0.0);
        break;
      case FieldKind::RECORD:
        write_empty(*f.item, parcel);
        break;
      case FieldKind::LIST:
      case FieldKind::STRLIST:
        rpc_port_parcel_write_array_count(parcel, 0);
        break;
    }
  }
}

// The count written is the length including NULL items, which are then skipped: the stream holds
// fewer items than it announces. That is how the format has always behaved, and the agent reads it
// the same way; nobody puts NULL items in a list on purpose.
void write_items(const FieldDesc &f, rpc_port_parcel_h parcel, GList *list, const char *func) {
  rpc_port_parcel_write_array_count(parcel, static_cast<int>(g_list_length(list)));
  for (GList *l = list; l; l = l->next) {
    if (!l->data) {
      RPC_LOG_AT(DLOG_WARN, func, "Warning: value is NULL");
      continue;
    }
    if (f.kind == FieldKind::STRLIST)
      rpc_port_parcel_write_string(parcel, static_cast<const char *>(l->data));
    else
      rpc_port_parcel_write(parcel, parcelable_of(l->data), l->data);
  }
}

// Appends the items that follow in the parcel. The count is read into a zeroed int, so a refused
// count (the parcel refuses any count its unread bytes cannot back) reads as 0 and nothing more is
// read; that also bounds what is allocated here by the size of the parcel.
ReadStatus read_items(const FieldDesc &f, rpc_port_parcel_h parcel, GList **list,
                      const char *func) {
  int count = 0;
  ReadStatus status = status_of(rpc_port_parcel_read_array_count(parcel, &count));
  if (count < 1) return status;
  GList *last = g_list_last(*list);
  for (int i = 0; i < count; ++i) {
    void *item;
    if (f.kind == FieldKind::STRLIST) {
      char *value = nullptr;  // a failed read appends NULL
      status = worse(status, status_of(rpc_port_parcel_read_string(parcel, &value)));
      item = value;
    } else {
      item = create(*f.item, f.item->fn_create);
      if (!item) {
        RPC_LOG_AT(DLOG_ERROR, func, "Failed to create handle");
        return worse(status, ReadStatus::kOutOfMemory);
      }
      status = worse(status, read(*f.item, parcel, item, f.item->fn_read));
    }
    append_item(list, &last, item);
  }
  return status;
}

}  // namespace

void write(const RecordDesc &d, rpc_port_parcel_h parcel, void *h, const char *func) {
  if (!parcel || !h) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return;
  }
  for (const FieldDesc &f : d.field_span()) {
    switch (f.kind) {
      case FieldKind::STRING: {
        const char *value = member<char *>(h, f);
        rpc_port_parcel_write_string(parcel, value ? value : "");
        break;
      }
      case FieldKind::INT:
        rpc_port_parcel_write_int32(parcel, member<int>(h, f));
        break;
      case FieldKind::LLONG:
        rpc_port_parcel_write_int64(parcel, member<long long>(h, f));
        break;
      case FieldKind::DOUBLE:
        rpc_port_parcel_write_double(parcel, member<double>(h, f));
        break;
      case FieldKind::RECORD: {
        void *value = member<void *>(h, f);
        if (value)
          rpc_port_parcel_write(parcel, parcelable_of(value), value);
        else
          write_empty(*f.item, parcel);
        break;
      }
      case FieldKind::LIST:
      case FieldKind::STRLIST:
        write_items(f, parcel, member<GList *>(h, f), func);
        break;
    }
  }
}

// A failed primitive read does not stop the read: the remaining fields keep what they held (a
// failed read leaves its target untouched), and the result says that the record is not whole. A
// string that is read replaces, and frees, the value the field held.
ReadStatus read(const RecordDesc &d, rpc_port_parcel_h parcel, void *h, const char *func) {
  if (!parcel || !h) {
    RPC_LOG_AT(DLOG_ERROR, func, "Invalid parameter");
    return ReadStatus::kMalformed;
  }
  ReadStatus status = ReadStatus::kWhole;
  for (const FieldDesc &f : d.field_span()) {
    switch (f.kind) {
      case FieldKind::STRING: {
        char *value = nullptr;
        status = worse(status, status_of(rpc_port_parcel_read_string(parcel, &value)));
        if (value) {
          char *&slot = member<char *>(h, f);
          free(slot);
          slot = value;
        }
        break;
      }
      case FieldKind::INT:
        status = worse(status, status_of(rpc_port_parcel_read_int32(parcel, &member<int>(h, f))));
        break;
      case FieldKind::LLONG:
        status =
            worse(status, status_of(rpc_port_parcel_read_int64(parcel, &member<long long>(h, f))));
        break;
      case FieldKind::DOUBLE:
        status =
            worse(status, status_of(rpc_port_parcel_read_double(parcel, &member<double>(h, f))));
        break;
      case FieldKind::RECORD: {
        void *value = create(*f.item, f.item->fn_create);
        if (!value) {
          // Without the record the rest of this one cannot be placed: stop here.
          RPC_LOG_AT(DLOG_ERROR, func, "Failed to create %s handle", f.item->name);
          return worse(status, ReadStatus::kOutOfMemory);
        }
        status = worse(status, read(*f.item, parcel, value, f.item->fn_read));
        void *&slot = member<void *>(h, f);
        destroy(*f.item, slot);
        slot = value;
        break;
      }
      case FieldKind::LIST:
      case FieldKind::STRLIST:
        status = worse(status, read_items(f, parcel, &member<GList *>(h, f), func));
        break;
    }
  }
  return status;
}

ReadStatus decode(const RecordDesc &d, rpc_port_parcel_h parcel, void *h) {
  return read(d, parcel, h, d.fn_read);
}

}  // namespace va::rec
