// SPDX-License-Identifier: Apache-2.0
// Velmora tests: state and configuration files of a platform root that were cut short or
// corrupted (by a crash, a full disk or another program), read by velmora-platform.
//
// A root with a device configuration, two packages and an account store holding two accounts is
// made once; then each file is replaced, one case at a time, by every kind of damage: cut to 0, 1
// and a few sizes up to its length - 1 bytes, and a fixed set of single-byte flips (seeded, so
// every run plays the same cases). The command that reads the file runs as its own process each
// time: it must end by itself with status 0 or 1 (never a signal), print exactly one JSON object
// with --json, and on failure name the error in it, say what to do, and say on stderr what went
// wrong.
#include <glib.h>
#include <gtest/gtest.h>
#include <json-glib/json-glib.h>
#include <sqlite3.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "account_store.h"
#include "json_view.hh"
#include "platform_root.hh"

namespace {

namespace fs = std::filesystem;
using Bytes = std::string;

std::string tool() { return vtest::PlatformRoot::build_dir() + "/tools/velmora-platform"; }

struct ToolRun {
  int status = -1;  // -1: ended by a signal, or could not run
  std::string out, err;
};

ToolRun run(const std::vector<std::string> &args) {
  std::vector<const char *> argv{tool().c_str()};
  const std::string program = tool();
  argv[0] = program.c_str();
  for (const std::string &a : args) argv.push_back(a.c_str());
  argv.push_back(nullptr);
  ToolRun r;
  gchar *out = nullptr, *err = nullptr;
  gint wait_status = 0;
  if (g_spawn_sync(nullptr, const_cast<gchar **>(argv.data()), nullptr, G_SPAWN_DEFAULT, nullptr,
                   nullptr, &out, &err, &wait_status, nullptr)) {
    r.status = WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : -1;
    r.out = out ? out : "";
    r.err = err ? err : "";
  }
  g_free(out);
  g_free(err);
  return r;
}

bool one_json_object(const std::string &text) {
  JsonParser *parser = json_parser_new();
  const bool ok = json_parser_load_from_data(parser, text.c_str(), (gssize)text.size(), nullptr) &&
                  json_parser_get_root(parser) != nullptr &&
                  JSON_NODE_HOLDS_OBJECT(json_parser_get_root(parser));
  g_object_unref(parser);
  return ok;
}

Bytes read_file(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

void write_file(const std::string &path, const Bytes &bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), (std::streamsize)bytes.size());
}

struct Damage {
  std::string what;
  Bytes bytes;
};

// Cut to 0, 1, 2, 7 bytes, to every power of two below the size and to size - 1; 24 single-byte
// flips at seeded positions.
std::vector<Damage> damages(const Bytes &good) {
  std::vector<Damage> out;
  std::vector<size_t> cuts = {0, 1, 2, 7};
  for (size_t p = 16; p < good.size(); p *= 2) cuts.push_back(p);
  if (good.size() > 1) cuts.push_back(good.size() - 1);
  for (size_t k : cuts)
    if (k < good.size()) out.push_back({"cut to " + std::to_string(k), good.substr(0, k)});
  std::mt19937 rng(20261122);
  for (int i = 0; i < 24 && !good.empty(); ++i) {
    const size_t at = rng() % good.size();
    Bytes b = good;
    b[at] = (char)(b[at] ^ (1 + rng() % 255));
    out.push_back({"byte " + std::to_string(at) + " changed", b});
  }
  return out;
}

class StateCorruption : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(fs::exists(tool())) << tool() << " is not built";
    root_.set_profile("wearable");
    root_.install_agent(5);
    root_.install_package("dev.velmora.example", {{"dev.velmora.example", "ui", "/bin/true"}});
    for (const char *user : {"alice@velmora.dev", "bob@velmora.dev"}) {
      account_h a = nullptr;
      ASSERT_EQ(account_create(&a), ACCOUNT_ERROR_NONE);
      account_set_package_name(a, "dev.velmora.account");
      account_set_user_name(a, user);
      int id = -1;
      ASSERT_EQ(account_insert_to_db(a, &id), ACCOUNT_ERROR_NONE);
      account_destroy(a);
    }
    // Everything into the database file itself, so that the file alone is the store.
    sqlite3 *db = nullptr;
    ASSERT_EQ(sqlite3_open(root_.path_of("store/accounts.db").c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, "PRAGMA wal_checkpoint(TRUNCATE)", nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(db);
  }
  // Damages `file` (below the root) in every way, runs `args` on each and checks the outcome (a
  // failure's message must hold `advice`, what to do);
  // the good file is put back at the end.
  void play(const std::string &file, const std::vector<std::string> &args,
            const std::string &advice) {
    const std::string path = root_.path_of(file);
    const Bytes good = read_file(path);
    ASSERT_FALSE(good.empty()) << path;
    std::vector<std::string> argv = args;
    argv.insert(argv.end(), {"--json", "--root", root_.path()});
    const ToolRun before = run(argv);
    ASSERT_EQ(before.status, 0) << before.err;
    int failed = 0;
    for (const Damage &d : damages(good)) {
      write_file(path, d.bytes);
      fs::remove(path + "-wal");
      fs::remove(path + "-shm");
      const ToolRun r = run(argv);
      SCOPED_TRACE(file + " " + d.what);
      EXPECT_TRUE(r.status == 0 || r.status == 1) << r.status << "\n" << r.err;
      EXPECT_TRUE(one_json_object(r.out))
          << "status " << r.status << " out [" << r.out << "] err [" << r.err << "]";
      if (r.status == 1) {
        ++failed;
        EXPECT_FALSE(r.err.empty());
        // The failure is named (a platform or store code's name, not a number) and explained.
        const vtest::Json json(r.out);
        EXPECT_TRUE(g_str_has_prefix(json.str("error").c_str(), "PLATFORM_ERROR_") ||
                    g_str_has_prefix(json.str("error").c_str(), "ACCOUNT_ERROR_") ||
                    g_str_has_prefix(json.str("error").c_str(), "PACKAGE_MANAGER_ERROR_"))
            << r.out;
        EXPECT_NE(json.str("message").find(advice), std::string::npos)
            << "no hint of what to do: " << r.out;
        EXPECT_EQ(json.integer("exit_status"), 1) << r.out;
        EXPECT_EQ(r.err.find("(error -"), std::string::npos) << r.err;
      }
      if (HasFailure()) break;
    }
    write_file(path, good);
    EXPECT_GT(failed, 0);  // some damage is seen and reported
  }
  vtest::PlatformRoot root_;
};

TEST_F(StateCorruption, AccountStore) {
  play("store/accounts.db", {"accounts"}, "move it aside to start with an empty store");
}

TEST_F(StateCorruption, PackageFile) {
  play("packages/dev.velmora.example.pkg", {"list"}, "install the package again");
}

TEST_F(StateCorruption, DeviceConfiguration) {
  play("device.conf", {"profile"}, "velmora-platform profile mobile|wearable|tv");
}

}  // namespace
