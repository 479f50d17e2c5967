// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the record table itself: every type, every field in declaration (= wire) order
// with its kind, written out here by hand and compared with what the library was built from.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "record_table.hh"
#include "records_internal.hh"

namespace {

// Type -> "Field:kind" in declaration order; kinds s(tring) i(nt) l(ong long) d(ouble),
// r:<Type> (record), L:<Type> (list of records), S (list of strings).
const std::map<std::string, std::vector<std::string>> &expected_fields() {
  static const std::map<std::string, std::vector<std::string>> m = {
      {"AccountS",
       {"AccessToken:s",
        "ApiServerUrl:s",
        "AuthCode:s",
        "AuthServerUrl:s",
        "ClientId:s",
        "ClientSecret:s",
        "CountryCode:s",
        "DeviceUniqueCode:s",
        "LastAccessToken:s",
        "LoginId:s",
        "Mcc:s",
        "Password:s",
        "RefreshToken:s",
        "Scope:s",
        "UserId:s",
        "SigninAppMessage:s",
        "Aaa:s",
        "Bbb:s",
        "Ccc:s",
        "Reserved:s",
        "TncStatus:i",
        "TokenExpiresIn:i",
        "TokenIssueTime:i",
        "LongExpiresIn:l",
        "LongIssueTime:l"}},
      {"NameS",
       {"FamilyName:s", "MiddleName:s", "GivenName:s", "PhoneticFamily:s", "PhoneticMiddle:s",
        "PhoneticGiven:s", "Prefix:s", "Suffix:s", "Verified:s", "Source:s"}},
      {"BirthdayS", {"Day:s", "Month:s", "Year:s", "Date:s", "Type:s", "Verified:s", "Source:s"}},
      {"MessengerS", {"Value:s", "Type:s", "Label:s", "Key:s", "Verified:s"}},
      {"PhoneS", {"Value:s", "Type:s", "Label:s", "Key:s", "Verified:s"}},
      {"EmailS", {"Value:s", "Type:s", "Label:s", "Key:s", "Verified:s"}},
      {"EventS", {"Value:s", "Type:s", "Label:s", "Key:s", "Verified:s"}},
      {"WebS", {"Value:s", "Key:s", "Verified:s"}},
      {"NicknameS", {"Value:s", "Verified:s"}},
      {"GenderS", {"Value:s", "Verified:s"}},
      {"StatusS", {"Value:s", "Verified:s"}},
      {"NoteS", {"Value:s", "Verified:s"}},
      {"PhotoS", {"Url:s", "CreateIndex:s", "CreateTime:s", "Hash:s", "Verified:s"}},
      {"OrganizationS", {"Company:s", "Department:s", "Title:s", "Verified:s"}},
      {"HealthS", {"Height:s", "Weight:s", "ActivityLevel:s", "Verified:s"}},
      {"PrivacyS",
       {"Name:i", "Birthday:i", "Messenger:i", "Phone:i", "Email:i", "Web:i", "Event:i",
        "Nickname:i", "Photo:i", "Organization:i", "Gender:i", "Status:i", "Note:i", "Health:i"}},
      {"ProfileS",
       {"Type:s", "Resource:s", "UpdateType:s", "Reserved:s", "NameList:L:NameS",
        "BirthdayList:L:BirthdayS", "MessengerList:L:MessengerS", "PhoneList:L:PhoneS",
        "EmailList:L:EmailS", "WebList:L:WebS", "EventList:L:EventS", "Nickname:r:NicknameS",
        "Photo:r:PhotoS", "Organization:r:OrganizationS", "Gender:r:GenderS", "Status:r:StatusS",
        "Note:r:NoteS", "Health:r:HealthS", "Privacy:r:PrivacyS"}},
      {"PlaceS",
       {"Name:s", "Address:s", "WifiName:s", "WifiBssid:s", "BtName:s", "BtAddress:s", "Category:i",
        "Type:i", "LocationSource:i", "Latitude:d", "Longitude:d", "Reserved:s"}},
      {"PlaceInfoS", {"size:i", "Reserved:s", "PlaceList:L:PlaceS"}},
      {"list_NameS", {"list_NameSs:L:NameS"}},
      {"list_BirthdayS", {"list_BirthdaySs:L:BirthdayS"}},
      {"list_MessengerS", {"list_MessengerSs:L:MessengerS"}},
      {"list_PhoneS", {"list_PhoneSs:L:PhoneS"}},
      {"list_EmailS", {"list_EmailSs:L:EmailS"}},
      {"list_WebS", {"list_WebSs:L:WebS"}},
      {"list_EventS", {"list_EventSs:L:EventS"}},
      {"list_PlaceS", {"list_PlaceSs:L:PlaceS"}},
      {"list_string", {"list_strings:S"}},
  };
  return m;
}

std::string code(rtest::Kind k, const char *item) {
  switch (k) {
    case rtest::Kind::STRING:
      return "s";
    case rtest::Kind::INT:
      return "i";
    case rtest::Kind::LLONG:
      return "l";
    case rtest::Kind::DOUBLE:
      return "d";
    case rtest::Kind::RECORD:
      return std::string("r:") + item;
    case rtest::Kind::LIST:
      return std::string("L:") + item;
    case rtest::Kind::STRLIST:
      return "S";
  }
  return "?";
}

std::string code(va::rec::FieldKind k, const va::rec::RecordDesc *item) {
  switch (k) {
    case va::rec::FieldKind::STRING:
      return "s";
    case va::rec::FieldKind::INT:
      return "i";
    case va::rec::FieldKind::LLONG:
      return "l";
    case va::rec::FieldKind::DOUBLE:
      return "d";
    case va::rec::FieldKind::RECORD:
      return std::string("r:") + (item ? item->name : "?");
    case va::rec::FieldKind::LIST:
      return std::string("L:") + (item ? item->name : "?");
    case va::rec::FieldKind::STRLIST:
      return "S";
  }
  return "?";
}

}  // namespace

TEST(RecordTable, HasNineteenRecordsThenNineListsInOrder) {
  std::vector<std::string> names;
  for (const rtest::TypeOps &t : rtest::all_types()) names.push_back(t.name);
  const std::vector<std::string> want = {
      "AccountS",       "NameS",           "BirthdayS",   "MessengerS",    "PhoneS",
      "EmailS",         "EventS",          "WebS",        "NicknameS",     "GenderS",
      "StatusS",        "NoteS",           "PhotoS",      "OrganizationS", "HealthS",
      "PrivacyS",       "ProfileS",        "PlaceS",      "PlaceInfoS",    "list_NameS",
      "list_BirthdayS", "list_MessengerS", "list_PhoneS", "list_EmailS",   "list_WebS",
      "list_EventS",    "list_PlaceS",     "list_string"};
  EXPECT_EQ(names, want);
}

TEST(RecordTable, EveryTypeHasItsFieldsInDeclarationOrder) {
  ASSERT_EQ(rtest::all_types().size(), expected_fields().size());
  for (const rtest::TypeOps &t : rtest::all_types()) {
    std::vector<std::string> got;
    for (const rtest::FieldOps &f : t.fields)
      got.push_back(std::string(f.field) + ":" + code(f.kind, f.item));
    auto it = expected_fields().find(t.name);
    ASSERT_NE(it, expected_fields().end()) << t.name;
    EXPECT_EQ(got, it->second) << t.name;
  }
}

TEST(RecordTable, LibraryDescriptorsMatchTheTable) {
  auto types = va::rec::all_types();
  ASSERT_EQ(types.size(), expected_fields().size());
  for (const va::rec::RecordDesc *d : types) {
    auto it = expected_fields().find(d->name);
    ASSERT_NE(it, expected_fields().end()) << d->name;
    std::vector<std::string> got;
    for (const va::rec::FieldDesc &f : d->field_span())
      got.push_back(std::string(f.name) + ":" + code(f.kind, f.item));
    EXPECT_EQ(got, it->second) << d->name;
    EXPECT_EQ(va::rec::find_type(d->name), d);
    EXPECT_EQ(std::string(d->fn_create), std::string("rpc_port_") + d->name + "_create");
    EXPECT_EQ(std::string(d->fn_clone), std::string("rpc_port_") + d->name + "_clone");
    EXPECT_EQ(std::string(d->fn_destroy), std::string("rpc_port_") + d->name + "_destroy");
  }
  EXPECT_EQ(va::rec::find_type("NoSuchS"), nullptr);
  EXPECT_EQ(va::rec::find_type(nullptr), nullptr);
}

TEST(RecordTable, FieldsLieInDeclarationOrderAfterTheParcelablePair) {
  for (const va::rec::RecordDesc *d : va::rec::all_types()) {
    size_t previous = sizeof(rpc_port_parcelable_t) - 1;
    for (const va::rec::FieldDesc &f : d->field_span()) {
      EXPECT_GT(f.offset, previous) << d->name << "." << f.name;
      EXPECT_LT(f.offset, d->size) << d->name << "." << f.name;
      previous = f.offset;
    }
  }
}
