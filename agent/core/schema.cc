// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the table of every area's part of the state database (schema.hh).
#include "schema.hh"

#include "accounts.hh"
#include "clients.hh"
#include "codes.hh"
#include "consents.hh"
#include "identity.hh"
#include "linking.hh"
#include "places.hh"
#include "profiles.hh"
#include "second_factor.hh"
#include "sign_in_guard.hh"
#include "tokens.hh"
#include "users.hh"

namespace vagent {

const std::vector<const SchemaArea *> &schema_areas() {
  // One row per area; an area comes after the areas whose tables it refers to.
  static const std::vector<const SchemaArea *> table = {
      &identity_schema(),       // the state's instance id and hash key
      &users_schema(),          // users and their password hashes
      &clients_schema(),        // registered clients and their secrets' digests
      &accounts_schema(),       // signed-in accounts and the default one
      &tokens_schema(),         // access and refresh tokens
      &codes_schema(),          // authorization and effortless-login codes
      &linking_schema(),        // partner clients and account linking with them
      &consents_schema(),       // terms consents with the time each was given
      &places_schema(),         // saved places of each user
      &profiles_schema(),       // users' profiles and the applications subscribed to their changes
      &sign_in_guard_schema(),  // wrong passwords per login id and its lock-out
      &second_factor_schema(),  // second factors: enrolment, SMS numbers, trusted devices
  };
  return table;
}

}  // namespace vagent
