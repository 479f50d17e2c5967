// SPDX-License-Identifier: Apache-2.0
// Velmora agent: the fourteen methods of the AccountSvc port, as a table.
//
// Each row names the method (its name is also the fault-injection operation name), the arguments
// its request carries, the outputs its result carries and the function that does the work on the
// agent's state. Methods with a reply delegate are accepted at once (result 0); their answer is the
// pushed callback, whose result and account the function gives.
#pragma once

#include <vector>

#include "agent_state.hh"
#include "port/codec.hh"

namespace vagent::nidl {

// What the agent answers to one request.
struct Answer {
  int result = 0;         // the method's int result (methods with a delegate: always 0)
  Output output;          // the method's outputs
  int push_result = 0;    // the pushed callback's result (methods with a delegate)
  Account push_account;   // the pushed ResponseCb's account (empty record when null)
  PlaceInfo push_places;  // the pushed ResponsePlaceCb's places (empty record when null)
  Profile push_profile;   // the pushed ResponseProfileCb's profile (empty record when null)
};

struct Method {
  int id;
  const char *name;  // "GetDefaultAccount"
  std::vector<ArgKind> args;
  OutKind out;
  Answer (*run)(AgentState &state, const NidlRequest &request);

  bool has_delegate() const { return !args.empty() && args.back() == ArgKind::kDelegate; }
};

// ---- what each method does, one file per area of the library ----
// The rows of methods() name these. A method of a new area goes into port/<area>.cc, its
// app-control operations into app_control/<area>.cc.

// port/queries.cc
Answer get_default_account(AgentState &state, const NidlRequest &request);
Answer set_default_account(AgentState &state, const NidlRequest &request);
// An empty login id asks whether any account is signed in.
Answer is_signed_in(AgentState &state, const NidlRequest &request);
Answer get_account_list(AgentState &state, const NidlRequest &request);

// port/tokens.cc
Answer get_last_access_token(AgentState &state, const NidlRequest &request);
Answer request_access_token(AgentState &state, const NidlRequest &request);
Answer request_authcode(AgentState &state, const NidlRequest &request);
Answer request_authcode_effortless(AgentState &state, const NidlRequest &request);

// port/places.cc
Answer request_place_info(AgentState &state, const NidlRequest &request);

// port/services.cc: the request types of CommonAccount.
Answer common_account(AgentState &state, const NidlRequest &request);

// port/profile.cc
Answer request_profile_info(AgentState &state, const NidlRequest &request);
Answer update_profile_info(AgentState &state, const NidlRequest &request);
Answer update_privacy_info(AgentState &state, const NidlRequest &request);
// The profile operations of CommonProfile: 2 one category, 3 the privacy.
Answer common_profile(AgentState &state, const NidlRequest &request);

// The row of method id `id`, or nullptr.
const Method *find_method(int id);
const std::vector<Method> &methods();

// The answer that carries `code` instead of the method's work (fault injection): empty outputs,
// and for a method with a delegate the code in the pushed callback.
Answer error_answer(const Method &method, int code);

}  // namespace vagent::nidl
