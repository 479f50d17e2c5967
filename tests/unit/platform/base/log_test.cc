// Velmora tests: the host platform log and last result.
#include <gtest/gtest.h>

#include <thread>

#include "dlog.h"
#include "log_capture.hh"
#include "platform_result.h"

TEST(PlatformLog, HookReceivesFormattedLineWithTagAndPriority) {
  vtest::LogCapture capture;
  dlog_print(DLOG_INFO, "TAG", "%s : %s(%d) > value %d", "file.cc", "fn", 12, 7);
  ASSERT_EQ(capture.lines().size(), 1u);
  const vtest::LogLine &l = capture.lines()[0];
  EXPECT_EQ(l.prio, DLOG_INFO);
  EXPECT_EQ(l.tag, "TAG");
  EXPECT_EQ(l.fmt, "%s : %s(%d) > value %d");
  EXPECT_EQ(l.message, "file.cc : fn(12) > value 7");
  EXPECT_EQ(l.text(), "value 7");
  EXPECT_EQ(l.function(), "fn");
}

TEST(PlatformLog, GeneratedLayerPrefixIsRecognised) {
  vtest::LogCapture capture;
  dlog_print(DLOG_ERROR, "RPC_PORT_PROXY", "%s: %s(%d) > Invalid parameter", "records.cc", "f", 3);
  ASSERT_EQ(capture.lines().size(), 1u);
  EXPECT_EQ(capture.lines()[0].text(), "Invalid parameter");
  EXPECT_TRUE(capture.has("RPC_PORT_PROXY", DLOG_ERROR, "Invalid parameter"));
}

TEST(PlatformLog, NullTagOrFormatIsRefused) {
  EXPECT_LT(dlog_print(DLOG_INFO, nullptr, "x"), 0);
  EXPECT_LT(dlog_print(DLOG_INFO, "T", nullptr), 0);
}

TEST(PlatformLastResult, IsPerThread) {
  set_last_result(-5);
  int other = 1;
  std::thread t([&] { other = get_last_result(); });
  t.join();
  EXPECT_EQ(other, 0);
  EXPECT_EQ(get_last_result(), -5);
  set_last_result(0);
  EXPECT_EQ(get_last_result(), 0);
}
