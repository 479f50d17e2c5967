// SPDX-License-Identifier: Apache-2.0
// Velmora agent: account linking.
#include "linking.hh"

namespace vagent {

namespace {

const Statement kStatus{"SELECT linked FROM linking WHERE login_id = ?1 AND partner_client_id = ?2",
                        Access::kLookup, "PRIMARY KEY"};
const Statement kSet{
    "INSERT OR REPLACE INTO linking(login_id, partner_client_id, linked) VALUES(?1, ?2, ?3)"};
const Statement kIsPartner{"SELECT 1 FROM partners WHERE client_id = ?1", Access::kLookup,
                           "PRIMARY KEY"};
const Statement kAddPartner{
    "INSERT OR REPLACE INTO partners(client_id, name, registered_at) VALUES(?1, ?2, ?3)"};
// The handful of partners, for the admin command.
const Statement kPartners{"SELECT client_id, name, registered_at FROM partners ORDER BY client_id",
                          Access::kListing};

}  // namespace

const SchemaArea &linking_schema() {
  static const SchemaArea area{
      "linking",
      {
          // 1
          "CREATE TABLE linking("
          "  login_id TEXT NOT NULL,"
          "  partner_client_id TEXT NOT NULL,"
          "  linked INTEGER NOT NULL,"
          "  PRIMARY KEY(login_id, partner_client_id));",
          // 2: looked up by its key only.
          "CREATE TABLE linking_v2("
          "  login_id TEXT NOT NULL,"
          "  partner_client_id TEXT NOT NULL,"
          "  linked INTEGER NOT NULL,"
          "  PRIMARY KEY(login_id, partner_client_id)) WITHOUT ROWID;"
          "INSERT INTO linking_v2 SELECT login_id, partner_client_id, linked FROM linking;"
          "DROP TABLE linking;"
          "ALTER TABLE linking_v2 RENAME TO linking;",
          // 3: the partner services an account can be linked with: registered clients marked as
          // partners (a client registered again stays a partner).
          "CREATE TABLE partners("
          "  client_id TEXT NOT NULL PRIMARY KEY,"
          "  name TEXT NOT NULL,"
          "  registered_at INTEGER NOT NULL) WITHOUT ROWID;",
      },
      {&kStatus, &kSet, &kIsPartner, &kAddPartner, &kPartners}};
  return area;
}

Result<bool> Linking::status(const LinkingQuery &q) {
  if (q.login_id.empty() || q.client_id.empty() || q.partner_client_id.empty() ||
      q.access_token.empty())
    return Status::fail(errc::kInvalidParameter,
                        "login id, client id, partner client id and access token are required");
  Status st = accounts_.require_signed_in(q.login_id);
  if (!st.ok()) return st;
  Result<Client> client = clients_.find(q.client_id);
  if (!client.ok()) return client.status();
  if (!(st = require_partner(q.partner_client_id)).ok()) return st;
  Result<TokenInfo> token = tokens_.validate(q.access_token);
  if (!token.ok()) return token.status();
  if (token->login_id != q.login_id || token->client_id != q.client_id)
    return Status::fail(errc::kUnknownToken, "access token belongs to another account or client");
  Query sel(db_, kStatus);
  sel.bind(1, q.login_id).bind(2, q.partner_client_id);
  bool linked = sel.next(&st) && sel.integer(0) != 0;
  if (!st.ok()) return st;
  return linked;
}

Status Linking::set(const std::string &login_id, const std::string &partner_client_id,
                    bool linked) {
  Status st = accounts_.require_signed_in(login_id);
  if (!st.ok() && st.code != errc::kNeedSignIn) return st;  // a known user is enough
  if (!(st = require_partner(partner_client_id)).ok()) return st;
  Query q(db_, kSet);
  q.bind(1, login_id).bind(2, partner_client_id).bind(3, static_cast<int64_t>(linked ? 1 : 0));
  return q.run();
}

Status Linking::require_partner(const std::string &client_id) {
  Query q(db_, kIsPartner);
  q.bind(1, client_id);
  Status st;
  if (q.next(&st)) return Status::success();
  if (!st.ok()) return st;
  return Status::fail(errc::kUnknownClient, "no partner client " + client_id);
}

Status Linking::register_partner(const std::string &client_id, const std::string &name) {
  Result<Client> client = clients_.find(client_id);
  if (!client.ok()) return client.status();
  Query q(db_, kAddPartner);
  q.bind(1, client_id).bind(2, name.empty() ? client_id : name).bind(3, clock_.now());
  return q.run();
}

Result<std::vector<Partner>> Linking::partners() {
  Query q(db_, kPartners);
  std::vector<Partner> out;
  Status st;
  while (q.next(&st)) out.push_back({q.text(0), q.text(1), q.integer(2)});
  if (!st.ok()) return st;
  return out;
}

}  // namespace vagent
