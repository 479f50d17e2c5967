// velmora-agent consents: the terms consents a user gave, each with the time it was last given or
// withdrawn.
#include <cstdio>

#include "cli/cli.hh"

namespace vagent::cli {

int cmd_consents(const Args &args) {
  Options o({{"login-id", true, false}});
  std::string error;
  if (!o.parse(args, &error)) return usage_error(error);
  if (!o.has("login-id") || !o.positional().empty())
    return usage_error("usage: consents --login-id L");
  auto state = open_state();
  if (!state.ok()) return failed(state.status());
  auto records = state.value()->consents().records(o.get("login-id"));
  if (!records.ok()) return failed(records.status());
  for (const ConsentRecord &r : records.value())
    printf("%d\t%s\t%s\tat=%lld\n", r.bit, r.extra_key, r.given ? "given" : "not given",
           static_cast<long long>(r.at));
  return 0;
}

}  // namespace vagent::cli
