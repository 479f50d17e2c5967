// SPDX-License-Identifier: Apache-2.0
// Velmora agent: terms consents.
#include "consents.hh"

namespace vagent {

namespace {

// A consent given: its row is made, or marked given again (with this time) when it was withdrawn.
const Statement kGive{
    "INSERT INTO consents(login_id, consent, given, given_at) VALUES(?1, ?2, 1, ?3)"
    " ON CONFLICT(login_id, consent) DO UPDATE SET given = 1, given_at = excluded.given_at"
    " WHERE given = 0"};
// A consent withdrawn: only one that was given has a time of withdrawal; one never given has no
// row.
const Statement kWithdraw{
    "UPDATE consents SET given = 0, given_at = ?3 WHERE login_id = ?1 AND consent = ?2 AND given = "
    "1",
    Access::kLookup, "PRIMARY KEY"};
const Statement kOfUser{"SELECT consent, given, given_at FROM consents WHERE login_id = ?1",
                        Access::kLookup, "PRIMARY KEY"};

}  // namespace

const SchemaArea &consents_schema() {
  static const SchemaArea area{
      "consents",
      {
          // 1: looked up by its key only; the consent is its extra-data key ("personalInfo").
          "CREATE TABLE consents("
          "  login_id TEXT NOT NULL REFERENCES users(login_id) ON DELETE CASCADE,"
          "  consent TEXT NOT NULL,"
          "  given INTEGER NOT NULL,"
          "  given_at INTEGER NOT NULL,"
          "  PRIMARY KEY(login_id, consent)) WITHOUT ROWID;",
      },
      {&kGive, &kWithdraw, &kOfUser}};
  return area;
}

const std::vector<TncBitInfo> &tnc_bits() {
  static const std::vector<TncBitInfo> bits = {
      {kTncService, "velmoraService"},
      {kTncPersonalInfo, "personalInfo"},
      {kTncCustomizedService, "customizedservice"},
      {kTncCustomizedServiceAd, "customizedserviceadvertisement"},
  };
  return bits;
}

int tnc_from_extras(const std::function<std::string(const char *key)> &lookup) {
  int tnc = 0;
  for (const TncBitInfo &b : tnc_bits())
    if (lookup(b.extra_key) == "Y") tnc |= b.bit;
  return tnc;
}

Result<MccInfo> Consents::update(const TncUpdate &u) {
  if (u.tnc < 0 || u.tnc > kTncAll)
    return Status::fail(errc::kInvalidParameter, "TNC bits outside 1..15");
  if (!Users::valid_mcc(u.mcc))
    return Status::fail(errc::kInvalidParameter, "MCC must be three digits");
  Status st = accounts_.require_signed_in(u.login_id);
  if (!st.ok()) return st;
  if ((u.tnc & kTncMandatory) != kTncMandatory)
    return Status::fail(errc::kConsentRequired,
                        "TNC " + std::to_string(u.tnc) + " lacks a mandatory consent");
  Transaction tx(db_);
  if (!tx.status().ok()) return tx.status();
  if (!(st = users_.set_mcc(u.login_id, u.mcc)).ok()) return st;
  if (!(st = users_.set_tnc(u.login_id, u.tnc)).ok()) return st;
  const int64_t now = clock_.now();
  for (const TncBitInfo &b : tnc_bits()) {
    Query q(db_, (u.tnc & b.bit) ? kGive : kWithdraw);
    q.bind(1, u.login_id).bind(2, std::string(b.extra_key)).bind(3, now);
    if (!(st = q.run()).ok()) return st;
  }
  if (!(st = tx.commit()).ok()) return st;
  Result<User> user = users_.find(u.login_id);
  if (!user.ok()) return user.status();
  return MccInfo{user->login_id, user->mcc, user->country_code};
}

Result<std::vector<ConsentRecord>> Consents::records(const std::string &login_id) {
  Result<User> user = users_.find(login_id);
  if (!user.ok()) return user.status();
  std::vector<ConsentRecord> out;
  for (const TncBitInfo &b : tnc_bits()) out.push_back({b.bit, b.extra_key, false, 0});
  Query q(db_, kOfUser);
  q.bind(1, login_id);
  Status st;
  while (q.next(&st)) {
    const std::string key = q.text(0);
    for (ConsentRecord &r : out)
      if (key == r.extra_key) {
        r.given = q.integer(1) != 0;
        r.at = q.integer(2);
      }
  }
  if (!st.ok()) return st;
  return out;
}

Result<int> Consents::get(const std::string &login_id) {
  Result<User> user = users_.find(login_id);
  if (!user.ok()) return user.status();
  return user->tnc;
}

}  // namespace vagent
