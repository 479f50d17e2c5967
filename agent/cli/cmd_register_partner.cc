// velmora-agent register-partner: marks a registered client as a partner service that accounts
// can be linked with (link), or lists the partners.
#include <cstdio>

#include "cli/cli.hh"

namespace vagent::cli {

int cmd_register_partner(const Args &args) {
  Options o({{"client-id", true, false}, {"name", true, false}, {"list", false, false}});
  std::string error;
  if (!o.parse(args, &error)) return usage_error(error);
  if (!o.positional().empty() || o.has("list") == o.has("client-id"))
    return usage_error(
        "usage: register-partner --client-id P [--name N] | register-partner --list");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  Linking &linking = state.value()->linking();
  if (o.has("list")) {
    auto partners = linking.partners();
    if (!partners.ok()) return failed(partners.status());
    if (partners->empty()) printf("no partner clients\n");
    for (const Partner &p : partners.value())
      printf("%s\t%s\tregistered_at=%lld\n", p.client_id.c_str(), p.name.c_str(),
             static_cast<long long>(p.registered_at));
    return 0;
  }
  Status st = linking.register_partner(o.get("client-id"), o.get("name"));
  if (!st.ok()) return failed(st);
  printf("partner %s registered\n", o.get("client-id").c_str());
  return 0;
}

}  // namespace vagent::cli
