// Velmora agent: the entry point. With a command it runs an admin command and exits; without one
// (as the platform launches it) it serves until SIGTERM or SIGINT.
//
//   velmora-agent [--root DIR] seed-user --login-id L --password P [--sign-in] [--default] ...
//   velmora-agent [--root DIR] fault set <operation|*> key=value...
//   velmora-agent [--root DIR] state
//   velmora-agent [--root DIR] [serve]
//
// Exit status: 0 done, 1 the command failed, 2 bad usage.
#include <glib-unix.h>
#include <glib.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "admin.hh"
#include "agent_state.hh"
#include "clock_offset.hh"
#include "dlog.h"
#include "errors.hh"
#include "faults.hh"
#include "idle_exit.hh"
#include "scopes.hh"
#include "servers.hh"
#include "velmora_host.h"

namespace {

constexpr const char *kLogTag = "VELMORA_AGENT";
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

using Args = std::vector<std::string>;

int usage_error(const std::string &message) {
  fprintf(stderr, "velmora-agent: %s\n(see velmora-agent help)\n", message.c_str());
  return kExitUsage;
}

int failed(const vagent::Status &st) {
  fprintf(stderr, "velmora-agent: %s (%d)\n", st.describe().c_str(), st.code);
  return kExitFailed;
}

vagent::Result<std::unique_ptr<vagent::AgentState>> open_state() {
  return vagent::AgentState::open(velmora_host_root());
}

// Parses "--name value" / "--name=value" options and flags of one command.
class Options {
 public:
  struct OptionDef {
    const char *name;
    bool takes_value;
    bool repeatable;
  };
  Options(std::vector<OptionDef> defs) : defs_(std::move(defs)) {}

  // False with *error for an unknown option or a missing value. Leftover words go to positional().
  bool parse(const Args &args, std::string *error) {
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
  const OptionDef *find(const std::string &name) const {
    for (const OptionDef &s : defs_)
      if (name == s.name) return &s;
    return nullptr;
  }
  std::vector<OptionDef> defs_;
  std::map<std::string, std::vector<std::string>> values_;
  Args positional_;
};

bool parse_lifetime(const std::string &text, int64_t *out) {
  char *end = nullptr;
  long long v = strtoll(text.c_str(), &end, 10);
  if (text.empty() || *end || v <= 0 || v > 10LL * 365 * 24 * 3600) return false;
  *out = v;
  return true;
}

// A made secret is printed once, on a line of its own for scripts: "client_secret=<secret>".
void print_registered(const std::string &client_id, const std::string &secret) {
  printf("registered client %s\n", client_id.c_str());
  if (!secret.empty()) printf("client_secret=%s\n", secret.c_str());
}

int cmd_seed_user(const Args &args) {
  Options o({{"login-id", true, false},
             {"password", true, false},
             {"user-id", true, false},
             {"country-code", true, false},
             {"mcc", true, false},
             {"api-server-url", true, false},
             {"auth-server-url", true, false},
             {"sign-in", false, false},
             {"default", false, false},
             {"client-id", true, false},
             {"with-secret", false, false},
             {"scope", true, true},
             {"token-lifetime", true, false}});
  std::string error;
  if (!o.parse(args, &error)) return usage_error(error);
  if (!o.positional().empty()) return usage_error("unexpected word '" + o.positional()[0] + "'");
  if (!o.has("login-id") || !o.has("password"))
    return usage_error("seed-user needs --login-id and --password");
  if ((o.has("with-secret") || o.has("scope") || o.has("token-lifetime")) && !o.has("client-id"))
    return usage_error("--with-secret, --scope and --token-lifetime need --client-id");

  vagent::SeedUserOptions seed;
  seed.user.login_id = o.get("login-id");
  seed.user.password = o.get("password");
  seed.user.user_id = o.get("user-id");
  seed.user.country_code = o.get("country-code");
  seed.user.mcc = o.get("mcc");
  seed.user.api_server_url = o.get("api-server-url");
  seed.user.auth_server_url = o.get("auth-server-url");
  seed.sign_in = o.has("sign-in");
  seed.make_default = o.has("default");
  if (o.has("client-id")) {
    vagent::NewClient client;
    client.client_id = o.get("client-id");
    client.with_secret = o.has("with-secret");
    for (const std::string &s : o.all("scope"))
      for (const std::string &one : vagent::parse_scopes(s)) client.scopes.push_back(one);
    if (o.has("token-lifetime") && !parse_lifetime(o.get("token-lifetime"), &client.token_lifetime))
      return usage_error("--token-lifetime must be a positive number of seconds");
    seed.client = client;
  }

  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  auto result = vagent::seed_user(*state.value(), seed);
  if (!result.ok()) return failed(result.status());
  printf("seeded %s user_id=%s%s%s\n", result->user.login_id.c_str(), result->user.user_id.c_str(),
         result->signed_in ? " signed-in" : "", result->is_default ? " default" : "");
  if (seed.client) print_registered(seed.client->client_id, result->client_secret);
  return 0;
}

int cmd_register_client(const Args &args) {
  Options o({{"client-id", true, false},
             {"with-secret", false, false},
             {"scope", true, true},
             {"token-lifetime", true, false}});
  std::string error;
  if (!o.parse(args, &error)) return usage_error(error);
  if (!o.positional().empty()) return usage_error("unexpected word '" + o.positional()[0] + "'");
  if (!o.has("client-id")) return usage_error("register-client needs --client-id");
  vagent::NewClient client;
  client.client_id = o.get("client-id");
  client.with_secret = o.has("with-secret");
  for (const std::string &s : o.all("scope"))
    for (const std::string &one : vagent::parse_scopes(s)) client.scopes.push_back(one);
  if (o.has("token-lifetime") && !parse_lifetime(o.get("token-lifetime"), &client.token_lifetime))
    return usage_error("--token-lifetime must be a positive number of seconds");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  auto secret = state.value()->clients().register_client(client);
  if (!secret.ok()) return failed(secret.status());
  print_registered(client.client_id, secret.value());
  return 0;
}

int cmd_sign_out(const Args &args) {
  Options o({{"login-id", true, false}});
  std::string error;
  if (!o.parse(args, &error)) return usage_error(error);
  if (!o.has("login-id") || !o.positional().empty())
    return usage_error("usage: sign-out --login-id L");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  vagent::Status st = state.value()->accounts().sign_out(o.get("login-id"));
  if (!st.ok()) return failed(st);
  printf("signed out %s\n", o.get("login-id").c_str());
  return 0;
}

int cmd_link(const Args &args) {
  Options o(
      {{"login-id", true, false}, {"partner-client-id", true, false}, {"unlink", false, false}});
  std::string error;
  if (!o.parse(args, &error)) return usage_error(error);
  if (!o.has("login-id") || !o.has("partner-client-id") || !o.positional().empty())
    return usage_error("usage: link --login-id L --partner-client-id P [--unlink]");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  vagent::Status st =
      state.value()->linking().set(o.get("login-id"), o.get("partner-client-id"), !o.has("unlink"));
  if (!st.ok()) return failed(st);
  printf("%s %s with %s\n", o.has("unlink") ? "unlinked" : "linked", o.get("login-id").c_str(),
         o.get("partner-client-id").c_str());
  return 0;
}

int cmd_fault(const Args &args) {
  const std::string root = velmora_host_root();
  if (args.empty()) return usage_error("usage: fault set|clear|list|keys ...");
  const std::string &verb = args[0];
  if (verb == "set") {
    if (args.size() < 3) return usage_error("usage: fault set <operation|*> key=value...");
    std::vector<std::pair<std::string, std::string>> settings;
    for (size_t i = 2; i < args.size(); ++i) {
      std::pair<std::string, std::string> kv;
      if (!vagent::split_setting(args[i], &kv))
        return usage_error("'" + args[i] + "' is not key=value");
      settings.push_back(kv);
    }
    vagent::Status st = vagent::set_faults(root, args[1], settings);
    if (st.code == vagent::errc::kUnknownFaultKey || st.code == vagent::errc::kInvalidParameter) {
      std::string keys;
      for (const std::string &k : vagent::fault_keys()) keys += " " + k;
      fprintf(stderr, "velmora-agent: %s\nfault keys:%s\n", st.message.c_str(), keys.c_str());
      return kExitUsage;
    }
    if (!st.ok()) return failed(st);
    return 0;
  }
  if (verb == "clear") {
    if (args.size() > 2) return usage_error("usage: fault clear [operation|*]");
    vagent::Status st =
        args.size() == 2 ? vagent::clear_faults(root, args[1]) : vagent::clear_faults(root);
    if (st.code == vagent::errc::kInvalidParameter) return usage_error(st.message);
    if (!st.ok()) return failed(st);
    return 0;
  }
  if (verb == "keys") {
    if (args.size() != 1) return usage_error("usage: fault keys");
    for (const std::string &k : vagent::fault_keys()) printf("%s\n", k.c_str());
    return 0;
  }
  if (verb == "list") {
    if (args.size() != 1) return usage_error("usage: fault list");
    for (const auto &f : vagent::list_faults(root))
      printf("[%s] %s\n", f.first.c_str(), f.second.describe().c_str());
    return 0;
  }
  return usage_error("unknown fault command '" + verb + "'");
}

bool parse_seconds(const std::string &text, int64_t *out) {
  char *end = nullptr;
  errno = 0;
  long long v = strtoll(text.c_str(), &end, 10);
  if (text.empty() || errno || *end) return false;
  *out = v;
  return true;
}

int cmd_clock(const Args &args) {
  const std::string root = velmora_host_root();
  if (args.size() == 1 && args[0] == "show") {
    printf("offset_s=%lld\n", static_cast<long long>(vagent::clock_offset(root)));
    return 0;
  }
  if (args.size() == 1 && args[0] == "reset") {
    vagent::Status st = vagent::set_clock_offset(root, 0);
    return st.ok() ? 0 : failed(st);
  }
  if (args.size() == 2 && (args[0] == "advance" || args[0] == "set-offset")) {
    int64_t seconds = 0;
    if (!parse_seconds(args[1], &seconds)) return usage_error("'" + args[1] + "' is not seconds");
    if (args[0] == "advance") seconds += vagent::clock_offset(root);
    vagent::Status st = vagent::set_clock_offset(root, seconds);
    if (st.code == vagent::errc::kInvalidParameter) return usage_error(st.message);
    if (!st.ok()) return failed(st);
    printf("offset_s=%lld\n", static_cast<long long>(seconds));
    return 0;
  }
  return usage_error("usage: clock show|reset|advance SECONDS|set-offset SECONDS");
}

int cmd_state(const Args &args) {
  if (!args.empty()) return usage_error("state takes no arguments");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  fputs(vagent::render_state(*state.value()).c_str(), stdout);
  return 0;
}

int cmd_errors(const Args &args) {
  if (!args.empty()) return usage_error("errors takes no arguments");
  for (const vagent::ErrorInfo &e : vagent::error_table())
    printf("%11d  0x%08X  %-34s %s\n", e.code, static_cast<unsigned>(e.code), e.name, e.meaning);
  return 0;
}

gboolean on_quit_signal(gpointer loop) {
  dlog_print(DLOG_INFO, kLogTag, "agent: signal received, quitting");
  g_main_loop_quit(static_cast<GMainLoop *>(loop));
  return G_SOURCE_CONTINUE;
}

int cmd_serve(const Args &args) {
  if (!args.empty()) return usage_error("serve takes no arguments");
  const char *app_id = getenv("VELMORA_APP_ID");
  auto state = open_state();
  if (!state.ok()) {
    dlog_print(DLOG_ERROR, kLogTag, "agent: cannot open its state: %s",
               state.status().describe().c_str());
    return failed(state.status());
  }
  GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
  guint term = g_unix_signal_add(SIGTERM, on_quit_signal, loop);
  guint intr = g_unix_signal_add(SIGINT, on_quit_signal, loop);
  // A client that goes away mid-write must not kill the agent.
  signal(SIGPIPE, SIG_IGN);

  vagent::ServerContext context{*state.value(), loop};
  size_t started = 0;
  int status = 0;
  for (const vagent::Server &server : vagent::servers()) {
    std::string error;
    if (!server.start(context, &error)) {
      dlog_print(DLOG_ERROR, kLogTag, "agent: server %s did not start: %s", server.name,
                 error.c_str());
      fprintf(stderr, "velmora-agent: server %s did not start: %s\n", server.name, error.c_str());
      status = kExitFailed;
      break;
    }
    ++started;
  }
  if (status == 0) {
    dlog_print(DLOG_INFO, kLogTag, "agent: serving as %s under %s", app_id ? app_id : "(no app id)",
               state.value()->root().c_str());
    // Only an agent launched by the platform exits when idle; one started by hand serves on.
    if (app_id) vagent::idle_exit_start(loop);
    g_main_loop_run(loop);
    vagent::idle_exit_stop();
  }
  while (started > 0) vagent::servers()[--started].stop();
  g_source_remove(term);
  g_source_remove(intr);
  g_main_loop_unref(loop);
  dlog_print(DLOG_INFO, kLogTag, "agent: stopped");
  return status;
}

int cmd_help(const Args &);

struct Command {
  const char *name;
  int (*run)(const Args &args);
  const char *usage;
};

const std::vector<Command> &commands() {
  static const std::vector<Command> table = {
      {"serve", cmd_serve, "serve                      serve until SIGTERM/SIGINT (the default)"},
      {"seed-user", cmd_seed_user,
       "seed-user --login-id L --password P [--user-id G] [--country-code CC] [--mcc MCC]\n"
       "          [--api-server-url U] [--auth-server-url U] [--sign-in] [--default]\n"
       "          [--client-id C [--with-secret] [--scope SCOPE]... [--token-lifetime SEC]]\n"
       "          --with-secret: the agent makes the client's secret and prints it, once"},
      {"register-client", cmd_register_client,
       "register-client --client-id C [--with-secret] [--scope SCOPE]... [--token-lifetime SEC]"},
      {"sign-out", cmd_sign_out, "sign-out --login-id L"},
      {"link", cmd_link, "link --login-id L --partner-client-id P [--unlink]"},
      {"fault", cmd_fault,
       "fault set <operation|*> key=value...\n"
       "fault clear [operation|*]\n"
       "fault list                 the faults set\n"
       "fault keys                 the keys fault set knows"},
      {"clock", cmd_clock,
       "clock show|reset|advance SECONDS|set-offset SECONDS   move the agent's time (tests)"},
      {"state", cmd_state,
       "state                      show users, clients, accounts, store, faults"},
      {"errors", cmd_errors, "errors                     list the agent's error codes"},
      {"help", cmd_help, "help"},
  };
  return table;
}

int cmd_help(const Args &) {
  printf(
      "usage: velmora-agent [--root DIR] [command] ...\n"
      "The platform root is --root, else VELMORA_PLATFORM_ROOT.\ncommands:\n");
  for (const Command &c : commands()) {
    std::string usage = c.usage;
    for (size_t at = usage.find('\n'); at != std::string::npos; at = usage.find('\n', at + 3))
      usage.replace(at, 1, "\n  ");
    printf("  %s\n", usage.c_str());
  }
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  Args args;
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    if (a == "--root" || a.rfind("--root=", 0) == 0) {
      std::string dir;
      if (a == "--root") {
        if (i + 1 >= argc) return usage_error("--root needs a directory");
        dir = argv[++i];
      } else {
        dir = a.substr(7);
      }
      if (dir.empty()) return usage_error("--root needs a directory");
      setenv("VELMORA_PLATFORM_ROOT", dir.c_str(), 1);
      continue;
    }
    args.push_back(a);
  }
  if (args.empty()) return cmd_serve(args);
  if (args[0] == "--help" || args[0] == "-h") return cmd_help({});
  for (const Command &c : commands())
    if (args[0] == c.name) return c.run(Args(args.begin() + 1, args.end()));
  return usage_error("unknown command '" + args[0] + "'");
}
