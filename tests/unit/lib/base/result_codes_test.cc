// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the result codes and the conversions of platform and agent errors.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "account_record.h"
#include "account_store.h"
#include "app_control.h"
#include "dlog.h"
#include "log_capture.hh"
#include "platform_root.hh"
#include "request_record.h"
#include "va_base.h"
#include "velmora_account.h"
#include "velmora_account_error.h"

using vtest::kVaTag;

TEST(ResultCodes, HaveTheirDocumentedValues) {
  EXPECT_EQ(VELMORA_ACCOUNT_ERROR_NONE, 0);
  EXPECT_EQ(VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY, -12);
  EXPECT_EQ(VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED, -13);
  EXPECT_EQ(VELMORA_ACCOUNT_ERROR_RESOURCE_BUSY, -16);
  EXPECT_EQ(VELMORA_ACCOUNT_ERROR_INVALID_PARAMETER, -22);
  EXPECT_EQ(VELMORA_ACCOUNT_ERROR_NO_DATA, -61);
  EXPECT_EQ(static_cast<unsigned>(VELMORA_ACCOUNT_ERROR_UNKNOWN), 0xC0000000u);
  EXPECT_EQ(static_cast<unsigned>(VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED), 0xC0000002u);
  EXPECT_EQ(static_cast<unsigned>(VELMORA_ACCOUNT_ERROR_DB_FAILED), 0xBFFFFFFBu);
  EXPECT_EQ(static_cast<unsigned>(VELMORA_ACCOUNT_ERROR_NEED_SIGNIN), 0xBFFFFFFAu);
  EXPECT_EQ(static_cast<unsigned>(VELMORA_ACCOUNT_ERROR_LOWER_VERSION), 0xBFFFFFF3u);
  EXPECT_EQ(VELMORA_ACCOUNT_ERROR_LOWER_VERSION, -1073741837);
}

// ---- the agent's "error_code" ----

TEST(ConvertErrorCode, MissingErrorCodeReadsAsSuccess) {
  vtest::LogCapture log;
  EXPECT_EQ(va_convert_error(nullptr), VELMORA_ACCOUNT_ERROR_NONE);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[_velmora_account_convert_error]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "ErrorCode is NULL [(null)], value set to 0"))
      << log.dump();
}

TEST(ConvertErrorCode, NegativeNumberIsPassedThrough) {
  vtest::LogCapture log;
  EXPECT_EQ(va_convert_error("-22"), -22);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "ErrorCode [-22], convert[-22]")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[_velmora_account_convert_error] <<<< ended"));
}

TEST(ConvertErrorCode, NonNumberConvertsToZero) {
  vtest::LogCapture log;
  EXPECT_EQ(va_convert_error("abc"), 0);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "ErrorCode [abc], convert[0]")) << log.dump();
}

TEST(ConvertErrorCode, NumberFollowedByLettersConvertsToTheNumber) {
  EXPECT_EQ(va_convert_error("61xyz"), 61);
  EXPECT_EQ(va_convert_error("-1073741830"), VELMORA_ACCOUNT_ERROR_NEED_SIGNIN);
}

TEST(ConvertErrorCode, AgentCodesOutsideTheTableArePassedUnchanged) {
  EXPECT_EQ(va_convert_error("-999"), -999);
  EXPECT_EQ(va_convert_error("0"), 0);
}

// ---- app-control error names ----

TEST(AppControlErrorName, NamesEveryKnownError) {
  const struct {
    int err;
    const char *name;
  } cases[] = {
      {0, "APP_CONTROL_ERROR_NONE"},
      {-22, "APP_CONTROL_ERROR_INVALID_PARAMETER"},
      {-12, "APP_CONTROL_ERROR_OUT_OF_MEMORY"},
      {static_cast<int>(0xFEF00021), "APP_CONTROL_ERROR_APP_NOT_FOUND"},
      {-126, "APP_CONTROL_ERROR_KEY_NOT_FOUND"},
      {-129, "APP_CONTROL_ERROR_KEY_REJECTED"},
      {static_cast<int>(0xFEF00022), "APP_CONTROL_ERROR_INVALID_DATA_TYPE"},
      {static_cast<int>(0xFEF00023), "APP_CONTROL_ERROR_LAUNCH_REJECTED"},
      {-13, "APP_CONTROL_ERROR_PERMISSION_DENIED"},
      {static_cast<int>(0xFEF00024), "APP_CONTROL_ERROR_LAUNCH_FAILED"},
      {static_cast<int>(0xC0000001), "APP_CONTROL_ERROR_TIMED_OUT"},
      {-5, "APP_CONTROL_ERROR_IO_ERROR"},
  };
  for (const auto &c : cases) EXPECT_STREQ(va_app_control_error_name(c.err), c.name) << c.err;
}

TEST(AppControlErrorName, UnknownErrorHasTheFallbackName) {
  EXPECT_STREQ(va_app_control_error_name(-1), "UNKNOWN__Error");
  EXPECT_STREQ(va_app_control_error_name(12345), "UNKNOWN__Error");
}

// ---- launch results ----

TEST(ConvertLaunchError, SuccessTouchesNothing) {
  vtest::PlatformRoot root;
  root.install_agent(5);
  velmora_account_h account = nullptr;
  ASSERT_EQ(velmora_account_create(&account), 0);
  auto *request =
      static_cast<velmora_account_request_h>(calloc(1, sizeof(velmora_account_request_s)));
  vtest::LogCapture log;
  EXPECT_EQ(va_convert_app_control_error(APP_CONTROL_ERROR_NONE, request, account), 0);
  EXPECT_EQ(log.count("REQUEST_HANDLE_FREE"), 0) << log.dump();
  EXPECT_EQ(log.count("VELMORA_ACCOUNT_FREE"), 0) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[__convert_app_control_error]"));
  // Both are still ours to release (the leak checker sees to it that nothing was freed twice).
  free(request);
  EXPECT_EQ(velmora_account_destroy(account), 0);
}

TEST(ConvertLaunchError, PermissionDeniedPassesThrough) {
  EXPECT_EQ(va_convert_app_control_error(APP_CONTROL_ERROR_PERMISSION_DENIED, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_PERMISSION_DENIED);
}

TEST(ConvertLaunchError, AppNotFoundIsNotSupported) {
  vtest::LogCapture log;
  EXPECT_EQ(va_convert_app_control_error(APP_CONTROL_ERROR_APP_NOT_FOUND, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
  const std::string line = "app_control_send_launch_request failed [" +
                           std::to_string(APP_CONTROL_ERROR_APP_NOT_FOUND) +
                           "][APP_CONTROL_ERROR_APP_NOT_FOUND]";
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, line)) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[__convert_app_control_error] <<<< ended"));
}

TEST(ConvertLaunchError, LaunchRejectedIsResourceBusy) {
  EXPECT_EQ(va_convert_app_control_error(APP_CONTROL_ERROR_LAUNCH_REJECTED, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_RESOURCE_BUSY);
}

TEST(ConvertLaunchError, TimeOutAndIoErrorBecomeOutOfMemory) {
  EXPECT_EQ(va_convert_app_control_error(APP_CONTROL_ERROR_TIMED_OUT, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(va_convert_app_control_error(APP_CONTROL_ERROR_IO_ERROR, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(va_convert_app_control_error(APP_CONTROL_ERROR_LAUNCH_FAILED, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(va_convert_app_control_error(7, nullptr, nullptr), VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
}

TEST(ConvertLaunchError, FailureReleasesTheRequestAndTheAccount) {
  vtest::PlatformRoot root;
  root.install_agent(5);
  velmora_account_h account = nullptr;
  ASSERT_EQ(velmora_account_create(&account), 0);
  ASSERT_EQ(velmora_account_set_property_str(account, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, "a@b.c"),
            0);
  auto *request =
      static_cast<velmora_account_request_h>(calloc(1, sizeof(velmora_account_request_s)));
  request->account = account;
  vtest::LogCapture log;
  EXPECT_EQ(va_convert_app_control_error(APP_CONTROL_ERROR_IO_ERROR, request, account),
            VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO,
                      "app_control_send_launch_request failed [-5][APP_CONTROL_ERROR_IO_ERROR]"))
      << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "REQUEST_HANDLE_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "VELMORA_ACCOUNT_FREE")) << log.dump();
  EXPECT_TRUE(log.has(kVaTag, DLOG_INFO, "[velmora_account_destroy] <<<< ended")) << log.dump();
  // Nothing to release here: under the leak checker this test fails if either was kept.
}

TEST(ConvertLaunchError, FailureWithNothingPreparedReleasesNothing) {
  vtest::LogCapture log;
  EXPECT_EQ(va_convert_app_control_error(APP_CONTROL_ERROR_KEY_REJECTED, nullptr, nullptr),
            VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(log.count("REQUEST_HANDLE_FREE"), 0);
  EXPECT_EQ(log.count("VELMORA_ACCOUNT_FREE"), 0);
}

// ---- platform account store errors ----

TEST(ConvertAccountStoreError, CommonCodesPassThrough) {
  for (int err : {ACCOUNT_ERROR_NOT_SUPPORTED, ACCOUNT_ERROR_NO_DATA,
                  ACCOUNT_ERROR_PERMISSION_DENIED, ACCOUNT_ERROR_OUT_OF_MEMORY})
    EXPECT_EQ(va_convert_account_manager_error(err, "f"), err);
}

TEST(ConvertAccountStoreError, DatabaseFailuresBecomeDbFailed) {
  EXPECT_EQ(va_convert_account_manager_error(static_cast<int>(0xFF000004), "f"),
            VELMORA_ACCOUNT_ERROR_DB_FAILED);
  EXPECT_EQ(va_convert_account_manager_error(static_cast<int>(0xFF000005), "f"),
            VELMORA_ACCOUNT_ERROR_DB_FAILED);
}

TEST(ConvertAccountStoreError, RecordNotFoundMeansSignInFirst) {
  EXPECT_EQ(va_convert_account_manager_error(static_cast<int>(0xFF000003), "f"),
            VELMORA_ACCOUNT_ERROR_NEED_SIGNIN);
}

TEST(ConvertAccountStoreError, BusyDatabaseIsResourceBusy) {
  EXPECT_EQ(va_convert_account_manager_error(static_cast<int>(0xFF000010), "f"),
            VELMORA_ACCOUNT_ERROR_RESOURCE_BUSY);
}

TEST(ConvertAccountStoreError, ZeroAndUnmappedCodesAreUnknownWithTheLogLine) {
  vtest::LogCapture log;
  EXPECT_EQ(va_convert_account_manager_error(0, "account_query_account_by_package_name"),
            VELMORA_ACCOUNT_ERROR_UNKNOWN);
  EXPECT_TRUE(
      log.has(kVaTag, DLOG_INFO,
              "[account_query_account_by_package_name] error [0], convert to [-1073741824]"))
      << log.dump();
  EXPECT_EQ(va_convert_account_manager_error(ACCOUNT_ERROR_DUPLICATED, "f"),
            VELMORA_ACCOUNT_ERROR_UNKNOWN);
  EXPECT_EQ(va_convert_account_manager_error(-22, "f"), VELMORA_ACCOUNT_ERROR_UNKNOWN);
}

// ---- proxy connection results ----

TEST(ConvertConnectError, PermissionDeniedAndSuccessStay) {
  EXPECT_EQ(va_convert_connect_error(-13), -13);
  EXPECT_EQ(va_convert_connect_error(0), 0);
}

TEST(ConvertConnectError, EveryOtherResultBecomesOutOfMemory) {
  for (int err = -12; err <= -1; ++err)
    EXPECT_EQ(va_convert_connect_error(err), VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY) << err;
  for (int err : {-5, -14, -22, 1, 13, INT_MIN, INT_MAX})
    EXPECT_EQ(va_convert_connect_error(err), VELMORA_ACCOUNT_ERROR_OUT_OF_MEMORY) << err;
}
