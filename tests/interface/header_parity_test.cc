// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the public headers and the shared libraries agree.
//
// Every function declared in include/ is exported by libvelmora-account.so, except the names of
// tests/interface/pending_functions.txt (declared, not written yet); nothing the headers do not
// declare is exported. The platform library exports exactly the C interface of its headers.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "library_symbols.hh"
#include "platform_root.hh"
#include "public_api.hh"

namespace {

using vtest::starts_with;

// Symbols every shared library defines, or the sanitizers add to it.
bool tool_chain(const std::string &name) {
  static const std::set<std::string> kLinker = {"_init", "_fini", "_edata", "_end", "__bss_start"};
  return kLinker.count(name) || starts_with(name, "__odr_asan.") || starts_with(name, "__asan_") ||
         starts_with(name, "__ubsan_") || starts_with(name, "__sancov_");
}

std::set<std::string> exported(const std::string &library) {
  std::set<std::string> out;
  for (const std::string &name : vtest::nm_symbols("-D", library))
    if (!tool_chain(name)) out.insert(name);
  return out;
}

std::string lines(const std::vector<std::string> &names) {
  std::string out;
  for (const std::string &n : names) out += "  " + n + "\n";
  return out;
}

class HeaderParity : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string library = vtest::PlatformRoot::build_dir() + "/src/libvelmora-account.so";
    ASSERT_TRUE(std::filesystem::exists(library)) << library << " is not built";
    declared_ = vtest::declared_names(vtest::public_header_dirs());
    ASSERT_EQ(declared_.error, "");
    ASSERT_FALSE(declared_.functions.empty());
    exported_ = exported(library);
    ASSERT_FALSE(exported_.empty()) << "nm listed nothing for " << library;
    const std::vector<std::string> pending = vtest::pending_functions();
    pending_ = std::set<std::string>(pending.begin(), pending.end());
    ASSERT_EQ(pending_.size(), pending.size()) << "a name is listed twice in pending_functions.txt";
  }
  vtest::Declared declared_;
  std::set<std::string> exported_;
  std::set<std::string> pending_;
};

TEST_F(HeaderParity, TheHeadersAreReadWhole) {
  // A sample of each header, so that a parser that misses declarations cannot pass quietly.
  for (const char *name :
       {"velmora_account_create", "velmora_account_request_access_token",
        "rpc_port_NameS_set_GivenName", "rpc_port_list_string_foreach_list_strings",
        "rpc_port_AccountSvc_ResponseProfileCb_create",
        "rpc_port_proxy_AccountSvc_invoke_CommonProfile", "velmora_account_destroy"})
    EXPECT_EQ(declared_.functions.count(name), 1u) << name << " not found in include/";
  EXPECT_EQ(declared_.variables.count("REQUEST_OP_SIGNIN"), 1u);
  EXPECT_EQ(declared_.functions.count("rpc_port_AccountSvc_ResponseCb_cb"), 0u) << "a typedef";
}

TEST_F(HeaderParity, EveryDeclaredFunctionIsExportedUnlessPending) {
  std::vector<std::string> missing;
  for (const std::string &name : declared_.functions)
    if (!exported_.count(name) && !pending_.count(name)) missing.push_back(name);
  EXPECT_TRUE(missing.empty()) << missing.size()
                               << " functions declared in include/ but not exported by the "
                                  "library (write them, or list them as pending):\n"
                               << lines(missing);
}

TEST_F(HeaderParity, EveryDeclaredVariableIsExported) {
  std::vector<std::string> missing;
  for (const std::string &name : declared_.variables)
    if (!exported_.count(name)) missing.push_back(name);
  EXPECT_TRUE(missing.empty()) << "declared in include/, not exported:\n" << lines(missing);
}

// The pending list only shrinks: each name on it is still declared and still missing. A name whose
// function now exists must leave the list in the same change.
TEST_F(HeaderParity, PendingFunctionsAreDeclaredAndNotYetExported) {
  std::vector<std::string> written, undeclared;
  for (const std::string &name : pending_) {
    if (exported_.count(name)) written.push_back(name);
    if (!declared_.functions.count(name)) undeclared.push_back(name);
  }
  EXPECT_TRUE(written.empty())
      << "exported now: remove these names from tests/interface/pending_functions.txt:\n"
      << lines(written);
  EXPECT_TRUE(undeclared.empty())
      << "pending but not declared in include/ (a typo, or a function that was removed):\n"
      << lines(undeclared);
}

TEST_F(HeaderParity, NothingUndeclaredIsExported) {
  std::vector<std::string> stray;
  for (const std::string &name : exported_)
    if (!declared_.functions.count(name) && !declared_.variables.count(name)) stray.push_back(name);
  EXPECT_TRUE(stray.empty()) << stray.size()
                             << " exported symbols no header of include/ declares:\n"
                             << lines(stray);
}

TEST(PlatformParity, ThePlatformLibraryExportsExactlyItsCInterface) {
  const std::string library =
      vtest::PlatformRoot::build_dir() + "/platform/host/libvelmora-platform.so";
  ASSERT_TRUE(std::filesystem::exists(library)) << library << " is not built";
  const vtest::Declared declared = vtest::declared_names(vtest::platform_header_dirs());
  ASSERT_EQ(declared.error, "");
  ASSERT_EQ(declared.functions.count("rpc_port_proxy_create"), 1u);
  const std::set<std::string> symbols = exported(library);
  ASSERT_FALSE(symbols.empty());
  std::vector<std::string> stray, missing;
  for (const std::string &name : symbols)
    if (!declared.functions.count(name) && !declared.variables.count(name)) stray.push_back(name);
  for (const std::string &name : declared.functions)
    if (!symbols.count(name)) missing.push_back(name);
  EXPECT_TRUE(stray.empty()) << stray.size()
                             << " exported symbols the platform headers do not "
                                "declare (C++ symbols included):\n"
                             << lines(stray);
  EXPECT_TRUE(missing.empty()) << "declared by the platform headers, not exported:\n"
                               << lines(missing);
}

}  // namespace
