// Velmora tests: the app control object: target, operation, extras, clone.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "app_control.h"

namespace {

using Extras = std::vector<std::pair<std::string, std::string>>;

struct Handle {
  app_control_h h = nullptr;
  Handle() { EXPECT_EQ(app_control_create(&h), APP_CONTROL_ERROR_NONE); }
  ~Handle() {
    if (h) app_control_destroy(h);
  }
};

std::string get(app_control_h h, const char *key) {
  char *v = nullptr;
  int ret = app_control_get_extra_data(h, key, &v);
  if (ret != APP_CONTROL_ERROR_NONE) return "<" + std::to_string(ret) + ">";
  std::string out = v;
  free(v);
  return out;
}

Extras all_extras(app_control_h h) {
  Extras out;
  EXPECT_EQ(app_control_foreach_extra_data(
                h,
                [](app_control_h c, const char *key, void *d) {
                  static_cast<Extras *>(d)->emplace_back(key, get(c, key));
                  return true;
                },
                &out),
            APP_CONTROL_ERROR_NONE);
  return out;
}

TEST(AppControlObject, AppIdAndOperationAreUnsetUntilSet) {
  Handle a;
  char *v = reinterpret_cast<char *>(1);
  ASSERT_EQ(app_control_get_app_id(a.h, &v), APP_CONTROL_ERROR_NONE);
  EXPECT_EQ(v, nullptr);
  v = reinterpret_cast<char *>(1);
  ASSERT_EQ(app_control_get_operation(a.h, &v), APP_CONTROL_ERROR_NONE);
  EXPECT_EQ(v, nullptr);

  ASSERT_EQ(app_control_set_app_id(a.h, "dev.example"), APP_CONTROL_ERROR_NONE);
  ASSERT_EQ(app_control_set_operation(a.h, "http://velmora.dev/op"), APP_CONTROL_ERROR_NONE);
  ASSERT_EQ(app_control_get_app_id(a.h, &v), APP_CONTROL_ERROR_NONE);
  EXPECT_STREQ(v, "dev.example");
  free(v);
  ASSERT_EQ(app_control_get_operation(a.h, &v), APP_CONTROL_ERROR_NONE);
  EXPECT_STREQ(v, "http://velmora.dev/op");
  free(v);

  ASSERT_EQ(app_control_set_app_id(a.h, nullptr), APP_CONTROL_ERROR_NONE);  // unsets
  ASSERT_EQ(app_control_get_app_id(a.h, &v), APP_CONTROL_ERROR_NONE);
  EXPECT_EQ(v, nullptr);
}

TEST(AppControlObject, NullArgumentsAreRefused) {
  Handle a;
  char *v = nullptr;
  EXPECT_EQ(app_control_create(nullptr), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_destroy(nullptr), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_clone(nullptr, a.h), APP_CONTROL_ERROR_INVALID_PARAMETER);
  app_control_h c = nullptr;
  EXPECT_EQ(app_control_clone(&c, nullptr), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_set_app_id(nullptr, "x"), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_get_app_id(a.h, nullptr), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_get_app_id(nullptr, &v), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_set_operation(nullptr, "x"), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_get_operation(a.h, nullptr), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_add_extra_data(nullptr, "k", "v"), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_add_extra_data(a.h, nullptr, "v"), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_add_extra_data(a.h, "", "v"), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_add_extra_data(a.h, "k", nullptr), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_get_extra_data(a.h, nullptr, &v), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_get_extra_data(a.h, "", &v), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_get_extra_data(a.h, "k", nullptr), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_remove_extra_data(a.h, nullptr), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_remove_extra_data(a.h, ""), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_foreach_extra_data(a.h, nullptr, nullptr),
            APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_get_caller(a.h, nullptr), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(all_extras(a.h).empty());  // nothing refused was added
}

TEST(AppControlObject, ExtrasKeepInsertionOrderAndUniqueKeys) {
  Handle a;
  ASSERT_EQ(app_control_add_extra_data(a.h, "zeta", "1"), 0);
  ASSERT_EQ(app_control_add_extra_data(a.h, "alpha", "2"), 0);
  ASSERT_EQ(app_control_add_extra_data(a.h, "mid", ""), 0);     // an empty value is a value
  ASSERT_EQ(app_control_add_extra_data(a.h, "alpha", "3"), 0);  // replaced in place
  EXPECT_EQ(all_extras(a.h), (Extras{{"zeta", "1"}, {"alpha", "3"}, {"mid", ""}}));
  EXPECT_EQ(get(a.h, "mid"), "");
  EXPECT_EQ(get(a.h, "missing"), "<" + std::to_string(APP_CONTROL_ERROR_KEY_NOT_FOUND) + ">");

  ASSERT_EQ(app_control_remove_extra_data(a.h, "zeta"), 0);
  EXPECT_EQ(app_control_remove_extra_data(a.h, "zeta"), APP_CONTROL_ERROR_KEY_NOT_FOUND);
  ASSERT_EQ(app_control_add_extra_data(a.h, "zeta", "4"), 0);  // comes back at the end
  EXPECT_EQ(all_extras(a.h), (Extras{{"alpha", "3"}, {"mid", ""}, {"zeta", "4"}}));
}

TEST(AppControlObject, ForeachStopsWhenTheCallbackSaysSo) {
  Handle a;
  for (const char *k : {"a", "b", "c", "d"}) app_control_add_extra_data(a.h, k, k);
  std::vector<std::string> seen;
  ASSERT_EQ(app_control_foreach_extra_data(
                a.h,
                [](app_control_h, const char *key, void *d) {
                  auto *s = static_cast<std::vector<std::string> *>(d);
                  s->push_back(key);
                  return s->size() < 2;
                },
                &seen),
            APP_CONTROL_ERROR_NONE);
  EXPECT_EQ(seen, (std::vector<std::string>{"a", "b"}));
}

TEST(AppControlObject, ForeachSurvivesTheCallbackChangingTheExtras) {
  Handle a;
  for (const char *k : {"a", "b", "c"}) app_control_add_extra_data(a.h, k, k);
  std::vector<std::string> seen;
  struct Ctx {
    std::vector<std::string> *seen;
  } ctx{&seen};
  ASSERT_EQ(app_control_foreach_extra_data(
                a.h,
                [](app_control_h h, const char *key, void *d) {
                  static_cast<Ctx *>(d)->seen->push_back(key);
                  app_control_remove_extra_data(h, key);
                  return true;
                },
                &ctx),
            APP_CONTROL_ERROR_NONE);
  EXPECT_EQ(seen, (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_TRUE(all_extras(a.h).empty());
}

TEST(AppControlObject, CloneIsDeepAndIndependent) {
  Handle a;
  app_control_set_app_id(a.h, "dev.example");
  app_control_set_operation(a.h, "op");
  app_control_add_extra_data(a.h, "k1", "v1");
  app_control_add_extra_data(a.h, "k2", "v2");
  app_control_h c = nullptr;
  ASSERT_EQ(app_control_clone(&c, a.h), APP_CONTROL_ERROR_NONE);
  app_control_add_extra_data(a.h, "k1", "changed");
  app_control_destroy(a.h);
  a.h = nullptr;
  EXPECT_EQ(all_extras(c), (Extras{{"k1", "v1"}, {"k2", "v2"}}));
  char *v = nullptr;
  app_control_get_app_id(c, &v);
  EXPECT_STREQ(v, "dev.example");
  free(v);
  app_control_get_operation(c, &v);
  EXPECT_STREQ(v, "op");
  free(v);
  app_control_destroy(c);
}

TEST(AppControlObject, OnlyAReceivedRequestHasACallerAndCanBeAnswered) {
  Handle a, reply;
  char *caller = nullptr;
  EXPECT_EQ(app_control_get_caller(a.h, &caller), APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(caller, nullptr);
  EXPECT_EQ(app_control_reply_to_launch_request(reply.h, a.h, APP_CONTROL_RESULT_SUCCEEDED),
            APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_reply_to_launch_request(nullptr, a.h, APP_CONTROL_RESULT_SUCCEEDED),
            APP_CONTROL_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(app_control_reply_to_launch_request(reply.h, nullptr, APP_CONTROL_RESULT_SUCCEEDED),
            APP_CONTROL_ERROR_INVALID_PARAMETER);
}

}  // namespace
