// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the library's internal naming scheme.
//
// Every symbol the library defines is either public (velmora_account_*, rpc_port_*, REQUEST_OP_*)
// or internal with the one internal prefix: va_ for C symbols, namespace va for C++ ones. Every
// definition of a public function in src/ carries the export macro VELMORA_API, so that a reader
// sees at the definition that it is part of the ABI.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "account_record.h"
#include "app_control.h"
#include "library_symbols.hh"
#include "log_capture.hh"
#include "platform_root.hh"
#include "request_reply.h"
#include "va_base.h"

namespace {

using vtest::public_name;
using vtest::starts_with;

// A C++ symbol of namespace va (functions, variables, their guard variables and local statics).
bool in_namespace_va(const std::string &name) {
  static const std::regex kVa(R"(^_Z(GV|TH|TW)?Z?N(K|V|L)*2va.*)");
  return std::regex_match(name, kVa);
}

// Symbols the tool chain adds to every object (sanitizers, the one-definition-rule indicator of
// an exported variable).
bool tool_chain(const std::string &name) {
  return starts_with(name, "__odr_asan.") || starts_with(name, "__asan_") ||
         starts_with(name, "__sancov_") || starts_with(name, "__ubsan_");
}

TEST(Naming, InternalSymbolsCarryTheVaPrefix) {
  const std::string archive = vtest::PlatformRoot::build_dir() + "/src/libvelmora-account.a";
  ASSERT_TRUE(std::filesystem::exists(archive)) << archive << " is not built";
  // Strong symbols only: the weak ones are the inline functions and template instances every
  // object may carry, the standard library's included.
  const std::vector<std::string> names = vtest::nm_symbols("-g", archive, "TDBRGS");
  ASSERT_FALSE(names.empty()) << "nm listed nothing for " << archive;
  std::string stray;
  for (const std::string &name : names)
    if (!public_name(name) && !starts_with(name, "va_") && !in_namespace_va(name) &&
        !tool_chain(name))
      stray += "  " + name + "\n";
  EXPECT_TRUE(stray.empty()) << "internal symbols without the va_ prefix or namespace va:\n"
                             << stray;
}

// The text of a C or C++ file without comments and with string and character literals emptied.
std::string code_of(const std::string &text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text.compare(i, 2, "//") == 0) {
      while (i < text.size() && text[i] != '\n') ++i;
      out += '\n';
    } else if (text.compare(i, 2, "/*") == 0) {
      const size_t end = text.find("*/", i + 2);
      i = end == std::string::npos ? text.size() : end + 1;
      out += ' ';
    } else if (text[i] == '"' || text[i] == '\'') {
      const char quote = text[i];
      out += quote;
      for (++i; i < text.size() && text[i] != quote; ++i)
        if (text[i] == '\\') ++i;
      out += quote;
    } else {
      out += text[i];
    }
  }
  return out;
}

// The definitions of public functions in `code` whose head lacks VELMORA_API.
std::vector<std::string> unmarked_definitions(const std::string &code) {
  static const std::regex kName(R"(\b((velmora_account|rpc_port)_[A-Za-z0-9_#]*)\s*\()");
  std::vector<std::string> out;
  for (auto it = std::sregex_iterator(code.begin(), code.end(), kName);
       it != std::sregex_iterator(); ++it) {
    const size_t open = it->position(0) + it->length(0) - 1;
    int depth = 0;
    size_t close = open;
    for (; close < code.size(); ++close) {
      if (code[close] == '(') ++depth;
      if (code[close] == ')' && --depth == 0) break;
    }
    size_t next = close + 1;
    while (next < code.size() &&
           (isspace(static_cast<unsigned char>(code[next])) || code[next] == '\\'))
      ++next;
    if (next >= code.size() || code[next] != '{') continue;  // a call or a declaration
    const size_t head = code.find_last_of(";{}", it->position(0));
    const std::string before =
        code.substr(head == std::string::npos ? 0 : head + 1, it->position(0) - (head + 1));
    if (before.find("VELMORA_API") == std::string::npos) out.push_back((*it)[1].str());
  }
  return out;
}

TEST(Naming, UnmarkedDefinitionsAreFound) {
  // The scanner itself, on a few shapes it must tell apart.
  const std::string code = code_of(
      "VELMORA_API int velmora_account_a(int x) { return velmora_account_b(x); }\n"
      "int velmora_account_c(void) {\n  // VELMORA_API in a comment does not count\n  return "
      "0;\n}\n"
      "#define X(T) VELMORA_API int rpc_port_##T##_create(rpc_port_##T##_h *h) { \\\n  return 0; "
      "}\n"
      "#define Y(T) int rpc_port_##T##_destroy(rpc_port_##T##_h h) \\\n  { return 0; }\n"
      "int velmora_account_d(int x);\n");
  EXPECT_EQ(unmarked_definitions(code),
            (std::vector<std::string>{"velmora_account_c", "rpc_port_##T##_destroy"}));
}

TEST(Naming, EveryPublicDefinitionCarriesTheExportMacro) {
  const std::filesystem::path src = std::filesystem::path(VELMORA_SOURCE_DIR) / "src";
  ASSERT_TRUE(std::filesystem::is_directory(src)) << src;
  std::string unmarked;
  int files = 0;
  for (const auto &entry : std::filesystem::recursive_directory_iterator(src)) {
    if (entry.path().extension() != ".cc") continue;
    ++files;
    std::ifstream in(entry.path());
    std::stringstream text;
    text << in.rdbuf();
    for (const std::string &name : unmarked_definitions(code_of(text.str())))
      unmarked += "  " + entry.path().lexically_relative(src).string() + ": " + name + "\n";
  }
  EXPECT_GT(files, 10);
  EXPECT_TRUE(unmarked.empty()) << "public definitions without VELMORA_API:\n" << unmarked;
}

// Functions renamed to the va_ scheme keep the names the log has always shown.
TEST(Naming, RenamedFunctionsKeepTheirNamesInTheLog) {
  vtest::PlatformRoot root;
  root.install_agent(5, "/nonexistent/velmora-agent");
  velmora_account_h handle = nullptr;
  ASSERT_EQ(velmora_account_create(&handle), 0);
  vtest::LogCapture log;
  // The function named by the first line whose text begins with `text`.
  auto named = [&log](const std::string &text) {
    for (const vtest::LogLine &line : log.lines())
      if (line.text().rfind(text, 0) == 0) return line.function();
    return "<no line " + text + ">";
  };

  va_is_lower_agent(3);
  EXPECT_EQ(named("[is_lower_agent] api_level : 3"), "is_lower_agent");
  EXPECT_EQ(named("[_app_info_metadata_cb] velmora-experience-service-api-level"),
            "_app_info_metadata_cb");
  va_convert_error("-22");
  EXPECT_EQ(named("ErrorCode [-22], convert[-22]"), "_velmora_account_convert_error");
  va_convert_account_manager_error(-5, "f");
  EXPECT_EQ(named("[f] error [-5], convert to ["), "__convert_account_manager_error");

  velmora_account_h clone = nullptr;
  ASSERT_EQ(va_account_clone(handle, &clone), 0);
  EXPECT_EQ(named("[velmora_account_clone]"), "velmora_account_clone");
  velmora_account_request_h request = va_request_create_port(clone, nullptr, nullptr);
  EXPECT_EQ(named("[__create_nidl_request]"), "__create_nidl_request");
  free(request);
  rpc_port_AccountS_h s = nullptr;
  ASSERT_EQ(rpc_port_AccountS_create(&s), 0);
  va_fill_from_account_s(clone, s);
  EXPECT_EQ(named("[set_response_handle_from_nild_result]"),
            "set_response_handle_from_nild_result");
  va_fill_linking_from_account_s(clone, s);
  EXPECT_EQ(named("[set_response_handle_from_missing_nild_result]"),
            "set_response_handle_from_missing_nild_result");
  rpc_port_AccountS_destroy(s);
  app_control_h reply = nullptr;
  ASSERT_EQ(app_control_create(&reply), 0);
  app_control_add_extra_data(reply, "mcc", "450");
  app_control_foreach_extra_data(reply, va_foreach_extra_cb, clone);
  EXPECT_EQ(named("Key[mcc]"), "__foreach_extra_cb");
  app_control_destroy(reply);
  EXPECT_EQ(va_account_get_str(clone, VELMORA_ACCOUNT_PROPERTY_ID_TOKEN, nullptr),
            VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(named("(value == NULL)"), "velmora_account_util_get_property_str");

  velmora_account_destroy(clone);
  velmora_account_destroy(handle);
}

}  // namespace
