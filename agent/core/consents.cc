// Velmora agent: terms consents.
#include "consents.hh"

namespace vagent {

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
  if (!(st = users_.set_mcc(u.login_id, u.mcc)).ok()) return st;
  if (!(st = users_.set_tnc(u.login_id, u.tnc)).ok()) return st;
  Result<User> user = users_.find(u.login_id);
  if (!user.ok()) return user.status();
  return MccInfo{user->login_id, user->mcc, user->country_code};
}

Result<int> Consents::get(const std::string &login_id) {
  Result<User> user = users_.find(login_id);
  if (!user.ok()) return user.status();
  return user->tnc;
}

}  // namespace vagent
