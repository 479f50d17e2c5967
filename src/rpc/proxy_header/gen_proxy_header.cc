// SPDX-License-Identifier: Apache-2.0
// Velmora Account client: writes the public header account_svc_proxy.h from the records table.
//
// Usage: gen_proxy_header FRAME OUTPUT
//   FRAME   account_svc_proxy.h.in: the prose and the hand-written declarations, with the lines
//           @HANDLES@, @RECORDS@ and @DELEGATES@ where the table's declarations go
//   OUTPUT  the header to write ("-" for standard output); an unchanged file is left untouched
// Exit status 0 on success, 1 with a message on standard error otherwise.
//
// Every function of the record, list and delegate families is written out in full, so that a
// reader finds rpc_port_NameS_set_GivenName with grep. A declaration longer than the line limit
// is wrapped after its opening parenthesis, its parameters filled four spaces in.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "account_svc_records.def.h"

namespace {

constexpr size_t kLineLimit = 100;

enum class Kind { STRING, INT, LLONG, DOUBLE, RECORD, LIST, STRLIST };

struct Field {
  std::string name;
  Kind kind;
  std::string arg;  // the item or nested record type of RECORD and LIST fields
};

struct Type {
  std::string name;
  std::vector<Field> fields;
};

#define VGEN_FIELD_(T, F, K, A) Field{#F, Kind::K, #A},
#define VGEN_TYPE_(T) Type{#T, {RPC_PORT_FIELDS_##T(VGEN_FIELD_)}},
const std::vector<Type> kRecords = {RPC_PORT_RECORDS(VGEN_TYPE_)};
const std::vector<Type> kLists = {RPC_PORT_LISTS(VGEN_TYPE_)};
#undef VGEN_TYPE_
#undef VGEN_FIELD_

#define VGEN_DELEGATE_(D) #D,
const std::vector<std::string> kDelegates = {RPC_PORT_DELEGATES(VGEN_DELEGATE_)};
#undef VGEN_DELEGATE_

std::string handle(const std::string &type) { return "rpc_port_" + type + "_h"; }

// "VELMORA_API <ret> <name>(<params>);", wrapped when longer than the line limit.
std::string declaration(const std::string &ret, const std::string &name,
                        const std::vector<std::string> &params) {
  const std::string head = "VELMORA_API " + ret + " " + name + "(";
  std::string one_line = head;
  for (size_t i = 0; i < params.size(); ++i) one_line += (i ? ", " : "") + params[i];
  one_line += ");\n";
  if (one_line.size() - 1 <= kLineLimit) return one_line;
  std::string out = head + "\n";
  std::string line = "   ";
  for (size_t i = 0; i < params.size(); ++i) {
    const std::string piece = " " + params[i] + (i + 1 < params.size() ? "," : ");");
    if (line.size() + piece.size() > kLineLimit && line.size() > 3) {
      out += line + "\n";
      line = "   ";
    }
    line += piece;
  }
  return out + line + "\n";
}

std::string handles() {
  std::string out;
  for (const auto *types : {&kRecords, &kLists})
    for (const Type &t : *types)
      out += "typedef struct rpc_port_" + t.name + "_s *" + handle(t.name) + ";\n";
  return out;
}

std::string count_phrase(size_t n, const char *what) {
  return std::to_string(n) + " " + what + (n == 1 ? " field" : " fields");
}

// The one-line summary above a type's functions: "NameS: 10 string fields."
std::string summary(const Type &t) {
  const char *names[] = {"string", "int", "long long", "double", "record", "list", "string list"};
  size_t counts[7] = {};
  for (const Field &f : t.fields) ++counts[static_cast<int>(f.kind)];
  std::vector<std::string> parts;
  for (int k = 0; k < 7; ++k)
    if (counts[k]) parts.push_back(count_phrase(counts[k], names[k]));
  std::string out = "/* ---- " + t.name + ": ";
  for (size_t i = 0; i < parts.size(); ++i)
    out += (i == 0 ? "" : i + 1 == parts.size() ? " and " : ", ") + parts[i];
  return out + " ---- */\n";
}

std::string type_functions(const Type &t) {
  const std::string h = handle(t.name);
  const std::string p = "rpc_port_" + t.name + "_";
  std::string out = summary(t);
  out += declaration("int", p + "create", {h + " *h"});
  out += declaration("int", p + "destroy", {h + " h"});
  out += declaration("int", p + "clone", {h + " h", h + " *clone"});
  for (const Field &f : t.fields) {
    const std::string self = h + " h";
    std::string value;
    switch (f.kind) {
      case Kind::STRING:
        out += declaration("int", p + "set_" + f.name, {self, "const char *value"});
        out += declaration("int", p + "get_" + f.name, {self, "char **value"});
        continue;
      case Kind::INT:
        value = "int";
        break;
      case Kind::LLONG:
        value = "long long";
        break;
      case Kind::DOUBLE:
        value = "double";
        break;
      case Kind::RECORD:
        value = handle(f.arg);
        break;
      case Kind::LIST:
      case Kind::STRLIST: {
        const std::string item =
            f.kind == Kind::LIST ? handle(f.arg) + " value" : "const char *value";
        out += declaration("int", p + "add_" + f.name, {self, item});
        out += declaration(
            "int", p + "foreach_" + f.name,
            {self, "bool (*callback)(" + item + ", void *user_data)", "void *user_data"});
        out += declaration("int", p + "remove_" + f.name, {self, "unsigned int nth"});
        out += declaration("int", p + "get_" + f.name + "_length", {self, "unsigned int *length"});
        continue;
      }
    }
    out += declaration("int", p + "set_" + f.name, {self, value + " value"});
    out += declaration("int", p + "get_" + f.name, {self, value + " *value"});
  }
  return out;
}

std::string records() {
  std::string out;
  for (const auto *types : {&kRecords, &kLists})
    for (const Type &t : *types) out += (out.empty() ? "" : "\n") + type_functions(t);
  return out;
}

std::string delegates() {
  std::string out;
  for (const std::string &d : kDelegates) {
    const std::string h = "rpc_port_AccountSvc_" + d + "_h";
    // One run without blank lines: the comment before it (the frame's) documents every function.
    out +=
        declaration(h, "rpc_port_AccountSvc_" + d + "_create",
                    {"rpc_port_AccountSvc_" + d + "_cb callback", "bool once", "void *user_data"});
    out += declaration("int", "rpc_port_AccountSvc_" + d + "_destroy", {h + " h"});
    out += declaration("int", "rpc_port_proxy_AccountSvc_" + d + "_dispose",
                       {"rpc_port_proxy_AccountSvc_h proxy", h + " delegate"});
  }
  return out;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 3) {
    std::cerr << "usage: gen_proxy_header FRAME OUTPUT\n";
    return 1;
  }
  std::ifstream frame(argv[1]);
  if (!frame) {
    std::cerr << "gen_proxy_header: cannot read the frame " << argv[1] << "\n";
    return 1;
  }
  std::string text;
  std::string line;
  bool handles_done = false, records_done = false, delegates_done = false;
  while (std::getline(frame, line)) {
    if (line.starts_with("@@")) continue;
    if (line == "@HANDLES@") {
      text += handles();
      handles_done = true;
    } else if (line == "@RECORDS@") {
      text += records();
      records_done = true;
    } else if (line == "@DELEGATES@") {
      text += delegates();
      delegates_done = true;
    } else {
      text += line + "\n";
    }
  }
  if (!handles_done || !records_done || !delegates_done) {
    std::cerr << "gen_proxy_header: " << argv[1]
              << " lacks one of the lines @HANDLES@, @RECORDS@, @DELEGATES@\n";
    return 1;
  }
  const std::string out_path = argv[2];
  if (out_path == "-") {
    std::cout << text;
    return std::cout.good() ? 0 : 1;
  }
  std::ifstream old(out_path);
  std::stringstream old_text;
  old_text << old.rdbuf();
  if (old && old_text.str() == text) return 0;
  std::ofstream out(out_path, std::ios::trunc);
  out << text;
  out.close();
  if (!out) {
    std::cerr << "gen_proxy_header: cannot write " << out_path << "\n";
    return 1;
  }
  return 0;
}
