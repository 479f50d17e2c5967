// SPDX-License-Identifier: Apache-2.0
// Velmora tests: running a built program of the project and capturing what it says.
#include "run_program.hh"

#include <glib.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vtest {

namespace {

// Makes the child's standard input the file descriptor `data` points to.
void stdin_from(gpointer data) { dup2(*static_cast<int *>(data), STDIN_FILENO); }

ProgramRun spawn(const std::string &exe, const std::vector<std::string> &args,
                 const std::string &hint, int input_fd) {
  std::vector<gchar *> argv{const_cast<gchar *>(exe.c_str())};
  for (const std::string &a : args) argv.push_back(const_cast<gchar *>(a.c_str()));
  argv.push_back(nullptr);
  ProgramRun r;
  gchar *out = nullptr, *err = nullptr;
  gint status = 0;
  GError *error = nullptr;
  const GSpawnFlags flags = input_fd >= 0 ? G_SPAWN_CHILD_INHERITS_STDIN : G_SPAWN_DEFAULT;
  if (!g_spawn_sync(nullptr, argv.data(), nullptr, flags, input_fd >= 0 ? stdin_from : nullptr,
                    &input_fd, &out, &err, &status, &error)) {
    ADD_FAILURE() << "cannot run " << exe << ": " << (error ? error->message : "?") << " (" << hint
                  << ")";
    g_clear_error(&error);
    return r;
  }
  r.out = out ? out : "";
  r.err = err ? err : "";
  g_free(out);
  g_free(err);
  r.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return r;
}

}  // namespace

ProgramRun run_program(const std::string &exe, const std::vector<std::string> &args,
                       const std::string &hint) {
  return spawn(exe, args, hint, -1);
}

ProgramRun run_program_with_input(const std::string &exe, const std::vector<std::string> &args,
                                  const std::string &input, const std::string &hint) {
  gchar *path = nullptr;
  GError *error = nullptr;
  const int fd = g_file_open_tmp("velmora-input-XXXXXX", &path, &error);
  if (fd < 0) {
    ADD_FAILURE() << "cannot make a temporary file: " << (error ? error->message : "?");
    g_clear_error(&error);
    return {};
  }
  unlink(path);
  g_free(path);
  const bool written = write(fd, input.data(), input.size()) == static_cast<ssize_t>(input.size());
  EXPECT_TRUE(written) << "cannot write the program's input";
  lseek(fd, 0, SEEK_SET);
  ProgramRun r = spawn(exe, args, hint, fd);
  close(fd);
  return r;
}

}  // namespace vtest
