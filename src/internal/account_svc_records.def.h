/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Velmora Account client: the table of the AccountSvc message records, lists and reply delegates.
 *
 * This is the one description of every record that crosses the AccountSvc port. The public header
 * include/account_svc_proxy.h is generated from it (src/rpc/proxy_header: every function written
 * out in full), and the record layouts, the descriptors that drive the library's generic create /
 * destroy / clone / set / get / write / read code, and the exported per-field functions are all
 * expanded from it. Adding a field is one line here, then `cmake --build <build dir> --target
 * proxy-header` rewrites the public header (a test fails while the committed one differs).
 *
 * RPC_PORT_RECORDS(X) and RPC_PORT_LISTS(X) call X(Type) once per type. RPC_PORT_FIELDS_<Type>(F)
 * calls F(Type, Field, Kind, Arg) once per field, in declaration order, which is also the order on
 * the wire. Kinds:
 *   STRING   owned char *, may be NULL                    Arg unused (_)
 *   INT      int (signed 32-bit)                          Arg unused (_)
 *   LLONG    long long (signed 64-bit)                    Arg unused (_)
 *   DOUBLE   double                                       Arg unused (_)
 *   RECORD   owned handle of record type Arg, may be NULL
 *   LIST     owned GList of owned handles of record type Arg
 *   STRLIST  owned GList of owned char *                  Arg unused (_)
 *
 * A list type list_<Item> is a record with a single list field named list_<Item>s, so the list
 * types share every generic operation with the records.
 *
 * RPC_PORT_DELEGATES(X) calls X(Delegate) once per reply delegate type of the proxy.
 *
 * Internal to the library and its tests: applications see only the generated header.
 */
#ifndef VELMORA_ACCOUNT_SVC_RECORDS_DEF_H
#define VELMORA_ACCOUNT_SVC_RECORDS_DEF_H

/* The nineteen records. */
#define RPC_PORT_RECORDS(X) \
  X(AccountS)               \
  X(NameS)                  \
  X(BirthdayS)              \
  X(MessengerS)             \
  X(PhoneS)                 \
  X(EmailS)                 \
  X(EventS)                 \
  X(WebS)                   \
  X(NicknameS)              \
  X(GenderS)                \
  X(StatusS)                \
  X(NoteS)                  \
  X(PhotoS)                 \
  X(OrganizationS)          \
  X(HealthS)                \
  X(PrivacyS)               \
  X(ProfileS)               \
  X(PlaceS)                 \
  X(PlaceInfoS)

/* The nine stand-alone lists. */
#define RPC_PORT_LISTS(X) \
  X(list_NameS)           \
  X(list_BirthdayS)       \
  X(list_MessengerS)      \
  X(list_PhoneS)          \
  X(list_EmailS)          \
  X(list_WebS)            \
  X(list_EventS)          \
  X(list_PlaceS)          \
  X(list_string)

/* The four reply delegate types (rpc_port_AccountSvc_<Delegate>_h). */
#define RPC_PORT_DELEGATES(X) \
  X(ResponseCb)               \
  X(ResponseErrorCb)          \
  X(ResponsePlaceCb)          \
  X(ResponseProfileCb)

/* Aaa, Bbb and Ccc are spare string slots of the interface and keep exactly these names. */
#define RPC_PORT_FIELDS_AccountS(F)        \
  F(AccountS, AccessToken, STRING, _)      \
  F(AccountS, ApiServerUrl, STRING, _)     \
  F(AccountS, AuthCode, STRING, _)         \
  F(AccountS, AuthServerUrl, STRING, _)    \
  F(AccountS, ClientId, STRING, _)         \
  F(AccountS, ClientSecret, STRING, _)     \
  F(AccountS, CountryCode, STRING, _)      \
  F(AccountS, DeviceUniqueCode, STRING, _) \
  F(AccountS, LastAccessToken, STRING, _)  \
  F(AccountS, LoginId, STRING, _)          \
  F(AccountS, Mcc, STRING, _)              \
  F(AccountS, Password, STRING, _)         \
  F(AccountS, RefreshToken, STRING, _)     \
  F(AccountS, Scope, STRING, _)            \
  F(AccountS, UserId, STRING, _)           \
  F(AccountS, SigninAppMessage, STRING, _) \
  F(AccountS, Aaa, STRING, _)              \
  F(AccountS, Bbb, STRING, _)              \
  F(AccountS, Ccc, STRING, _)              \
  F(AccountS, Reserved, STRING, _)         \
  F(AccountS, TncStatus, INT, _)           \
  F(AccountS, TokenExpiresIn, INT, _)      \
  F(AccountS, TokenIssueTime, INT, _)      \
  F(AccountS, LongExpiresIn, LLONG, _)     \
  F(AccountS, LongIssueTime, LLONG, _)

#define RPC_PORT_FIELDS_NameS(F)      \
  F(NameS, FamilyName, STRING, _)     \
  F(NameS, MiddleName, STRING, _)     \
  F(NameS, GivenName, STRING, _)      \
  F(NameS, PhoneticFamily, STRING, _) \
  F(NameS, PhoneticMiddle, STRING, _) \
  F(NameS, PhoneticGiven, STRING, _)  \
  F(NameS, Prefix, STRING, _)         \
  F(NameS, Suffix, STRING, _)         \
  F(NameS, Verified, STRING, _)       \
  F(NameS, Source, STRING, _)

#define RPC_PORT_FIELDS_BirthdayS(F) \
  F(BirthdayS, Day, STRING, _)       \
  F(BirthdayS, Month, STRING, _)     \
  F(BirthdayS, Year, STRING, _)      \
  F(BirthdayS, Date, STRING, _)      \
  F(BirthdayS, Type, STRING, _)      \
  F(BirthdayS, Verified, STRING, _)  \
  F(BirthdayS, Source, STRING, _)

#define RPC_PORT_FIELDS_MessengerS(F) \
  F(MessengerS, Value, STRING, _)     \
  F(MessengerS, Type, STRING, _)      \
  F(MessengerS, Label, STRING, _)     \
  F(MessengerS, Key, STRING, _)       \
  F(MessengerS, Verified, STRING, _)

#define RPC_PORT_FIELDS_PhoneS(F) \
  F(PhoneS, Value, STRING, _)     \
  F(PhoneS, Type, STRING, _)      \
  F(PhoneS, Label, STRING, _)     \
  F(PhoneS, Key, STRING, _)       \
  F(PhoneS, Verified, STRING, _)

#define RPC_PORT_FIELDS_EmailS(F) \
  F(EmailS, Value, STRING, _)     \
  F(EmailS, Type, STRING, _)      \
  F(EmailS, Label, STRING, _)     \
  F(EmailS, Key, STRING, _)       \
  F(EmailS, Verified, STRING, _)

#define RPC_PORT_FIELDS_EventS(F) \
  F(EventS, Value, STRING, _)     \
  F(EventS, Type, STRING, _)      \
  F(EventS, Label, STRING, _)     \
  F(EventS, Key, STRING, _)       \
  F(EventS, Verified, STRING, _)

#define RPC_PORT_FIELDS_WebS(F) \
  F(WebS, Value, STRING, _)     \
  F(WebS, Key, STRING, _)       \
  F(WebS, Verified, STRING, _)

#define RPC_PORT_FIELDS_NicknameS(F) \
  F(NicknameS, Value, STRING, _)     \
  F(NicknameS, Verified, STRING, _)

#define RPC_PORT_FIELDS_GenderS(F) \
  F(GenderS, Value, STRING, _)     \
  F(GenderS, Verified, STRING, _)

#define RPC_PORT_FIELDS_StatusS(F) \
  F(StatusS, Value, STRING, _)     \
  F(StatusS, Verified, STRING, _)

#define RPC_PORT_FIELDS_NoteS(F) \
  F(NoteS, Value, STRING, _)     \
  F(NoteS, Verified, STRING, _)

#define RPC_PORT_FIELDS_PhotoS(F)   \
  F(PhotoS, Url, STRING, _)         \
  F(PhotoS, CreateIndex, STRING, _) \
  F(PhotoS, CreateTime, STRING, _)  \
  F(PhotoS, Hash, STRING, _)        \
  F(PhotoS, Verified, STRING, _)

#define RPC_PORT_FIELDS_OrganizationS(F)  \
  F(OrganizationS, Company, STRING, _)    \
  F(OrganizationS, Department, STRING, _) \
  F(OrganizationS, Title, STRING, _)      \
  F(OrganizationS, Verified, STRING, _)

#define RPC_PORT_FIELDS_HealthS(F)     \
  F(HealthS, Height, STRING, _)        \
  F(HealthS, Weight, STRING, _)        \
  F(HealthS, ActivityLevel, STRING, _) \
  F(HealthS, Verified, STRING, _)

/* One privacy setting per profile item kind. */
#define RPC_PORT_FIELDS_PrivacyS(F) \
  F(PrivacyS, Name, INT, _)         \
  F(PrivacyS, Birthday, INT, _)     \
  F(PrivacyS, Messenger, INT, _)    \
  F(PrivacyS, Phone, INT, _)        \
  F(PrivacyS, Email, INT, _)        \
  F(PrivacyS, Web, INT, _)          \
  F(PrivacyS, Event, INT, _)        \
  F(PrivacyS, Nickname, INT, _)     \
  F(PrivacyS, Photo, INT, _)        \
  F(PrivacyS, Organization, INT, _) \
  F(PrivacyS, Gender, INT, _)       \
  F(PrivacyS, Status, INT, _)       \
  F(PrivacyS, Note, INT, _)         \
  F(PrivacyS, Health, INT, _)

#define RPC_PORT_FIELDS_ProfileS(F)                \
  F(ProfileS, Type, STRING, _)                     \
  F(ProfileS, Resource, STRING, _)                 \
  F(ProfileS, UpdateType, STRING, _)               \
  F(ProfileS, Reserved, STRING, _)                 \
  F(ProfileS, NameList, LIST, NameS)               \
  F(ProfileS, BirthdayList, LIST, BirthdayS)       \
  F(ProfileS, MessengerList, LIST, MessengerS)     \
  F(ProfileS, PhoneList, LIST, PhoneS)             \
  F(ProfileS, EmailList, LIST, EmailS)             \
  F(ProfileS, WebList, LIST, WebS)                 \
  F(ProfileS, EventList, LIST, EventS)             \
  F(ProfileS, Nickname, RECORD, NicknameS)         \
  F(ProfileS, Photo, RECORD, PhotoS)               \
  F(ProfileS, Organization, RECORD, OrganizationS) \
  F(ProfileS, Gender, RECORD, GenderS)             \
  F(ProfileS, Status, RECORD, StatusS)             \
  F(ProfileS, Note, RECORD, NoteS)                 \
  F(ProfileS, Health, RECORD, HealthS)             \
  F(ProfileS, Privacy, RECORD, PrivacyS)

#define RPC_PORT_FIELDS_PlaceS(F)   \
  F(PlaceS, Name, STRING, _)        \
  F(PlaceS, Address, STRING, _)     \
  F(PlaceS, WifiName, STRING, _)    \
  F(PlaceS, WifiBssid, STRING, _)   \
  F(PlaceS, BtName, STRING, _)      \
  F(PlaceS, BtAddress, STRING, _)   \
  F(PlaceS, Category, INT, _)       \
  F(PlaceS, Type, INT, _)           \
  F(PlaceS, LocationSource, INT, _) \
  F(PlaceS, Latitude, DOUBLE, _)    \
  F(PlaceS, Longitude, DOUBLE, _)   \
  F(PlaceS, Reserved, STRING, _)

/* The count field is spelt `size` in lower case; the name is part of the exported functions. */
#define RPC_PORT_FIELDS_PlaceInfoS(F) \
  F(PlaceInfoS, size, INT, _)         \
  F(PlaceInfoS, Reserved, STRING, _)  \
  F(PlaceInfoS, PlaceList, LIST, PlaceS)

#define RPC_PORT_FIELDS_list_NameS(F) F(list_NameS, list_NameSs, LIST, NameS)
#define RPC_PORT_FIELDS_list_BirthdayS(F) F(list_BirthdayS, list_BirthdaySs, LIST, BirthdayS)
#define RPC_PORT_FIELDS_list_MessengerS(F) F(list_MessengerS, list_MessengerSs, LIST, MessengerS)
#define RPC_PORT_FIELDS_list_PhoneS(F) F(list_PhoneS, list_PhoneSs, LIST, PhoneS)
#define RPC_PORT_FIELDS_list_EmailS(F) F(list_EmailS, list_EmailSs, LIST, EmailS)
#define RPC_PORT_FIELDS_list_WebS(F) F(list_WebS, list_WebSs, LIST, WebS)
#define RPC_PORT_FIELDS_list_EventS(F) F(list_EventS, list_EventSs, LIST, EventS)
#define RPC_PORT_FIELDS_list_PlaceS(F) F(list_PlaceS, list_PlaceSs, LIST, PlaceS)
#define RPC_PORT_FIELDS_list_string(F) F(list_string, list_strings, STRLIST, _)

#endif /* VELMORA_ACCOUNT_SVC_RECORDS_DEF_H */
