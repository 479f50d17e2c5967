// Velmora agent: what each AccountSvc method does with the agent's state.
//
// Synchronous methods answer in their result. Methods with a reply delegate answer in the pushed
// callback: tokens, codes, the MCC, terms consents, the account of a user id and the linking
// status come from the agent core. Places and profiles are not served by this agent: those
// methods answer VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED (0xC0000002, "AGENT_ERROR_NOT_SUPPORTED" in
// `velmora-agent errors`) in their callback, never an empty success.
#include "nidl_methods.hh"

#include <climits>

namespace vagent::nidl {

namespace {

// Request types of CommonAccount.
constexpr int kCommonCurrentMcc = 0;
constexpr int kCommonTncUpdate = 1;
constexpr int kCommonAccountFromGuid = 4;
constexpr int kCommonAccountLinking = 6;

using Setter = int (*)(rpc_port_AccountS_h, const char *);

// Sets a string field when the value is not empty.
void put(const Account &a, Setter set, const std::string &value) {
  if (a && !value.empty()) set(a.get(), value.c_str());
}

int clamp_int(int64_t v) {
  return v > INT_MAX ? INT_MAX : (v < INT_MIN ? INT_MIN : static_cast<int>(v));
}

void put_times(const Account &a, int64_t issue_time, int64_t expires_in) {
  if (!a) return;
  rpc_port_AccountS_set_TokenIssueTime(a.get(), clamp_int(issue_time));
  rpc_port_AccountS_set_TokenExpiresIn(a.get(), clamp_int(expires_in));
  rpc_port_AccountS_set_LongIssueTime(a.get(), issue_time);
  rpc_port_AccountS_set_LongExpiresIn(a.get(), expires_in);
}

// The facts of the account that every account reply carries.
template <typename T>
void put_facts(const Account &a, const T &facts) {
  put(a, rpc_port_AccountS_set_LoginId, facts.login_id);
  put(a, rpc_port_AccountS_set_UserId, facts.user_id);
  put(a, rpc_port_AccountS_set_CountryCode, facts.country_code);
  put(a, rpc_port_AccountS_set_Mcc, facts.mcc);
  put(a, rpc_port_AccountS_set_ApiServerUrl, facts.api_server_url);
  put(a, rpc_port_AccountS_set_AuthServerUrl, facts.auth_server_url);
}

Account grant_account(const TokenGrant &g) {
  Account a = new_account();
  put(a, rpc_port_AccountS_set_AccessToken, g.access_token);
  put(a, rpc_port_AccountS_set_RefreshToken, g.refresh_token);
  put(a, rpc_port_AccountS_set_ClientId, g.client_id);
  put(a, rpc_port_AccountS_set_Scope, g.scope);
  put_facts(a, g);
  put_times(a, g.issue_time, g.expires_in);
  return a;
}

Account code_account(const IssuedCode &c) {
  Account a = new_account();
  put(a, rpc_port_AccountS_set_AuthCode, c.code);
  put(a, rpc_port_AccountS_set_ClientId, c.client_id);
  put(a, rpc_port_AccountS_set_Scope, c.scope);
  put_facts(a, c);
  return a;
}

// A delegate answer: the callback's result and account.
Answer pushed(int result, Account account = nullptr) {
  Answer a;
  a.push_result = result;
  a.push_account = std::move(account);
  return a;
}

// ---- synchronous methods ----

Answer get_default_account(AgentState &state, const NidlRequest &) {
  Answer a;
  Result<std::string> r = state.accounts().default_account();
  if (r.ok())
    a.output.text = r.value();
  else
    a.result = r.code();
  return a;
}

Answer set_default_account(AgentState &state, const NidlRequest &req) {
  Answer a;
  const std::string &login_id = req.strings.at(0);
  if (login_id.empty())
    a.result = errc::kInvalidParameter;
  else
    a.result = state.accounts().set_default(login_id).code;
  return a;
}

// An empty login id asks whether any account is signed in.
Answer is_signed_in(AgentState &state, const NidlRequest &req) {
  Answer a;
  const std::string &login_id = req.strings.at(0);
  Result<bool> r =
      login_id.empty() ? state.accounts().any_signed_in() : state.accounts().is_signed_in(login_id);
  if (r.ok())
    a.output.flag = r.value();
  else
    a.result = r.code();
  return a;
}

Answer get_account_list(AgentState &state, const NidlRequest &) {
  Answer a;
  auto r = state.accounts().list();
  if (!r.ok()) {
    a.result = r.code();
    return a;
  }
  for (const SignedInAccount &acc : r.value()) a.output.list.push_back(acc.login_id);
  return a;
}

Answer get_last_access_token(AgentState &state, const NidlRequest &req) {
  Answer a;
  Result<TokenGrant> r = state.tokens().last(req.field(rpc_port_AccountS_get_LoginId),
                                             req.field(rpc_port_AccountS_get_ClientId));
  if (r.ok())
    a.output.account = grant_account(r.value());
  else
    a.result = r.code();
  return a;
}

// ---- methods with a reply delegate ----

Answer request_access_token(AgentState &state, const NidlRequest &req) {
  TokenRequest t;
  t.login_id = req.field(rpc_port_AccountS_get_LoginId);
  t.client_id = req.field(rpc_port_AccountS_get_ClientId);
  t.client_secret = req.field(rpc_port_AccountS_get_ClientSecret);
  t.expired_access_token = req.field(rpc_port_AccountS_get_LastAccessToken);
  t.scope = req.field(rpc_port_AccountS_get_Scope);
  Result<TokenGrant> r = state.tokens().issue(t);
  return r.ok() ? pushed(errc::kNone, grant_account(r.value())) : pushed(r.code());
}

Answer issue_code(AgentState &state, const NidlRequest &req, CodeKind kind) {
  CodeRequest c;
  c.login_id = req.field(rpc_port_AccountS_get_LoginId);
  c.client_id = req.field(rpc_port_AccountS_get_ClientId);
  c.scope = req.field(rpc_port_AccountS_get_Scope);
  c.device_unique_code = req.field(rpc_port_AccountS_get_DeviceUniqueCode);
  Result<IssuedCode> r = state.codes().issue(kind, c);
  return r.ok() ? pushed(errc::kNone, code_account(r.value())) : pushed(r.code());
}

Answer request_authcode(AgentState &state, const NidlRequest &req) {
  return issue_code(state, req, CodeKind::kAuthCode);
}

Answer request_authcode_effortless(AgentState &state, const NidlRequest &req) {
  return issue_code(state, req, CodeKind::kEffortless);
}

Answer mcc_answer(const Result<MccInfo> &r) {
  if (!r.ok()) return pushed(r.code());
  Account a = new_account();
  put(a, rpc_port_AccountS_set_LoginId, r->login_id);
  put(a, rpc_port_AccountS_set_Mcc, r->mcc);
  put(a, rpc_port_AccountS_set_CountryCode, r->country_code);
  return pushed(errc::kNone, std::move(a));
}

Answer common_account(AgentState &state, const NidlRequest &req) {
  const std::string login_id = req.field(rpc_port_AccountS_get_LoginId);
  switch (req.ints.at(0)) {
    case kCommonCurrentMcc:
      return mcc_answer(state.mcc().current(login_id));
    case kCommonTncUpdate: {
      TncUpdate u;
      u.login_id = login_id;
      u.mcc = req.field(rpc_port_AccountS_get_Mcc);
      u.tnc = req.int_field(rpc_port_AccountS_get_TncStatus);
      Answer a = mcc_answer(state.consents().update(u));
      if (a.push_account) rpc_port_AccountS_set_TncStatus(a.push_account.get(), u.tnc);
      return a;
    }
    case kCommonAccountFromGuid: {
      Result<User> r = state.account_from_user_id(req.field(rpc_port_AccountS_get_UserId));
      if (!r.ok()) return pushed(r.code());
      Account a = new_account();
      put_facts(a, r.value());
      return pushed(errc::kNone, std::move(a));
    }
    case kCommonAccountLinking: {
      // The partner client id travels in the Password field, and so does the answer: "Y" or "N".
      LinkingQuery q;
      q.login_id = login_id;
      q.client_id = req.field(rpc_port_AccountS_get_ClientId);
      q.partner_client_id = req.field(rpc_port_AccountS_get_Password);
      q.access_token = req.field(rpc_port_AccountS_get_AccessToken);
      Result<bool> r = state.linking().status(q);
      if (!r.ok()) return pushed(r.code());
      Account a = new_account();
      put(a, rpc_port_AccountS_set_LoginId, login_id);
      put(a, rpc_port_AccountS_set_Password, r.value() ? "Y" : "N");
      return pushed(errc::kNone, std::move(a));
    }
    default:
      return pushed(errc::kNotSupported);
  }
}

// Places and profiles are not served by this agent.
Answer not_supported(AgentState &, const NidlRequest &) { return pushed(errc::kNotSupported); }

using K = ArgKind;

}  // namespace

const std::vector<Method> &methods() {
  static const std::vector<Method> table = {
      {2, "GetDefaultAccount", {}, OutKind::kString, get_default_account},
      {3, "SetDefaultAccount", {K::kString}, OutKind::kNone, set_default_account},
      {4, "IsSignedIn", {K::kString}, OutKind::kBool, is_signed_in},
      {5, "GetAccountList", {}, OutKind::kStringList, get_account_list},
      {6, "GetLastAccessToken", {K::kAccount}, OutKind::kAccount, get_last_access_token},
      {7, "RequestAccessToken", {K::kAccount, K::kDelegate}, OutKind::kNone, request_access_token},
      {8, "RequestAuthcode", {K::kAccount, K::kDelegate}, OutKind::kNone, request_authcode},
      {9,
       "RequestAuthcodeEffortless",
       {K::kAccount, K::kDelegate},
       OutKind::kNone,
       request_authcode_effortless},
      {10, "RequestPlaceInfo", {K::kAccount, K::kDelegate}, OutKind::kNone, not_supported},
      {11,
       "RequestProfileInfo",
       {K::kAccount, K::kString, K::kDelegate},
       OutKind::kNone,
       not_supported},
      {12,
       "UpdateProfileInfo",
       {K::kAccount, K::kInt, K::kProfile, K::kDelegate},
       OutKind::kNone,
       not_supported},
      {13,
       "UpdatePrivacyInfo",
       {K::kAccount, K::kPrivacy, K::kDelegate},
       OutKind::kNone,
       not_supported},
      {14, "CommonAccount", {K::kAccount, K::kInt, K::kDelegate}, OutKind::kNone, common_account},
      {15,
       "CommonProfile",
       {K::kAccount, K::kInt, K::kString, K::kDelegate},
       OutKind::kNone,
       not_supported},
  };
  return table;
}

const Method *find_method(int id) {
  for (const Method &m : methods())
    if (m.id == id) return &m;
  return nullptr;
}

Answer error_answer(const Method &method, int code) {
  if (method.has_delegate()) return pushed(code);
  Answer a;
  a.result = code;
  return a;
}

}  // namespace vagent::nidl
