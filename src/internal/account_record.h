/*
 * Velmora Account client: the account record behind velmora_account_h, and the internal functions
 * that work on it (the copy a request carries, the property logic without the agent check).
 *
 * The same layout serves the companion handle (velmora_account_companion_h).
 */
#ifndef VELMORA_ACCOUNT_RECORD_H
#define VELMORA_ACCOUNT_RECORD_H

#include <stdbool.h>

#include "velmora_account.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The generated proxy of the agent's port (account_svc_proxy.h); only its pointer is kept here. */
struct rpc_port_proxy_AccountSvc_s;
/* The profile list record (profile_record.h). */
struct velmora_account_profile_list_s;

/*
 * Fields in this order. Strings are heap copies owned by the record, NULL when not set. Integer
 * properties count as not set while below 1. The tri-state flags hold VA_TRISTATE_FALSE, _TRUE or
 * _UNSET; their property ids do not follow their order here (see the comments).
 */
struct velmora_account_s {
  char *access_token;         /*  1, str 0 */
  char *api_server_url;       /*  2, str 1 */
  char *authcode;             /*  3, str 2 */
  char *auth_server_url;      /*  4, str 3 */
  char *client_id;            /*  5, str 4 */
  char *client_secret;        /*  6, str 5 */
  char *cc;                   /*  7, str 6: country code */
  char *device_unique_code;   /*  8, str 7 */
  char *expired_access_token; /*  9, str 8: the last access token */
  char *login_id;             /* 10, str 9 */
  char *mcc;                  /* 11, str 10 */
  char *password;             /* 12, str 11 */
  char *refresh_token;        /* 13, str 12 */
  char *scope;                /* 14, str 13 */
  char *user_id;              /* 15, str 14 */
  char *signin_app_message;   /* 16, str 15 */
  char *customizedservice;    /* 17, str 16 */
  char *id_token;             /* 18, str 17 */
  /* Fields 19 to 21 are not released by velmora_account_destroy (the handle's long-standing
   * behaviour, kept as it is; see tests/lsan.supp). Store them only through
   * velmora_account_util_set_property_str so that the leak checkers can tell these copies apart. */
  char *authentication_token;       /* 19, str 18 */
  char *authentication_code;        /* 20, str 19 */
  char *partner_client_id;          /* 21, str 20 */
  int access_token_expires_in;      /* 22, int 0 */
  int access_token_issue_time;      /* 23, int 1 */
  int tnc_status;                   /* 24, no property: velmora_account_set_tnc bits */
  int api_timeout;                  /* 25, int 2 */
  int request_to_server;            /* 26, bool 0 */
  int mobile_account_exist;         /* 27, bool 3 */
  int register_trusted_device;      /* 28, bool 1 */
  int check_2factor_authentication; /* 29, bool 2 */
  int account_linking_status;       /* 30, bool 4 */
  bool connected; /* 31: made by velmora_account_connect (requests over the port) */
  struct rpc_port_proxy_AccountSvc_s *proxy;   /* 32: NULL after a disconnected event */
  velmora_account_connection_cb connection_cb; /* 33 */
  void *connection_user_data;                  /* 34 */
  struct velmora_account_profile_list_s *link; /* 35: the profile last received, or NULL */
};

/*
 * The copy of a handle that a request carries: string properties 0 to 15 and the integer fields
 * 22 to 24 only. Everything else stays zero: strings 16 to 20, the API time-out, the tri-state
 * flags (so a clone's flags read as false, not as not set), the connection and the profile link.
 * Returns NONE, INVALID_PARAMETER (NULL argument), OUT_OF_MEMORY.
 */
int velmora_account_clone(velmora_account_h handle, velmora_account_h *clone);

/*
 * The property logic of the public accessors, without the agent check; the same arguments and
 * results. Used by the public accessors, the companion accessors and the reply parsers.
 */
int velmora_account_util_get_property_str(velmora_account_h data, int property, char **value);
int velmora_account_util_set_property_str(velmora_account_h data, int property, const char *value);
int velmora_account_util_get_property_int(velmora_account_h data, int property, int *value);
int velmora_account_util_set_property_int(velmora_account_h data, int property, int value);
int velmora_account_util_get_property_bool(velmora_account_h data, int property, bool *value);
int velmora_account_util_set_property_bool(velmora_account_h data, int property, bool value);

/* The field behind string property `property` (0 to 20) of `data`, or NULL for an unknown id or a
 * NULL record. Reading and freeing through it is fine; store new values with
 * velmora_account_util_set_property_str. */
char **velmora_account_util_str_field(velmora_account_h data, int property);

/* Clears string property `property` (0 to 20) of `data`: frees the value and sets it NULL.
 * False for an unknown id. No log. */
bool velmora_account_util_clear_property_str(velmora_account_h data, int property);

#ifdef __cplusplus
}
#endif
#endif /* VELMORA_ACCOUNT_RECORD_H */
