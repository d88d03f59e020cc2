#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nuv_platform/platform_app_control.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

using Setter = int (*)(app_control_h, const char*);
using Getter = int (*)(app_control_h, char**);

struct Member {
  Setter set;
  Getter get;
};
constexpr Member kMembers[] = {{app_control_set_app_id, app_control_get_app_id},
                               {app_control_set_operation, app_control_get_operation},
                               {app_control_set_uri, app_control_get_uri}};

class HostAppControlTest : public testing::Test {
 protected:
  HostAppControlTest() { EXPECT_EQ(app_control_create(&request_), 0); }
  ~HostAppControlTest() override {
    if (request_ == nullptr) return;
    EXPECT_EQ(app_control_destroy(request_), 0);
  }

  std::string Extra(const char* key) {
    char* value = nullptr;
    if (app_control_get_extra_data(request_, key, &value) != 0) return "(none)";
    const std::string text = value;
    free(value);
    return text;
  }

  app_control_h request_ = nullptr;
};

bool NoteKey(app_control_h, const char* key, void* data) {
  static_cast<std::vector<std::string>*>(data)->emplace_back(key);
  return true;
}

TEST_F(HostAppControlTest, TextsAreKeptAndHandedOutAsCopies) {
  for (const Member& member : kMembers) {
    char* value = nullptr;
    EXPECT_EQ(member.get(request_, &value), 0);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(member.set(request_, "first"), 0);
    EXPECT_EQ(member.set(request_, "second"), 0);
    EXPECT_EQ(member.get(request_, &value), 0);
    EXPECT_STREQ(value, "second");
    value[0] = 'S';
    free(value);
    EXPECT_EQ(member.get(request_, &value), 0);
    EXPECT_STREQ(value, "second");
    free(value);
  }
}

TEST_F(HostAppControlTest, MissingArgumentsAreRefused) {
  static char other;
  char* value = &other;
  for (const Member& member : kMembers) {
    EXPECT_LT(member.set(nullptr, "x"), 0);
    EXPECT_LT(member.set(request_, nullptr), 0);
    EXPECT_LT(member.get(request_, nullptr), 0);
    EXPECT_LT(member.get(nullptr, &value), 0);
    EXPECT_EQ(value, nullptr) << "a caller that frees in any case must not free a stray pointer";
  }
  EXPECT_LT(app_control_create(nullptr), 0);
  EXPECT_LT(app_control_destroy(nullptr), 0);
  EXPECT_LT(app_control_add_extra_data(nullptr, "k", "v"), 0);
  EXPECT_LT(app_control_add_extra_data(request_, nullptr, "v"), 0);
  EXPECT_LT(app_control_add_extra_data(request_, "k", nullptr), 0);
  EXPECT_LT(app_control_get_extra_data(nullptr, "k", &value), 0);
  EXPECT_LT(app_control_get_extra_data(request_, nullptr, &value), 0);
  EXPECT_LT(app_control_get_extra_data(request_, "k", nullptr), 0);
  EXPECT_LT(app_control_foreach_extra_data(nullptr, NoteKey, nullptr), 0);
  EXPECT_LT(app_control_foreach_extra_data(request_, nullptr, nullptr), 0);
  EXPECT_LT(app_control_send_launch_request(nullptr, nullptr, nullptr), 0);
}

TEST_F(HostAppControlTest, ExtraDataKeepItsOrderAndAKeyItsPlace) {
  EXPECT_EQ(app_control_add_extra_data(request_, "z", "1"), 0);
  EXPECT_EQ(app_control_add_extra_data(request_, "a", "2"), 0);
  EXPECT_EQ(app_control_add_extra_data(request_, "", ""), 0);
  EXPECT_EQ(app_control_add_extra_data(request_, "z", "3"), 0);
  std::vector<std::string> keys;
  EXPECT_EQ(app_control_foreach_extra_data(request_, NoteKey, &keys), 0);
  EXPECT_THAT(keys, ElementsAre("z", "a", ""));
  EXPECT_EQ(Extra("z"), "3");
  EXPECT_EQ(Extra("a"), "2");
  EXPECT_EQ(Extra(""), "");
}

TEST_F(HostAppControlTest, AnAbsentKeyIsAFailure) {
  static char other;
  char* value = &other;
  EXPECT_LT(app_control_get_extra_data(request_, "absent", &value), 0);
  EXPECT_EQ(value, nullptr);
}

TEST_F(HostAppControlTest, ThereIsNoLimitToExtraData) {
  constexpr int kCount = 20000;
  for (int i = 0; i < kCount; ++i) {
    ASSERT_EQ(app_control_add_extra_data(request_, std::to_string(i).c_str(), std::to_string(-i).c_str()), 0);
  }
  const std::string large(1 << 20, 'x');
  EXPECT_EQ(app_control_add_extra_data(request_, "large", large.c_str()), 0);
  std::vector<std::string> keys;
  EXPECT_EQ(app_control_foreach_extra_data(request_, NoteKey, &keys), 0);
  ASSERT_EQ(keys.size(), kCount + 1u);
  EXPECT_EQ(keys[12345], "12345");
  EXPECT_EQ(Extra("12345"), "-12345");
  EXPECT_EQ(Extra("large"), large);
}

TEST_F(HostAppControlTest, FalseStopsTheWalk) {
  app_control_add_extra_data(request_, "a", "1");
  app_control_add_extra_data(request_, "b", "2");
  int calls = 0;
  const auto stop = [](app_control_h, const char*, void* data) { return ++*static_cast<int*>(data) < 1; };
  EXPECT_EQ(app_control_foreach_extra_data(request_, stop, &calls), 0);
  EXPECT_EQ(calls, 1);
}

TEST_F(HostAppControlTest, TheWalkMayAddAndReplace) {
  app_control_add_extra_data(request_, "a", "1");
  app_control_add_extra_data(request_, "b", "2");
  const auto add = [](app_control_h request, const char* key, void*) {
    return app_control_add_extra_data(request, (std::string("new ") + key).c_str(), key) == 0 &&
           app_control_add_extra_data(request, key, "changed") == 0;
  };
  EXPECT_EQ(app_control_foreach_extra_data(request_, add, nullptr), 0);
  std::vector<std::string> keys;
  app_control_foreach_extra_data(request_, NoteKey, &keys);
  EXPECT_THAT(keys, ElementsAre("a", "b", "new a", "new b"));
  EXPECT_EQ(Extra("b"), "changed");
}

TEST_F(HostAppControlTest, TheWalkMayDestroyTheRequestAndStop) {
  app_control_add_extra_data(request_, "a", "1");
  app_control_add_extra_data(request_, "b", "2");
  const auto destroy = [](app_control_h request, const char*, void*) {
    app_control_destroy(request);
    return false;
  };
  EXPECT_EQ(app_control_foreach_extra_data(request_, destroy, nullptr), 0);
  request_ = nullptr;
}

}  // namespace
