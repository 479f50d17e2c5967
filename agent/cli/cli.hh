// velmora-agent: what the admin commands share: the command table, option parsing, exit statuses
// and opening the agent's state. Each command lives in its own cli/cmd_<name>.cc.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "agent_state.hh"
#include "errors.hh"

namespace vagent::cli {

inline constexpr const char *kLogTag = "VELMORA_AGENT";
// Exit statuses: 0 done, 1 the command failed, 2 bad usage.
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

using Args = std::vector<std::string>;

// Prints the usage mistake and returns kExitUsage.
int usage_error(const std::string &message);
// Prints the failure and returns kExitFailed.
int failed(const Status &st);
// The agent's state in the current platform root.
Result<std::unique_ptr<AgentState>> open_state();

// Parses "--name value" / "--name=value" options and flags of one command.
class Options {
 public:
  struct OptionDef {
    const char *name;
    bool takes_value;
    bool repeatable;
  };
  explicit Options(std::vector<OptionDef> defs) : defs_(std::move(defs)) {}

  // False with *error for an unknown option or a missing value. Leftover words go to positional().
  bool parse(const Args &args, std::string *error);

  bool has(const std::string &name) const { return values_.count(name) > 0; }
  std::string get(const std::string &name) const {
    auto it = values_.find(name);
    return it == values_.end() ? "" : it->second.front();
  }
  std::vector<std::string> all(const std::string &name) const {
    auto it = values_.find(name);
    return it == values_.end() ? std::vector<std::string>{} : it->second;
  }
  const Args &positional() const { return positional_; }

 private:
  const OptionDef *find(const std::string &name) const;
  std::vector<OptionDef> defs_;
  std::map<std::string, std::vector<std::string>> values_;
  Args positional_;
};

// Prints a registered client; a made secret is printed once, on a line of its own for scripts:
// "client_secret=<secret>".
void print_registered(const std::string &client_id, const std::string &secret);
// A positive token lifetime in seconds (at most ten years).
bool parse_lifetime(const std::string &text, int64_t *out);

struct Command {
  const char *name;
  int (*run)(const Args &args);
  const char *usage;
};

// Every command, in the order help lists them (cli/commands.cc).
const std::vector<Command> &commands();

int cmd_serve(const Args &args);
int cmd_seed_user(const Args &args);
int cmd_register_client(const Args &args);
int cmd_sign_out(const Args &args);
int cmd_link(const Args &args);
int cmd_reset_state(const Args &args);
int cmd_register_partner(const Args &args);
int cmd_consents(const Args &args);
int cmd_places(const Args &args);
int cmd_profile(const Args &args);
int cmd_fault(const Args &args);
int cmd_clock(const Args &args);
int cmd_state(const Args &args);
int cmd_errors(const Args &args);
int cmd_help(const Args &args);

}  // namespace vagent::cli
