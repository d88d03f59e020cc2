// Names and meanings of the service's numbers, in C and in C++.
#include <gtest/gtest.h>
#include <nuv/nuv_launch_names.h>

#include <set>
#include <string>
#include <utility>

#include "names_in_c.h"

namespace {

// The names of events are those of the constants, so that a log can be searched for them.
TEST(LaunchNames, OfAnEventIsThatOfItsConstant) {
  EXPECT_STREQ(nuv_notify_event_name(NUV_NOTIFY_LAUNCHED), "NUV_NOTIFY_LAUNCHED");
  EXPECT_STREQ(nuv_notify_event_name(NUV_NOTIFY_BROUGHT_TO_FRONT), "NUV_NOTIFY_BROUGHT_TO_FRONT");
  EXPECT_STREQ(nuv_notify_event_name(902), "NUV_NOTIFY_STARTED_IN_BACKGROUND");
  EXPECT_STREQ(nuv_notify_event_name(903), "NUV_NOTIFY_LAUNCH_FAILED");
  EXPECT_STREQ(nuv_notify_event_name(904), "NUV_NOTIFY_PRELOADED");
  EXPECT_STREQ(nuv_notify_event_name(905), "NUV_NOTIFY_PRELOAD_FAILED");
  EXPECT_STREQ(nuv_notify_event_name(906), "NUV_NOTIFY_DEEPLINK_DELIVERED");
  EXPECT_STREQ(nuv_notify_event_name(907), "NUV_NOTIFY_DEEPLINK_FAILED");
}

TEST(LaunchNames, OfStatusResultAndPopupAreWords) {
  EXPECT_STREQ(nuv_launch_status_text(NUV_LAUNCH_STATUS_UNKNOWN_APP), "the catalogue does not know the application");
  EXPECT_STREQ(nuv_launch_status_text(NUV_LAUNCH_STATUS_TIMED_OUT), "the service did not answer in time");
  EXPECT_STREQ(nuv_launch_result_text(NUV_LAUNCH_RESULT_LAUNCHED), "the application was started");
  EXPECT_STREQ(nuv_launch_result_text(NUV_LAUNCH_RESULT_CANCELLED), "the user cancelled");
  EXPECT_STREQ(nuv_popup_name(LAUNCH_ERROR_POPUP_UNKNOWN_TITLE), "unknown-title");
  EXPECT_STREQ(nuv_popup_name(LAUNCH_ERROR_POPUP_TYPE_2), "type-2");
  EXPECT_STREQ(nuv_popup_name(LAUNCH_ERROR_POPUP_NO_APP_ID), "no-app-id");
}

TEST(LaunchNames, NoNumberGivesNull) {
  EXPECT_STREQ(nuv_launch_status_text(0), "no reason was given");
  for (const int number : {-1, 5, 399, 407, 411, 413, 599, 613, 899, 908, 0x7fffffff, -0x7fffffff - 1}) {
    EXPECT_STREQ(nuv_notify_event_name(number), "unknown event") << number;
    EXPECT_STREQ(nuv_launch_status_text(number), "unknown status") << number;
    EXPECT_STREQ(nuv_launch_result_text(number), "unknown result") << number;
    EXPECT_STREQ(nuv_popup_name(number), "unknown popup") << number;
    for (int kind = NUV_NUMBER_EVENT; kind <= NUV_NUMBER_POPUP; ++kind) {
      EXPECT_EQ(nuv_find_number(static_cast<nuv_number_kind_e>(kind), number), nullptr) << number;
    }
  }
}

TEST(LaunchNames, OfOneKindAreNotThoseOfAnother) {
  EXPECT_STREQ(nuv_notify_event_name(404), "unknown event");
  EXPECT_STREQ(nuv_launch_status_text(900), "unknown status");
  EXPECT_STREQ(nuv_launch_result_text(404), "unknown result");
  EXPECT_STREQ(nuv_popup_name(600), "unknown popup");
}

TEST(LaunchNames, TheTableHasEachNumberOnceAndSaysWhatItMeans) {
  std::set<std::pair<int, int>> seen;
  for (const nuv_number_s* row = nuv_numbers(); row->name != nullptr; ++row) {
    EXPECT_TRUE(seen.emplace(row->kind, row->number).second) << row->name;
    EXPECT_STRNE(row->text, "") << row->name;
    EXPECT_EQ(nuv_find_number(row->kind, row->number), row) << row->name;
  }
  const std::pair<nuv_number_kind_e, std::pair<int, int>> ranges[] = {{NUV_NUMBER_EVENT, {900, 907}},
                                                                      {NUV_NUMBER_STATUS, {400, 406}},
                                                                      {NUV_NUMBER_STATUS, {412, 412}},
                                                                      {NUV_NUMBER_RESULT, {600, 612}},
                                                                      {NUV_NUMBER_POPUP, {0, 4}}};
  std::set<std::pair<int, int>> wanted;
  for (const auto& [kind, range] : ranges) {
    for (int number = range.first; number <= range.second; ++number) wanted.emplace(kind, number);
  }
  EXPECT_EQ(seen, wanted);
}

TEST(LaunchNames, SayWhichNumbersAreASuccess) {
  std::set<int> successes;
  for (const nuv_number_s* row = nuv_numbers(); row->name != nullptr; ++row) {
    if (row->sense == NUV_NUMBER_SUCCESS) successes.insert(row->number);
  }
  EXPECT_EQ(successes, (std::set<int>{900, 901, 902, 904, 906, 600, 601, 602, 603, 612}));
}

TEST(LaunchNames, AreTheSameInC) {
  for (int number = -2; number < 1000; ++number) {
    EXPECT_STREQ(EventNameInC(number), nuv_notify_event_name(number)) << number;
    EXPECT_STREQ(StatusTextInC(number), nuv_launch_status_text(number)) << number;
    EXPECT_STREQ(ResultTextInC(number), nuv_launch_result_text(number)) << number;
    EXPECT_STREQ(PopupNameInC(number), nuv_popup_name(number)) << number;
  }
}

}  // namespace
