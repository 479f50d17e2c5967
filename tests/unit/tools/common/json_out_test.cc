// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the tools' shared JSON output (tools/common/json_out.hh) and secret reading
// (vcli::read_secret): every outcome is one valid JSON object in valid UTF-8, whatever bytes the
// values carry; a secret is the first line of its file.
#include "json_out.hh"

#include <glib.h>
#include <gtest/gtest.h>
#include <json-glib/json-glib.h>

#include <cmath>
#include <string>

#include "cli.hh"
#include "json_view.hh"
#include "platform_root.hh"

namespace {

TEST(JsonOut, BytesThatAreNotUtf8BecomeValidText) {
  vcli::JsonOut json;
  json.str("login_id", "caf\xc3\xa9 \xff\xfe end").str("bad\xc0name", "x");
  const std::string text = json.text();
  EXPECT_TRUE(g_utf8_validate(text.c_str(), static_cast<gssize>(text.size()), nullptr)) << text;
  vtest::Json parsed(text);
  ASSERT_TRUE(parsed.valid()) << text;
  const std::string value = parsed.str("login_id");
  EXPECT_EQ(value.rfind("caf\xc3\xa9 ", 0), 0u) << value;             // the valid part is kept
  EXPECT_NE(value.find("\xef\xbf\xbd"), std::string::npos) << value;  // U+FFFD for the rest
  EXPECT_EQ(value.substr(value.size() - 4), " end") << value;
  EXPECT_EQ(json_object_get_size(parsed.object()), 2u) << text;
}

TEST(JsonOut, NumbersThatJsonCannotHoldAreNull) {
  vcli::JsonOut json;
  json.real("nan", std::nan("")).real("inf", INFINITY).real("lat", 37.5).integer("n", -3);
  vtest::Json parsed(json.text());
  ASSERT_TRUE(parsed.valid()) << json.text();
  EXPECT_TRUE(json_object_get_null_member(parsed.object(), "nan"));
  EXPECT_TRUE(json_object_get_null_member(parsed.object(), "inf"));
  EXPECT_DOUBLE_EQ(json_object_get_double_member(parsed.object(), "lat"), 37.5);
  EXPECT_EQ(parsed.integer("n"), -3);
}

TEST(JsonOut, NestedObjectsAndArraysAreOneObjectOnOneLine) {
  vcli::JsonOut json;
  json.str("command", "list").begin_array("items");
  json.begin_object(nullptr).str("id", "a").end_object().add_str("b");
  json.end_array().begin_object("more").boolean("ok", true).null("none").end_object();
  const std::string text = json.text();
  EXPECT_EQ(text.find('\n'), std::string::npos) << text;
  vtest::Json parsed(text);
  ASSERT_TRUE(parsed.valid()) << text;
  ASSERT_NE(parsed.array("items"), nullptr);
  EXPECT_EQ(json_array_get_length(parsed.array("items")), 2u);
  EXPECT_STREQ(json_array_get_string_element(parsed.array("items"), 1), "b");
  JsonObject *more = json_object_get_object_member(parsed.object(), "more");
  ASSERT_NE(more, nullptr);
  EXPECT_TRUE(json_object_get_boolean_member(more, "ok"));
}

class ReadSecret : public ::testing::Test {
 protected:
  std::string file(const char *name, const std::string &contents) {
    const std::string path = root_.path_of(name);
    EXPECT_TRUE(g_file_set_contents(path.c_str(), contents.data(),
                                    static_cast<gssize>(contents.size()), nullptr));
    return path;
  }
  vtest::PlatformRoot root_;
};

TEST_F(ReadSecret, TheFirstLineWithoutItsLineEnd) {
  std::string secret, error;
  ASSERT_TRUE(vcli::read_secret(file("s", "s3cret\r\nsecond line\n"), &secret, &error)) << error;
  EXPECT_EQ(secret, "s3cret");
  ASSERT_TRUE(vcli::read_secret(file("t", "no line end"), &secret, &error)) << error;
  EXPECT_EQ(secret, "no line end");
}

TEST_F(ReadSecret, AnEmptyOrMissingFileIsAnErrorThatNamesIt) {
  std::string secret = "unchanged", error;
  const std::string empty = file("empty", "\nsecond line\n");
  EXPECT_FALSE(vcli::read_secret(empty, &secret, &error));
  EXPECT_NE(error.find(empty), std::string::npos) << error;
  EXPECT_NE(error.find("holds no secret"), std::string::npos) << error;
  error.clear();
  EXPECT_FALSE(vcli::read_secret(root_.path_of("missing"), &secret, &error));
  EXPECT_NE(error.find("missing"), std::string::npos) << error;
  EXPECT_EQ(secret, "unchanged");
}

}  // namespace
