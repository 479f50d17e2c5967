// velmora-agent: the helpers every admin command uses.
#include <cstdio>
#include <cstdlib>

#include "cli/cli.hh"
#include "velmora_host.h"

namespace vagent::cli {

int usage_error(const std::string &message) {
  fprintf(stderr, "velmora-agent: %s\n(see velmora-agent help)\n", message.c_str());
  return kExitUsage;
}

int failed(const Status &st) {
  fprintf(stderr, "velmora-agent: %s (%d)\n", st.describe().c_str(), st.code);
  return kExitFailed;
}

Result<std::unique_ptr<AgentState>> open_state() { return AgentState::open(velmora_host_root()); }

bool Options::parse(const Args &args, std::string *error) {
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string &a = args[i];
    if (a.rfind("--", 0) != 0) {
      positional_.push_back(a);
      continue;
    }
    std::string name = a.substr(2), value;
    bool has_value = false;
    if (size_t eq = name.find('='); eq != std::string::npos) {
      value = name.substr(eq + 1);
      name = name.substr(0, eq);
      has_value = true;
    }
    const OptionDef *def = find(name);
    if (!def) {
      *error = "unknown option --" + name;
      return false;
    }
    if (def->takes_value && !has_value) {
      if (i + 1 >= args.size()) {
        *error = "--" + name + " needs a value";
        return false;
      }
      value = args[++i];
    } else if (!def->takes_value && has_value) {
      *error = "--" + name + " takes no value";
      return false;
    }
    auto &list = values_[name];
    if (!list.empty() && !def->repeatable) {
      *error = "--" + name + " given twice";
      return false;
    }
    list.push_back(value);
  }
  return true;
}

const Options::OptionDef *Options::find(const std::string &name) const {
  for (const OptionDef &s : defs_)
    if (name == s.name) return &s;
  return nullptr;
}

bool parse_lifetime(const std::string &text, int64_t *out) {
  char *end = nullptr;
  long long v = strtoll(text.c_str(), &end, 10);
  if (text.empty() || *end || v <= 0 || v > 10LL * 365 * 24 * 3600) return false;
  *out = v;
  return true;
}

void print_registered(const std::string &client_id, const std::string &secret) {
  printf("registered client %s\n", client_id.c_str());
  if (!secret.empty()) printf("client_secret=%s\n", secret.c_str());
}

}  // namespace vagent::cli
