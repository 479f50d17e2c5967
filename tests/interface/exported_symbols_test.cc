// SPDX-License-Identifier: Apache-2.0
// Velmora tests: named internal functions stay hidden and named public ones are exported.
//
// header_parity_test.cc compares the whole export list with the headers; these cases name the
// internal helpers (even those whose names begin with velmora_account_) that must not be reachable.
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
