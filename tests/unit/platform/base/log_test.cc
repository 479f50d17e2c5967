// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the host platform log and last result.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
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

// A value with a newline and an escape sequence cannot forge a line or drive the terminal: the
// log writes one line per call, with the control characters escaped.
TEST(PlatformLog, ControlCharactersInValuesAreEscaped) {
  setenv("VELMORA_LOG_LEVEL", "error", 1);  // read once, at the first line of the process
  vtest::LogCapture capture;
  int pipe_fds[2];
  ASSERT_EQ(pipe(pipe_fds), 0);
  fflush(stderr);
  const int saved = dup(2);
  ASSERT_EQ(dup2(pipe_fds[1], 2), 2);
  dlog_print(DLOG_ERROR, "TAG", "scope %s", "read\nE/VELMORA_IPC: forged\x1b[2J\r\t\x7f");
  dlog_print(DLOG_ERROR, "TAG", "%s",
             "caf\xc3\xa9 \xc2\x9b"
             "6n \xe2\x80\xa8 \xff\\n");
  fflush(stderr);
  dup2(saved, 2);
  close(saved);
  close(pipe_fds[1]);
  std::string printed;
  char buf[512];
  for (ssize_t n; (n = read(pipe_fds[0], buf, sizeof(buf))) > 0;) printed.append(buf, (size_t)n);
  close(pipe_fds[0]);
  const std::string first = "scope read\\nE/VELMORA_IPC: forged\\e[2J\\r\\t\\x7f";
  // Valid UTF-8 stays; a C1 control, the line separator and a stray byte are escaped; a
  // backslash the value holds is kept.
  const std::string second = "caf\xc3\xa9 \\u009b6n \\u2028 \\xff\\n";
  EXPECT_EQ(printed, "E/TAG: " + first + "\nE/TAG: " + second + "\n");
  ASSERT_EQ(capture.lines().size(), 2u);
  EXPECT_EQ(capture.lines()[0].message, first);
  EXPECT_EQ(capture.lines()[1].message, second);
}
