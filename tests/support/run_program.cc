// Velmora tests: running a built program of the project and capturing what it says.
#include "run_program.hh"

#include <glib.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace vtest {

ProgramRun run_program(const std::string &exe, const std::vector<std::string> &args,
                       const std::string &hint) {
  std::vector<gchar *> argv{const_cast<gchar *>(exe.c_str())};
  for (const std::string &a : args) argv.push_back(const_cast<gchar *>(a.c_str()));
  argv.push_back(nullptr);
  ProgramRun r;
  gchar *out = nullptr, *err = nullptr;
  gint status = 0;
  GError *error = nullptr;
  if (!g_spawn_sync(nullptr, argv.data(), nullptr, G_SPAWN_DEFAULT, nullptr, nullptr, &out, &err,
                    &status, &error)) {
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

}  // namespace vtest
