// SPDX-License-Identifier: Apache-2.0
// Velmora tests: configuration files are read when they change, not each time they are used
// (file_watch.hh, FaultsFile, ClockOffsetFile, the device profile).
#include "file_watch.hh"

#include <glib-unix.h>
#include <glib.h>
#include <glib/gstdio.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "agent_state_fixture.hh"
#include "clock_offset.hh"
#include "device.hh"
#include "faults.hh"
#include "platform_root.hh"

using agent_test::AgentTest;

namespace {

void write_in_place(const std::string &path, const char *text) {
  FILE *f = fopen(path.c_str(), "w");
  ASSERT_NE(f, nullptr) << path;
  fputs(text, f);
  fclose(f);
}

}  // namespace

TEST(WatchedFile, ChangedFirstThenOnlyAfterAChange) {
  vtest::PlatformRoot root;
  const std::string path = root.path_of("watched.conf");
  vagent::WatchedFile watch(path);
  EXPECT_TRUE(watch.changed());
  EXPECT_FALSE(watch.changed());
  // Replaced by a rename, written in place, removed: each is seen at once, without waiting.
  ASSERT_TRUE(g_file_set_contents(path.c_str(), "a", -1, nullptr));
  EXPECT_TRUE(watch.changed());
  EXPECT_FALSE(watch.changed());
  write_in_place(path, "b");
  EXPECT_TRUE(watch.changed());
  ASSERT_EQ(g_unlink(path.c_str()), 0);
  EXPECT_TRUE(watch.changed());
  EXPECT_FALSE(watch.changed());
  // Other files of the directory are no change of this one.
  write_in_place(root.path_of("other.conf"), "c");
  ASSERT_TRUE(g_file_set_contents(root.path_of("other2.conf").c_str(), "d", -1, nullptr));
  EXPECT_FALSE(watch.changed());
}

TEST(WatchedFile, ADirectoryMadeLaterOrMadeAgainIsFollowed) {
  vtest::PlatformRoot root;
  const std::string dir = root.path_of("later");
  const std::string path = dir + "/x.conf";
  vagent::WatchedFile watch(path);
  // No directory yet: no watch, so every question says "read afresh".
  EXPECT_TRUE(watch.changed());
  EXPECT_TRUE(watch.changed());
  ASSERT_EQ(g_mkdir(dir.c_str(), 0700), 0);
  EXPECT_TRUE(watch.changed());
  EXPECT_FALSE(watch.changed());
  write_in_place(path, "a");
  EXPECT_TRUE(watch.changed());
  // The directory goes and comes back.
  ASSERT_EQ(g_unlink(path.c_str()), 0);
  ASSERT_EQ(g_rmdir(dir.c_str()), 0);
  EXPECT_TRUE(watch.changed());
  ASSERT_EQ(g_mkdir(dir.c_str(), 0700), 0);
  write_in_place(path, "b");
  EXPECT_TRUE(watch.changed());
  EXPECT_FALSE(watch.changed());
}

TEST(WatchedFile, TwoWatchersOfOneFileEachSeeTheChange) {
  vtest::PlatformRoot root;
  const std::string path = root.path_of("shared.conf");
  vagent::WatchedFile a(path), b(path);
  EXPECT_TRUE(a.changed());
  EXPECT_TRUE(b.changed());
  write_in_place(path, "x");
  EXPECT_TRUE(a.changed());
  EXPECT_TRUE(b.changed());
  EXPECT_FALSE(a.changed());
}

TEST(WatchedFile, WithinAScopeTheFirstQuestionLooksForEveryFile) {
  vtest::PlatformRoot root;
  const std::string pa = root.path_of("a.conf"), pb = root.path_of("b.conf");
  vagent::WatchedFile a(pa), b(pb);
  EXPECT_TRUE(a.changed());
  EXPECT_TRUE(b.changed());
  write_in_place(pa, "1");
  write_in_place(pb, "1");
  {
    vagent::WatchScope request;
    EXPECT_TRUE(a.changed());  // drains: both changes are known from here on
    EXPECT_TRUE(b.changed());
    write_in_place(pa, "2");  // during the request: for the next one
    EXPECT_FALSE(a.changed());
  }
  EXPECT_TRUE(a.changed());
  EXPECT_FALSE(b.changed());
}

TEST(WatchedFile, FromALoopQuestionsOnlyLookAtWhatTheLoopDrained) {
  vtest::PlatformRoot root;
  const std::string path = root.path_of("looped.conf");
  vagent::WatchedFile watch(path);
  EXPECT_TRUE(watch.changed());
  GMainContext *ctx = g_main_context_new();
  {
    const vagent::WatchFromLoop from_loop(ctx);
    write_in_place(path, "a");
    // The question reads nothing: the change is known once the loop has run.
    EXPECT_FALSE(watch.changed());
    while (g_main_context_iteration(ctx, FALSE)) {
    }
    EXPECT_TRUE(watch.changed());
    EXPECT_FALSE(watch.changed());
  }
  // Without the loop's watch, a question drains again.
  write_in_place(path, "b");
  EXPECT_TRUE(watch.changed());
  g_main_context_unref(ctx);
}

TEST(WatchedFile, FromALoopAChangeIsDrainedBeforeARequestSentAfterIt) {
  vtest::PlatformRoot root;
  const std::string path = root.path_of("ordered.conf");
  vagent::WatchedFile watch(path);
  EXPECT_TRUE(watch.changed());
  GMainContext *ctx = g_main_context_new();
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  // A request source at the default priority, as the servers' sockets are.
  struct Seen {
    vagent::WatchedFile *watch;
    int answers = 0;
    bool changed = false;
  } seen{&watch};
  GSource *request = g_unix_fd_source_new(fds[0], G_IO_IN);
  g_source_set_callback(request,
                        reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(
                            +[](gint fd, GIOCondition, gpointer data) -> gboolean {
                              char c;
                              EXPECT_EQ(read(fd, &c, 1), 1);
                              auto *s = static_cast<Seen *>(data);
                              ++s->answers;
                              s->changed = s->watch->changed();
                              return G_SOURCE_CONTINUE;
                            })),
                        &seen, nullptr);
  g_source_attach(request, ctx);
  {
    const vagent::WatchFromLoop from_loop(ctx);
    write_in_place(path, "a");
    ASSERT_EQ(write(fds[1], "r", 1), 1);  // the request, sent after the change
    while (seen.answers == 0) g_main_context_iteration(ctx, TRUE);
    EXPECT_TRUE(seen.changed);
  }
  g_source_destroy(request);
  g_source_unref(request);
  close(fds[0]);
  close(fds[1]);
  g_main_context_unref(ctx);
}

class ConfigReads : public AgentTest {};

TEST_F(ConfigReads, FaultsAreReadOnceAndAgainRightAfterAChange) {
  const vagent::FaultsFile &file = state().faults_file();
  for (int i = 0; i < 100; ++i) EXPECT_FALSE(state().faults("RequestAccessToken").any());
  EXPECT_EQ(file.reads(), 1u);
  ASSERT_TRUE(vagent::set_faults(root_.path(), "RequestAccessToken", {{"delay_ms", "5"}}).ok());
  EXPECT_EQ(state().faults("RequestAccessToken").delay_ms, 5);
  EXPECT_EQ(state().faults("getaccesstoken").delay_ms, 0);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(state().faults("RequestAccessToken").delay_ms, 5);
  EXPECT_EQ(file.reads(), 2u);
  ASSERT_TRUE(vagent::clear_faults(root_.path()).ok());
  EXPECT_FALSE(state().faults("RequestAccessToken").any());
  EXPECT_EQ(file.reads(), 3u);
}

TEST_F(ConfigReads, ClockOffsetIsReadOnceAndAgainRightAfterAChange) {
  state().set_clock(nullptr);  // the agent's own clock: wall time plus the root's offset
  const int64_t before = state().now();
  for (int i = 0; i < 100; ++i) (void)state().now();
  EXPECT_EQ(state().clock_offset_file().reads(), 1u);
  ASSERT_TRUE(vagent::set_clock_offset(root_.path(), 7200).ok());
  EXPECT_GE(state().now(), before + 7200);
  for (int i = 0; i < 100; ++i) (void)state().now();
  EXPECT_EQ(state().clock_offset_file().reads(), 2u);
}

TEST(DeviceProfile, IsAskedOncePerRootAndAgainAfterTheDeviceConfigChanged) {
  vtest::PlatformRoot root;
  root.set_profile("tv");
  const uint64_t start = vagent::device_profile_reads();
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(vagent::is_tv_profile());
  EXPECT_EQ(vagent::device_profile_reads(), start + 1);
  root.set_profile("wearable");
  EXPECT_EQ(vagent::device_profile(), vagent::Profile::kWearable);
  EXPECT_EQ(vagent::device_profile_reads(), start + 2);
  {
    vtest::PlatformRoot other;  // another root is asked on its own
    EXPECT_EQ(vagent::device_profile(), vagent::Profile::kMobile);
  }
}
