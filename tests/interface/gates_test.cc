// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the gates table. One row per public velmora_account_* function says what it
// answers when the agent is not installed, when the agent is below the API level the function
// needs, on a TV, on a wearable, and when it is given a handle of the other transport.
//
// Every cell runs as its own test, and so in its own process and platform root: the library probes
// the agent and the device profile once per process. A cell whose answer is NONE for an
// asynchronous function also waits until the answer arrives, so that the call really went out.
// When an area lands, its functions leave tests/interface/pending_functions.txt and get their rows
// here (EveryExportedFunctionHasARow fails until they do).
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "agent.hh"
#include "library_symbols.hh"
#include "main_loop.hh"
#include "platform_root.hh"
#include "velmora_account.h"
#include "velmora_account_companion.h"
#include "velmora_account_error.h"
#include "velmora_account_place.h"
#include "velmora_account_profile.h"
#include "velmora_account_version.h"

namespace {

enum class When { kNoAgent, kBelowLevel, kTv, kWearable, kOtherTransport };

const char *when_name(When w) {
  switch (w) {
    case When::kNoAgent:
      return "NoAgent";
    case When::kBelowLevel:
      return "BelowLevel";
    case When::kTv:
      return "Tv";
    case When::kWearable:
      return "Wearable";
    case When::kOtherTransport:
      return "OtherTransport";
  }
  return "?";
}

// Which handle a function takes: none, one from velmora_account_create (requests go over app
// control), one from velmora_account_connect (over the port), or either.
enum class Takes { kNothing, kAppControl, kPort, kEither };

// What an asynchronous call's callback received.
struct Answer {
  int calls = 0;
  int result = 0;
  static void on_response(int result, velmora_account_h account, void *self) {
    auto *a = static_cast<Answer *>(self);
    ++a->calls;
    a->result = result;
    if (account) velmora_account_destroy(account);
  }
  static void on_signed_in(int result, velmora_account_h account, bool, void *self) {
    on_response(result, account, self);
  }
  static void on_list(int result, velmora_account_h account, char **, int, void *self) {
    on_response(result, account, self);
  }
  static void on_companion(int result, velmora_account_h account,
                           velmora_account_companion_h companion, void *self) {
    if (companion) velmora_account_companion_destroy(companion);
    on_response(result, account, self);
  }
  static void on_places(int result, velmora_account_h account, velmora_account_place_list_h list,
                        void *self) {
    if (list) velmora_account_place_list_destroy(list);
    on_response(result, account, self);
  }
  static void on_profile_list(int result, velmora_account_profile_list_h list, void *self) {
    if (list) velmora_account_profile_list_destroy(list);
    on_response(result, nullptr, self);
  }
  static void on_connection(int result, int state, void *self) {
    auto *a = static_cast<Answer *>(self);
    ++a->calls;
    a->result = result;
  }
};

// The state a cell's call works on. A call that releases the handle it was given clears `handle`.
struct Call {
  velmora_account_h handle = nullptr;
  Answer answer;
  bool async = false;  // the call answers later through `answer`
};

struct Row {
  const char *function;
  Takes takes;
  int level;  // the agent's API level it needs; 0: none
  int (*call)(Call &);
  // The answer under each condition; nullopt where the condition does not apply (no level, no
  // handle, a function that takes either transport).
  std::optional<int> no_agent, below_level, tv, wearable, other_transport;
};

constexpr const char *kLogin = "gate@velmora.dev";
constexpr const char *kClient = "gate.client";

constexpr int kNone = VELMORA_ACCOUNT_ERROR_NONE;
constexpr int kNotSupported = VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED;
constexpr int kLower = VELMORA_ACCOUNT_ERROR_LOWER_VERSION;
constexpr int kNoData = VELMORA_ACCOUNT_ERROR_NO_DATA;
constexpr std::nullopt_t kNa = std::nullopt;
// The agent's own answer "no token was handed out yet" (AGENT_ERROR_NO_TOKEN): the call got past
// every gate and reached the agent.
constexpr int kAgentNoToken = static_cast<int>(0xC100000EU);

int response_call(Call &c, int (*fn)(velmora_account_h, velmora_account_response_cb, void *)) {
  c.async = true;
  return fn(c.handle, Answer::on_response, &c.answer);
}

// The companion, place and profile records a call works on: made by the family's own create (NULL
// when that is refused: the function under test then answers with its own gates, which come before
// its NULL checks), handed to `use`, released afterwards.
template <typename H>
struct Made {
  int (*create)(H *);
  int (*destroy)(H);
  // The create's own answer (the record released).
  int create_answer() const {
    H h = nullptr;
    const int r = create(&h);
    if (h) destroy(h);
    return r;
  }
  // The destroy's own answer, on a record just made.
  int destroy_answer() const {
    H h = nullptr;
    create(&h);
    return destroy(h);
  }
  template <typename F>
  int operator()(F use) const {
    H h = nullptr;
    create(&h);
    const int r = use(h);
    if (h) destroy(h);
    return r;
  }
};
constexpr Made<velmora_account_companion_h> with_companion{velmora_account_companion_create,
                                                           velmora_account_companion_destroy};
constexpr Made<velmora_account_place_h> with_place{velmora_account_place_create,
                                                   velmora_account_place_destroy};
constexpr Made<velmora_account_place_list_h> with_place_list{velmora_account_place_list_create,
                                                             velmora_account_place_list_destroy};
constexpr Made<velmora_account_profile_list_h> with_profile_list{
    velmora_account_profile_list_create, velmora_account_profile_list_destroy};

int make_nickname(velmora_account_profile_h *h) {
  return velmora_account_profile_create(VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME, h);
}
int make_name(velmora_account_profile_h *h) {
  return velmora_account_profile_create(VELMORA_ACCOUNT_PROFILE_CATEGORY_NAME, h);
}
constexpr Made<velmora_account_profile_h> with_nickname{make_nickname,
                                                        velmora_account_profile_destroy};
constexpr Made<velmora_account_profile_h> with_name{make_name, velmora_account_profile_destroy};

// A profile list holding one nickname with privacy 1: what an update sends.
int with_nickname_list(Call &c, int (*send)(velmora_account_h, velmora_account_profile_list_h,
                                            velmora_account_response_cb, void *)) {
  return with_profile_list([&](velmora_account_profile_list_h list) {
    with_nickname([&](velmora_account_profile_h p) {
      velmora_account_profile_set_item_str(p, VELMORA_ACCOUNT_PROFILE_ITEM_NICKNAME_VALUE, "Gate");
      velmora_account_profile_set_privacy(p, VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME, 1);
      return velmora_account_profile_list_append(list, p);
    });
    c.async = true;
    return send(c.handle, list, Answer::on_response, &c.answer);
  });
}

// clang-format off
const Row kRows[] = {
    // function, takes, level, call,
    //   no agent, below level, TV, wearable, other transport
    {"velmora_account_create", Takes::kNothing, 0,
     [](Call &) {
       velmora_account_h h = nullptr;
       const int r = velmora_account_create(&h);
       if (h) velmora_account_destroy(h);
       return r;
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_destroy", Takes::kAppControl, 0,
     [](Call &c) {
       const int r = velmora_account_destroy(c.handle);
       if (r == kNone) c.handle = nullptr;
       return r;
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_get_property_str", Takes::kEither, 0,
     [](Call &c) {
       char *v = nullptr;
       const int r = velmora_account_get_property_str(c.handle, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, &v);
       free(v);
       return r;
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_set_property_str", Takes::kEither, 0,
     [](Call &c) { return velmora_account_set_property_str(c.handle, VELMORA_ACCOUNT_PROPERTY_MCC, "450"); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_unset_property_str", Takes::kEither, 0,
     [](Call &c) { return velmora_account_unset_property_str(c.handle, VELMORA_ACCOUNT_PROPERTY_MCC); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_get_property_int", Takes::kEither, 0,
     [](Call &c) {
       int v = 0;
       velmora_account_set_property_int(c.handle, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, 30);
       return velmora_account_get_property_int(c.handle, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, &v);
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_set_property_int", Takes::kEither, 0,
     [](Call &c) { return velmora_account_set_property_int(c.handle, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, 30); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_get_property_bool", Takes::kEither, 0,
     [](Call &c) {
       bool v = false;
       velmora_account_set_property_bool(c.handle, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, true);
       return velmora_account_get_property_bool(c.handle, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, &v);
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_set_property_bool", Takes::kEither, 0,
     [](Call &c) { return velmora_account_set_property_bool(c.handle, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, true); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_connect", Takes::kNothing, 3,
     [](Call &c) {
       c.async = true;
       return velmora_account_connect(&c.handle, Answer::on_connection, &c.answer);
     },
     kNotSupported, kLower, kNotSupported, kNone, kNa},
    {"velmora_account_disconnect", Takes::kPort, 3,
     [](Call &c) {
       const int r = velmora_account_disconnect(c.handle);
       if (r == kNone) c.handle = nullptr;
       return r;
     },
     // A handle from velmora_account_create is released as well.
     kNotSupported, kLower, kNotSupported, kNone, kNone},
    {"velmora_account_request_access_token", Takes::kEither, 0,
     [](Call &c) { return response_call(c, velmora_account_request_access_token); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_get_last_access_token", Takes::kEither, 0,
     [](Call &c) { return response_call(c, velmora_account_get_last_access_token); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_request_auth_code", Takes::kEither, 0,
     [](Call &c) { return response_call(c, velmora_account_request_auth_code); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_request_auth_code_for_effortless_login", Takes::kEither, 0,
     [](Call &c) { return response_call(c, velmora_account_request_auth_code_for_effortless_login); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_get_last_access_token_sync", Takes::kPort, 3,
     [](Call &c) {
       velmora_account_h response = nullptr;
       const int r = velmora_account_get_last_access_token_sync(c.handle, &response);
       if (response) velmora_account_destroy(response);
       return r;
     },
     kNotSupported, kLower, kNotSupported, kAgentNoToken, kNotSupported},
    {"velmora_account_is_signed_in", Takes::kEither, 0,
     [](Call &c) {
       c.async = true;
       return velmora_account_is_signed_in(c.handle, kLogin, Answer::on_signed_in, &c.answer);
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_get_account_list", Takes::kEither, 0,
     [](Call &c) {
       c.async = true;
       return velmora_account_get_account_list(c.handle, Answer::on_list, &c.answer);
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_get_default_account", Takes::kEither, 0,
     [](Call &c) { return response_call(c, velmora_account_get_default_account); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_set_default_account", Takes::kEither, 0,
     [](Call &c) { return response_call(c, velmora_account_set_default_account); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_get_account_from_property", Takes::kEither, 0,
     [](Call &c) {
       velmora_account_set_property_str(c.handle, VELMORA_ACCOUNT_PROPERTY_USER_ID, "gate-user");
       return response_call(c, velmora_account_get_account_from_property);
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    // The blocking reads of the platform account store: offered on a TV, in either transport.
    {"velmora_account_is_signed_in_sync", Takes::kEither, 3,
     [](Call &c) {
       bool status = false;
       return velmora_account_is_signed_in_sync(c.handle, kLogin, &status);
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_get_account_list_sync", Takes::kEither, 3,
     [](Call &c) {
       char **list = nullptr;
       int size = 0;
       const int r = velmora_account_get_account_list_sync(c.handle, &list, &size);
       for (int i = 0; list && i < size; ++i) free(list[i]);
       free(list);
       return r;
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_get_default_account_sync", Takes::kEither, 3,
     [](Call &c) {
       char *login = nullptr;
       const int r = velmora_account_get_default_account_sync(c.handle, &login);
       free(login);
       return r;
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_set_default_account_sync", Takes::kPort, 3,
     [](Call &c) { return velmora_account_set_default_account_sync(c.handle, kLogin); },
     kNotSupported, kLower, kNotSupported, kNone, kNotSupported},
    {"velmora_account_request_mcc", Takes::kEither, 3,
     [](Call &c) { return response_call(c, velmora_account_request_mcc); },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_set_tnc", Takes::kEither, 0,
     [](Call &c) { return velmora_account_set_tnc(c.handle, 4, true); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_update_tnc_info", Takes::kEither, 3,
     [](Call &c) {
       // Both mandatory consents and the MCC, so that only the gates can stop it.
       velmora_account_set_tnc(c.handle, 1, true);
       velmora_account_set_tnc(c.handle, 2, true);
       velmora_account_set_property_str(c.handle, VELMORA_ACCOUNT_PROPERTY_MCC, "450");
       return response_call(c, velmora_account_update_tnc_info);
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_request_account_linking_info", Takes::kEither, 0,
     [](Call &c) {
       velmora_account_set_property_str(c.handle, VELMORA_ACCOUNT_PROPERTY_PARTNER_CLIENT_ID, "gate.partner");
       velmora_account_set_property_str(c.handle, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, "gate-token");
       velmora_account_set_property_str(c.handle, VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL, "https://auth.velmora.dev");
       return response_call(c, velmora_account_request_account_linking_info);
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    // Companion accounts: every function needs level 5; the two requests go over app control on
    // a wearable only (a TV, the phone profile of the other-transport root and a handle over the
    // port are refused). On an unpaired wearable the agent answers them with its own error.
    {"velmora_account_companion_create", Takes::kNothing, 5,
     [](Call &) { return with_companion.create_answer(); },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_companion_destroy", Takes::kNothing, 5,
     [](Call &) { return with_companion.destroy_answer(); },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_companion_get_property_str", Takes::kNothing, 5,
     [](Call &) {
       return with_companion([](velmora_account_companion_h h) {
         velmora_account_companion_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, kLogin);
         char *v = nullptr;
         const int r = velmora_account_companion_get_property_str(h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, &v);
         free(v);
         return r;
       });
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_companion_set_property_str", Takes::kNothing, 5,
     [](Call &) {
       return with_companion([](velmora_account_companion_h h) {
         return velmora_account_companion_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, kLogin);
       });
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_companion_get_property_int", Takes::kNothing, 5,
     [](Call &) {
       return with_companion([](velmora_account_companion_h h) {
         velmora_account_companion_set_property_int(h, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, 30);
         int v = 0;
         return velmora_account_companion_get_property_int(h, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, &v);
       });
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_companion_set_property_int", Takes::kNothing, 5,
     [](Call &) {
       return with_companion([](velmora_account_companion_h h) {
         return velmora_account_companion_set_property_int(h, VELMORA_ACCOUNT_PROPERTY_INT_API_TIMEOUT, 30);
       });
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_companion_get_property_bool", Takes::kNothing, 5,
     [](Call &) {
       return with_companion([](velmora_account_companion_h h) {
         velmora_account_companion_set_property_bool(h, VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST, true);
         bool v = false;
         return velmora_account_companion_get_property_bool(h, VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST, &v);
       });
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_companion_set_property_bool", Takes::kNothing, 5,
     [](Call &) {
       return with_companion([](velmora_account_companion_h h) {
         return velmora_account_companion_set_property_bool(h, VELMORA_ACCOUNT_PROPERTY_BOOL_MOBILE_ACCOUNT_EXIST, true);
       });
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_companion_get_account", Takes::kAppControl, 5,
     [](Call &c) {
       c.async = true;
       return velmora_account_companion_get_account(c.handle, Answer::on_companion, &c.answer);
     },
     kNotSupported, kLower, kNotSupported, kNone, kNotSupported},
    {"velmora_account_companion_sign_in", Takes::kAppControl, 5,
     [](Call &c) {
       c.async = true;
       return velmora_account_companion_sign_in(c.handle, Answer::on_companion, &c.answer);
     },
     kNotSupported, kLower, kNotSupported, kNone, kNotSupported},
    // Saved places: every function needs level 2; the request goes in either transport.
    {"velmora_account_place_create", Takes::kNothing, 2,
     [](Call &) { return with_place.create_answer(); },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_place_destroy", Takes::kNothing, 2,
     [](Call &) { return with_place.destroy_answer(); },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_place_get_place", Takes::kNothing, 2,
     [](Call &) {
       return with_place([](velmora_account_place_h h) {
         char *name = nullptr, *address = nullptr;
         int category = -1;
         const int r = velmora_account_place_get_place(h, &name, &address, &category);
         free(name);
         free(address);
         return r;
       });
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_place_get_location", Takes::kNothing, 2,
     [](Call &) {
       return with_place([](velmora_account_place_h h) {
         int type = -1, source = -1;
         double latitude = -1, longitude = -1;
         return velmora_account_place_get_location(h, &type, &source, &latitude, &longitude);
       });
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_place_get_network", Takes::kNothing, 2,
     [](Call &) {
       return with_place([](velmora_account_place_h h) {
         char *wifi = nullptr, *bssid = nullptr, *bt = nullptr, *bt_address = nullptr;
         const int r = velmora_account_place_get_network(h, &wifi, &bssid, &bt, &bt_address);
         free(wifi);
         free(bssid);
         free(bt);
         free(bt_address);
         return r;
       });
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_place_list_create", Takes::kNothing, 2,
     [](Call &) { return with_place_list.create_answer(); },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_place_list_destroy", Takes::kNothing, 2,
     [](Call &) { return with_place_list.destroy_answer(); },
     kNotSupported, kLower, kNone, kNone, kNa},
    // A new list is empty: its walk answers NO_DATA once the gates are passed.
    {"velmora_account_place_list_foreach", Takes::kNothing, 2,
     [](Call &) {
       return with_place_list([](velmora_account_place_list_h h) {
         return velmora_account_place_list_foreach(h, [](velmora_account_place_h, void *) { return true; }, nullptr);
       });
     },
     kNotSupported, kLower, kNoData, kNoData, kNa},
    {"velmora_account_place_request_info", Takes::kEither, 2,
     [](Call &c) {
       c.async = true;
       return velmora_account_place_request_info(c.handle, Answer::on_places, &c.answer);
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    // The profile's records and item access ask only that the agent is installed.
    {"velmora_account_profile_create", Takes::kNothing, 0,
     [](Call &) { return with_nickname.create_answer(); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_profile_destroy", Takes::kNothing, 0,
     [](Call &) { return with_nickname.destroy_answer(); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_profile_set_item_str", Takes::kNothing, 0,
     [](Call &) {
       return with_nickname([](velmora_account_profile_h h) {
         return velmora_account_profile_set_item_str(h, VELMORA_ACCOUNT_PROFILE_ITEM_NICKNAME_VALUE, "Gate");
       });
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_profile_get_item_str", Takes::kNothing, 0,
     [](Call &) {
       return with_nickname([](velmora_account_profile_h h) {
         velmora_account_profile_set_item_str(h, VELMORA_ACCOUNT_PROFILE_ITEM_NICKNAME_VALUE, "Gate");
         char *v = nullptr;
         const int r = velmora_account_profile_get_item_str(h, VELMORA_ACCOUNT_PROFILE_ITEM_NICKNAME_VALUE, &v);
         free(v);
         return r;
       });
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_profile_set_item_source", Takes::kNothing, 0,
     [](Call &) {
       return with_name([](velmora_account_profile_h h) {
         return velmora_account_profile_set_item_source(h, VELMORA_ACCOUNT_PROFILE_ITEM_NAME_SOURCE,
                                                        VELMORA_ACCOUNT_PROFILE_SOURCE_PROFILE);
       });
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_profile_get_item_source", Takes::kNothing, 0,
     [](Call &) {
       return with_name([](velmora_account_profile_h h) {
         velmora_account_profile_set_item_source(h, VELMORA_ACCOUNT_PROFILE_ITEM_NAME_SOURCE,
                                                 VELMORA_ACCOUNT_PROFILE_SOURCE_PROFILE);
         int v = -1;
         return velmora_account_profile_get_item_source(h, VELMORA_ACCOUNT_PROFILE_ITEM_NAME_SOURCE, &v);
       });
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_profile_set_privacy", Takes::kNothing, 0,
     [](Call &) {
       return with_nickname([](velmora_account_profile_h h) {
         return velmora_account_profile_set_privacy(h, VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME, 1);
       });
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_profile_get_privacy", Takes::kNothing, 0,
     [](Call &) {
       return with_nickname([](velmora_account_profile_h h) {
         velmora_account_profile_set_privacy(h, VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME, 1);
         int v = -1;
         return velmora_account_profile_get_privacy(h, VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME, &v);
       });
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_profile_list_create", Takes::kNothing, 0,
     [](Call &) { return with_profile_list.create_answer(); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_profile_list_destroy", Takes::kNothing, 0,
     [](Call &) { return with_profile_list.destroy_answer(); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_profile_list_append", Takes::kNothing, 0,
     [](Call &) {
       return with_profile_list([](velmora_account_profile_list_h list) {
         return with_nickname([list](velmora_account_profile_h p) { return velmora_account_profile_list_append(list, p); });
       });
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    // A walk of a new list makes no call and answers NONE.
    {"velmora_account_profile_list_foreach", Takes::kNothing, 0,
     [](Call &) {
       return with_profile_list([](velmora_account_profile_list_h h) {
         return velmora_account_profile_list_foreach(h, [](int, velmora_account_profile_h, int, void *) { return true; }, nullptr);
       });
     },
     kNotSupported, kNa, kNone, kNone, kNa},
    // A handle that never received a profile has none to copy from: NO_DATA once the gates are
    // passed.
    {"velmora_account_profile_get_profile_list", Takes::kEither, 0,
     [](Call &c) {
       return with_profile_list([&c](velmora_account_profile_list_h list) {
         return velmora_account_profile_get_profile_list(c.handle, VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME, list);
       });
     },
     kNotSupported, kNa, kNoData, kNoData, kNa},
    // The profile requests: one category and the privacy need level 3, subscriptions level 2 and
    // app control (a handle over the port is refused).
    {"velmora_account_profile_request_profile", Takes::kEither, 3,
     [](Call &c) {
       c.async = true;
       return velmora_account_profile_request_profile(c.handle, VELMORA_ACCOUNT_PROFILE_CATEGORY_NICKNAME,
                                                      Answer::on_profile_list, &c.answer);
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_profile_request_privacy", Takes::kEither, 3,
     [](Call &c) {
       c.async = true;
       return velmora_account_profile_request_privacy(c.handle, Answer::on_profile_list, &c.answer);
     },
     kNotSupported, kLower, kNone, kNone, kNa},
    {"velmora_account_profile_request_info", Takes::kEither, 0,
     [](Call &c) { return response_call(c, velmora_account_profile_request_info); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_profile_update_info", Takes::kEither, 0,
     [](Call &c) { return with_nickname_list(c, velmora_account_profile_update_info); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_profile_update_privacy", Takes::kEither, 0,
     [](Call &c) { return with_nickname_list(c, velmora_account_profile_update_privacy); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_profile_subscribe", Takes::kAppControl, 2,
     [](Call &c) { return response_call(c, velmora_account_profile_subscribe); },
     kNotSupported, kLower, kNone, kNone, kNotSupported},
    {"velmora_account_profile_unsubscribe", Takes::kAppControl, 2,
     [](Call &c) { return response_call(c, velmora_account_profile_unsubscribe); },
     kNotSupported, kLower, kNone, kNone, kNotSupported},
    // Signing in and out travel over app control only. From this test (an ordinary caller) sign-in
    // and confirm-user without a password ask for the login view; the two-factor calls need the
    // UI application only when the platform names another caller.
    {"velmora_account_sign_in", Takes::kAppControl, 0,
     [](Call &c) { return response_call(c, velmora_account_sign_in); },
     kNotSupported, kNa, kNone, kNone, kNotSupported},
    {"velmora_account_sign_in_with_2factor_authentication", Takes::kAppControl, 5,
     [](Call &c) {
       velmora_account_set_property_str(c.handle, VELMORA_ACCOUNT_PROPERTY_PASSWORD, "gate-pw");
       velmora_account_set_property_str(c.handle, VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_CODE, "123456");
       velmora_account_set_property_str(c.handle, VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN, "gate-token");
       c.async = true;
       return velmora_account_sign_in_with_2factor_authentication(c.handle, false, Answer::on_response, &c.answer);
     },
     kNotSupported, kLower, kNone, kNone, kNotSupported},
    {"velmora_account_request_authentication_for_sign_in", Takes::kAppControl, 5,
     [](Call &c) {
       c.async = true;
       return velmora_account_request_authentication_for_sign_in(c.handle, VELMORA_ACCOUNT_AUTHENTICATION_TYPE_SMS, Answer::on_response, &c.answer);
     },
     kNotSupported, kLower, kNone, kNone, kNotSupported},
    // Sign-out and confirm-user do not look at the transport: a connected handle goes over app
    // control too.
    {"velmora_account_sign_out", Takes::kEither, 0,
     [](Call &c) { return response_call(c, velmora_account_sign_out); },
     kNotSupported, kNa, kNone, kNone, kNa},
    {"velmora_account_request_confirm_user", Takes::kEither, 0,
     [](Call &c) { return response_call(c, velmora_account_request_confirm_user); },
     kNotSupported, kNa, kNone, kNone, kNa},
    // The functions below take no handle and ask nothing of the agent: they answer everywhere.
    {"velmora_account_version_get", Takes::kNothing, 0,
     [](Call &) {
       int major = -1, minor = -1, patch = -1;
       return velmora_account_version_get(&major, &minor, &patch);
     },
     kNone, kNa, kNone, kNone, kNa},
    {"velmora_account_error_name", Takes::kNothing, 0,
     [](Call &) {
       const char *n = velmora_account_error_name(VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED);
       return n && strcmp(n, "VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED") == 0 ? kNone : -1;
     },
     kNone, kNa, kNone, kNone, kNa},
    {"velmora_account_error_message", Takes::kNothing, 0,
     [](Call &) { return velmora_account_error_message(VELMORA_ACCOUNT_ERROR_NOT_SUPPORTED) ? kNone : -1; },
     kNone, kNa, kNone, kNone, kNa},
};
// clang-format on

struct Cell {
  const Row *row;
  When when;
  int expected;
};

// Names the cell in test output ("velmora_account_connect on a wearable answers 0").
void PrintTo(const Cell &cell, std::ostream *os) {
  *os << cell.row->function << " " << when_name(cell.when) << " answers " << cell.expected;
}

std::vector<Cell> cells() {
  std::vector<Cell> out;
  for (const Row &row : kRows) {
    const std::pair<When, std::optional<int>> columns[] = {
        {When::kNoAgent, row.no_agent},
        {When::kBelowLevel, row.below_level},
        {When::kTv, row.tv},
        {When::kWearable, row.wearable},
        {When::kOtherTransport, row.other_transport}};
    for (const auto &[when, expected] : columns)
      if (expected) out.push_back({&row, when, *expected});
  }
  return out;
}

class Gates : public ::testing::TestWithParam<Cell> {
 protected:
  void TearDown() override {
    for (velmora_account_h h : created_) velmora_account_destroy(h);
    for (velmora_account_h h : connected_) velmora_account_disconnect(h);
    agent_.stop();
    vtest::run_pending();
  }

  // The root for `when`: the device profile and the agent (at level 5, or one below the level the
  // function needs), with a signed-in user and a client.
  void prepare(const Cell &cell) {
    // A login view (sign-in and confirm-user from this ordinary caller) gives up at once, so that
    // its answer comes without a person.
    setenv("VELMORA_LOGIN_VIEW_TIMEOUT_MS", "100", 1);
    if (cell.when == When::kNoAgent) return;
    if (cell.when == When::kTv) root_.set_profile("tv");
    if (cell.when == When::kWearable) root_.set_profile("wearable");
    agent_.install(cell.when == When::kBelowLevel ? cell.row->level - 1 : 5);
    vtest::SeedUser user;
    user.login_id = kLogin;
    user.client_id = kClient;
    user.scopes = {"read"};
    secret_ = agent_.seed(user).client_secret;
  }

  void fill(velmora_account_h h) {
    ASSERT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, kLogin),
              kNone);
    ASSERT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_CLIENT_ID, kClient),
              kNone);
    ASSERT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_CLIENT_SECRET,
                                               secret_.c_str()),
              kNone);
    ASSERT_EQ(velmora_account_set_property_str(h, VELMORA_ACCOUNT_PROPERTY_SCOPE, "read"), kNone);
  }

  velmora_account_h app_control_handle() {
    velmora_account_h h = nullptr;
    EXPECT_EQ(velmora_account_create(&h), kNone);
    if (h) fill(h);
    return h;
  }

  velmora_account_h port_handle() {
    // The connection callback keeps its user data as long as the handle lives.
    Answer *connection = connections_.emplace_back(std::make_unique<Answer>()).get();
    velmora_account_h h = nullptr;
    EXPECT_EQ(velmora_account_connect(&h, Answer::on_connection, connection), kNone);
    if (!h) return nullptr;
    connected_.push_back(h);
    EXPECT_TRUE(vtest::run_until([connection] { return connection->calls > 0; }));
    EXPECT_EQ(connection->result, kNone);
    fill(h);
    return h;
  }

  // The handle the cell's call gets: none without an agent, else one of the transport the
  // function takes (the other one under kOtherTransport; on a TV, where the port is refused, and
  // below the port's level, one from velmora_account_create).
  velmora_account_h handle_for(const Cell &cell) {
    const Takes takes = cell.row->takes;
    if (cell.when == When::kNoAgent || takes == Takes::kNothing) return nullptr;
    const bool port_possible = cell.when == When::kWearable || cell.when == When::kOtherTransport;
    bool port = takes == Takes::kPort && port_possible;
    if (cell.when == When::kOtherTransport) port = takes == Takes::kAppControl;
    if (!port) {
      velmora_account_h h = app_control_handle();
      if (h) created_.push_back(h);
      return h;
    }
    return port_handle();
  }

  vtest::PlatformRoot root_;
  vtest::Agent agent_{root_};
  std::string secret_;
  std::vector<velmora_account_h> created_;
  std::vector<velmora_account_h> connected_;
  std::vector<std::unique_ptr<Answer>> connections_;
};

TEST_P(Gates, Answers) {
  const Cell &cell = GetParam();
  prepare(cell);
  Call call;
  call.handle = handle_for(cell);
  const velmora_account_h given = call.handle;
  const int result = cell.row->call(call);
  const char *name = velmora_account_error_name(result);
  EXPECT_EQ(result, cell.expected) << cell.row->function << " " << when_name(cell.when) << ": "
                                   << (name ? name : "an unnamed code");
  // A handle the call released is no longer ours to release.
  if (given && !call.handle) {
    std::erase(created_, given);
    std::erase(connected_, given);
  }
  if (call.async && result == kNone) {
    EXPECT_TRUE(vtest::run_until([&call] { return call.answer.calls > 0; }))
        << "the answer of " << cell.row->function << " never came";
  }
  // A handle the call made (velmora_account_connect) is released at the end.
  if (!given && call.handle) connected_.push_back(call.handle);
}

std::string cell_name(const ::testing::TestParamInfo<Cell> &info) {
  return std::string(info.param.row->function + strlen("velmora_account_")) + "_" +
         when_name(info.param.when);
}

INSTANTIATE_TEST_SUITE_P(Table, Gates, ::testing::ValuesIn(cells()), cell_name);

// Every function the library exports has its row; a row names an exported function.
TEST(GatesTable, EveryExportedFunctionHasARow) {
  const std::string library = vtest::PlatformRoot::build_dir() + "/src/libvelmora-account.so";
  std::set<std::string> exported;
  for (const std::string &name : vtest::nm_symbols("-D", library, "T"))
    if (vtest::starts_with(name, "velmora_account_")) exported.insert(name);
  ASSERT_FALSE(exported.empty()) << "nm listed nothing for " << library;
  std::set<std::string> rows;
  for (const Row &row : kRows) EXPECT_TRUE(rows.insert(row.function).second) << row.function;
  std::string missing, stray;
  for (const std::string &name : exported)
    if (!rows.count(name)) missing += "  " + name + "\n";
  for (const std::string &name : rows)
    if (!exported.count(name)) stray += "  " + name + "\n";
  EXPECT_TRUE(missing.empty()) << "exported functions without a row in the gates table:\n"
                               << missing;
  EXPECT_TRUE(stray.empty()) << "rows for functions the library does not export:\n" << stray;
}

}  // namespace
