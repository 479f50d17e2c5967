/*
 * Velmora Account client: the whole application interface in one include.
 *
 * velmora_account.h            account handle, properties, connection, sign-in, tokens, queries
 * velmora_account_companion.h  the paired phone's account, on a wearable
 * velmora_account_place.h      the user's saved places
 * velmora_account_profile.h    the user's profile
 * velmora_account_request_op.h operation URIs of app-control requests
 * velmora_account_error.h      result codes
 */
#ifndef VELMORA_ACCOUNT_CLIENT_H
#define VELMORA_ACCOUNT_CLIENT_H

#include "velmora_account.h"
#include "velmora_account_companion.h"
#include "velmora_account_error.h"
#include "velmora_account_place.h"
#include "velmora_account_profile.h"
#include "velmora_account_request_op.h"

#endif /* VELMORA_ACCOUNT_CLIENT_H */
