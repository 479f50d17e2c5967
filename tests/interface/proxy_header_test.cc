// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the committed include/account_svc_proxy.h is what the generator writes from the
// records table today.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "platform_root.hh"
#include "run_program.hh"

namespace {

std::string read_file(const std::string &path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// The first line where a and b differ, as "line N: committed <a> / generated <b>".
std::string first_difference(const std::string &a, const std::string &b) {
  std::istringstream sa(a), sb(b);
  std::string la, lb;
  for (int n = 1;; ++n) {
    const bool more_a = static_cast<bool>(std::getline(sa, la));
    const bool more_b = static_cast<bool>(std::getline(sb, lb));
    if (!more_a && !more_b) return "no difference";
    if (!more_a || !more_b || la != lb)
      return "line " + std::to_string(n) + ":\n  committed: " + (more_a ? la : "<end>") +
             "\n  generated: " + (more_b ? lb : "<end>");
  }
}

TEST(ProxyHeader, TheCommittedHeaderIsTheGeneratedOne) {
  const std::string source = VELMORA_SOURCE_DIR;
  const std::string generator = vtest::PlatformRoot::build_dir() + "/src/velmora_gen_proxy_header";
  ASSERT_TRUE(std::filesystem::exists(generator)) << generator << " is not built";
  const std::string out = ::testing::TempDir() + "/account_svc_proxy.h";
  std::filesystem::remove(out);
  const vtest::ProgramRun run =
      vtest::run_program(generator, {source + "/src/rpc/proxy_header/account_svc_proxy.h.in", out},
                         "build the target velmora_gen_proxy_header");
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const std::string generated = read_file(out);
  ASSERT_NE(generated.find("VELMORA_API int rpc_port_NameS_set_GivenName(rpc_port_NameS_h h, "
                           "const char *value);\n"),
            std::string::npos)
      << "the generator did not write out the record functions";
  const std::string committed = read_file(source + "/include/account_svc_proxy.h");
  EXPECT_TRUE(committed == generated)
      << "include/account_svc_proxy.h differs from what the records table gives; run `cmake "
         "--build <build dir> --target proxy-header` and commit the result. First difference at "
      << first_difference(committed, generated);
  std::filesystem::remove(out);
}

TEST(ProxyHeader, TheTableMacrosStayInsideTheLibrary) {
  const std::string committed =
      read_file(std::string(VELMORA_SOURCE_DIR) + "/include/account_svc_proxy.h");
  ASSERT_FALSE(committed.empty());
  EXPECT_EQ(committed.find("RPC_PORT_RECORDS"), std::string::npos);
  EXPECT_EQ(committed.find("#include \"account_svc_records"), std::string::npos);
  EXPECT_EQ(committed.find("#define"), committed.find("#define VELMORA_ACCOUNT_SVC_PROXY_H"))
      << "the header defines a macro besides its guard";
  EXPECT_EQ(committed.find("#undef"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(std::string(VELMORA_SOURCE_DIR) +
                                       "/include/account_svc_records.def.h"));
}

}  // namespace
