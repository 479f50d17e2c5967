// Velmora tests: libvelmora-account.so exports its public interface and nothing else.
//
// The public interface is the velmora_account_* functions of include/, the generated rpc_port_*
// functions and the REQUEST_OP_* operation URIs. Everything else is built with hidden visibility;
// internal helpers (even those whose names begin with velmora_account_) must not be reachable.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "library_symbols.hh"
#include "platform_root.hh"

namespace {

std::string library() { return vtest::PlatformRoot::build_dir() + "/src/libvelmora-account.so"; }

// The defined dynamic symbols of the library.
std::set<std::string> exported_symbols() {
  const std::vector<std::string> names = vtest::nm_symbols("-D", library());
  return std::set<std::string>(names.begin(), names.end());
}

using vtest::public_name;
using vtest::starts_with;

bool allowed(const std::string &name) {
  static const std::set<std::string> kLinkerSymbols = {"_init", "_fini", "_edata", "_end",
                                                       "__bss_start"};
  if (public_name(name) || kLinkerSymbols.count(name)) return true;
  // AddressSanitizer's one-definition-rule indicator of an exported variable.
  const std::string odr = "__odr_asan.";
  return starts_with(name, odr) && public_name(name.substr(odr.size()));
}

class ExportedSymbols : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(std::filesystem::exists(library())) << library() << " is not built";
    symbols_ = exported_symbols();
    ASSERT_FALSE(symbols_.empty()) << "nm listed nothing for " << library();
  }
  std::set<std::string> symbols_;
};

}  // namespace

TEST_F(ExportedSymbols, OnlyThePublicInterfaceIsExported) {
  std::vector<std::string> stray;
  for (const std::string &name : symbols_)
    if (!allowed(name)) stray.push_back(name);
  std::string list;
  for (const std::string &name : stray) list += "  " + name + "\n";
  EXPECT_TRUE(stray.empty()) << stray.size() << " symbols outside the public interface:\n" << list;
}

TEST_F(ExportedSymbols, InternalFunctionsAreHidden) {
  for (const char *internal : {"va_account_clone",
                               "va_account_get_str",
                               "va_account_set_str",
                               "va_account_get_int",
                               "va_account_set_int",
                               "va_account_get_flag",
                               "va_account_set_flag",
                               "va_account_str_field",
                               "va_account_clear_str",
                               "va_is_agent_installed",
                               "va_is_lower_agent",
                               "va_is_tv_profile",
                               "va_is_wearable_profile",
                               "va_convert_error",
                               "va_convert_app_control_error",
                               "va_app_control_error_name",
                               "va_convert_account_manager_error",
                               "va_convert_connect_error",
                               "va_dup_field_not_released_by_destroy",
                               "va_operation_run",
                               "va_reply_app_control_cb",
                               "va_profile_list_new",
                               "va_profile_list_release",
                               "va_profile_category"})
    EXPECT_EQ(symbols_.count(internal), 0u) << internal << " is exported";
}

TEST_F(ExportedSymbols, AccountHandleFunctionsAndOperationUrisAreExported) {
  for (const char *name :
       {"velmora_account_create", "velmora_account_destroy", "velmora_account_get_property_str",
        "velmora_account_set_property_str", "velmora_account_unset_property_str",
        "velmora_account_get_property_int", "velmora_account_set_property_int",
        "velmora_account_get_property_bool", "velmora_account_set_property_bool",
        "REQUEST_OP_SIGNIN", "REQUEST_OP_GETACCESSTOKEN", "REQUEST_OP_PROFILE_GET"})
    EXPECT_EQ(symbols_.count(name), 1u) << name << " is not exported";
}
