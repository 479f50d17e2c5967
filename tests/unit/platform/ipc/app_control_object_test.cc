// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the app control object: target, operation, extras, clone.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "alloc_faults.hh"
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

// Many keys, replaced and removed in between: the object reads back exactly as a plain ordered
// list of unique keys would (first place kept on replace, the rest closing up on removal, a key
// that comes back going to the end), by key and in order, and so does its clone.
TEST(AppControlObject, ManyExtrasReadBackAsAnOrderedListOfUniqueKeys) {
  Handle a;
  Extras model;
  auto model_set = [&model](const std::string &k, const std::string &v) {
    for (auto &e : model)
      if (e.first == k) {
        e.second = v;
        return;
      }
    model.emplace_back(k, v);
  };
  auto model_erase = [&model](const std::string &k) {
    for (auto it = model.begin(); it != model.end(); ++it)
      if (it->first == k) {
        model.erase(it);
        return;
      }
  };
  for (int i = 0; i < 1200; ++i) {
    const std::string k = "key" + std::to_string(i % 1000);  // the last 200 replace
    const std::string v = "v" + std::to_string(i);
    ASSERT_EQ(app_control_add_extra_data(a.h, k.c_str(), v.c_str()), 0);
    model_set(k, v);
  }
  for (int i = 0; i < 1000; i += 7) {
    const std::string k = "key" + std::to_string(i);
    ASSERT_EQ(app_control_remove_extra_data(a.h, k.c_str()), 0);
    model_erase(k);
  }
  for (int i = 0; i < 1000; i += 21) {  // every third removed key comes back
    const std::string k = "key" + std::to_string(i);
    ASSERT_EQ(app_control_add_extra_data(a.h, k.c_str(), "back"), 0);
    model_set(k, "back");
  }
  ASSERT_EQ(app_control_add_extra_data(a.h, "key1", "last"), 0);  // still in its first place
  model_set("key1", "last");

  EXPECT_EQ(all_extras(a.h), model);
  for (int i = 0; i < 1000; ++i) {
    const std::string k = "key" + std::to_string(i);
    std::string want = "<" + std::to_string(APP_CONTROL_ERROR_KEY_NOT_FOUND) + ">";
    for (const auto &e : model)
      if (e.first == k) want = e.second;
    EXPECT_EQ(get(a.h, k.c_str()), want) << k;
  }
  app_control_h c = nullptr;
  ASSERT_EQ(app_control_clone(&c, a.h), APP_CONTROL_ERROR_NONE);
  ASSERT_EQ(app_control_remove_extra_data(a.h, "key2"), 0);  // the clone keeps its own
  EXPECT_EQ(all_extras(c), model);
  EXPECT_EQ(get(c, "key998"), "v998");
  app_control_destroy(c);
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

// Out of memory: every allocation of one life of an app control object (create, target,
// operation, extras added and replaced, clone, every value read back, the walk over the extras)
// is made to fail in turn. The call that meets it reports APP_CONTROL_ERROR_OUT_OF_MEMORY and
// leaves the object as it was; nothing crashes and nothing leaks.
TEST(AppControlObjectOutOfMemory, EveryAllocationOfAnObjectsLifeMayFail) {
  if (!vtest::allocation_faults_built()) GTEST_SKIP() << "built without VELMORA_ALLOC_FAULTS";
  const long total =
      vtest::each_failing_allocation(vtest::kPlatformAllocations, [](long, vtest::AllocationRun &) {
        app_control_h h = nullptr;
        int ret = app_control_create(&h);
        if (ret != APP_CONTROL_ERROR_NONE) {
          EXPECT_EQ(ret, APP_CONTROL_ERROR_OUT_OF_MEMORY);
          EXPECT_EQ(h, nullptr);
          return;
        }
        auto ok_or_oom = [](int r) {
          return r == APP_CONTROL_ERROR_NONE || r == APP_CONTROL_ERROR_OUT_OF_MEMORY;
        };
        ret = app_control_set_app_id(h, "dev.example.target");
        EXPECT_TRUE(ok_or_oom(ret)) << ret;
        char *app_id = nullptr;
        if (app_control_get_app_id(h, &app_id) == APP_CONTROL_ERROR_NONE) {
          // Set, or as before (unset) when setting it failed.
          if (ret == APP_CONTROL_ERROR_NONE)
            EXPECT_STREQ(app_id, "dev.example.target");
          else
            EXPECT_EQ(app_id, nullptr);
        }
        free(app_id);
        EXPECT_TRUE(ok_or_oom(app_control_set_operation(h, "op/x")));
        const int first = app_control_add_extra_data(h, "k1", "v1");
        EXPECT_TRUE(ok_or_oom(first)) << first;
        // Added, or not there when adding failed; reading it back may fail on its own.
        const std::string k1 = get(h, "k1");
        const std::string oom = "<" + std::to_string(APP_CONTROL_ERROR_OUT_OF_MEMORY) + ">";
        if (k1 != oom) {
          EXPECT_EQ(k1, first == APP_CONTROL_ERROR_NONE
                            ? "v1"
                            : "<" + std::to_string(APP_CONTROL_ERROR_KEY_NOT_FOUND) + ">");
        }
        const int replaced = app_control_add_extra_data(h, "k1", "v2");
        EXPECT_TRUE(ok_or_oom(replaced)) << replaced;
        app_control_h clone = nullptr;
        ret = app_control_clone(&clone, h);
        EXPECT_TRUE(ok_or_oom(ret)) << ret;
        if (ret == APP_CONTROL_ERROR_NONE) {
          char *v = nullptr;
          ret = app_control_get_extra_data(clone, "k1", &v);
          EXPECT_TRUE(ok_or_oom(ret) ||
                      (first != APP_CONTROL_ERROR_NONE && replaced != APP_CONTROL_ERROR_NONE &&
                       ret == APP_CONTROL_ERROR_KEY_NOT_FOUND))
              << ret;
          free(v);
          app_control_destroy(clone);
        } else {
          EXPECT_EQ(clone, nullptr);
        }
        int seen = 0;
        ret = app_control_foreach_extra_data(
            h,
            [](app_control_h, const char *, void *d) {
              ++*static_cast<int *>(d);
              return true;
            },
            &seen);
        EXPECT_TRUE(ok_or_oom(ret)) << ret;
        app_control_destroy(h);
      });
  EXPECT_GE(total, 8);
}
