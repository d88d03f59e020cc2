// nuv::launch(): the outcome that its caller waits for.
#include <pthread.h>

#include "launch_desk_test.h"

namespace {

using nuv::LaunchEnd;
using nuv::LaunchMode;
using nuv::LaunchOptions;
using nuv::LaunchOutcome;

class Launching : public LaunchDeskTest {};

TEST_F(Launching, IsLaunchedByEachEventOfSuccess) {
  for (const int event : {900, 901, 902, 904}) {
    AnswerWith({Result(event)});
    const LaunchOutcome outcome = nuv::launch("app", {}, kLong);
    EXPECT_EQ(outcome.end, LaunchEnd::launched) << event;
    EXPECT_TRUE(outcome.ok() && outcome) << event;
    EXPECT_EQ(outcome.event, event);
    EXPECT_STREQ(outcome.text(), nuv_find_number(NUV_NUMBER_EVENT, event)->text);
    service_.reset();
  }
}

TEST_F(Launching, IsDeliveredByADeepLink) {
  AnswerWith({Result(906)});
  const LaunchOutcome outcome = nuv::launch("app", {"page=1", {}, LaunchMode::deep_link}, kLong);
  EXPECT_EQ(outcome.end, LaunchEnd::delivered);
  EXPECT_TRUE(outcome.ok());
  EXPECT_STREQ(outcome.text(), "the application got its deep link");
}

TEST_F(Launching, FailsWithItsReason) {
  for (const auto& [event, status] : {std::pair(903, 401), std::pair(905, 404), std::pair(907, 403)}) {
    AnswerWith({Result(event, status)});
    const LaunchOutcome outcome = nuv::launch("app", {}, kLong);
    EXPECT_EQ(outcome.end, LaunchEnd::failed) << event;
    EXPECT_FALSE(outcome.ok() || outcome) << event;
    EXPECT_EQ(outcome.event, event);
    EXPECT_EQ(outcome.status, status);
    EXPECT_STREQ(outcome.text(), nuv_launch_status_text(status));
    service_.reset();
  }
}

TEST_F(Launching, GoesOnWhereItIsNotDecidedYetOrTheEventHasNoName) {
  AnswerWith({Result(903, 402), Result(950), Result(901)});
  EXPECT_EQ(nuv::launch("app", {}, kLong).event, 901);
}

TEST_F(Launching, TakesTheFirstOutcomeThatItHears) {
  AnswerWith({Result(900), Result(903, 404), Result(901)});
  EXPECT_EQ(nuv::launch("app", {}, kLong).event, 900);
}

TEST_F(Launching, RunsOutOfTimeWhereNothingIsHeard) {
  AnswerWith({});
  const auto start = std::chrono::steady_clock::now();
  const LaunchOutcome outcome = nuv::launch("app", {}, kShort);
  EXPECT_GE(std::chrono::steady_clock::now() - start, kShort);
  EXPECT_EQ(outcome.end, LaunchEnd::timed_out);
  EXPECT_EQ(outcome.event, 0);
  EXPECT_STREQ(outcome.text(), "no result within the time");
}

TEST_F(Launching, WithoutAnyTimeAsksAllTheSame) {
  AnswerWith({});
  for (const auto time :
       {std::chrono::milliseconds(0), std::chrono::milliseconds(-5), std::chrono::milliseconds::min()}) {
    EXPECT_EQ(nuv::launch("app", {}, time).end, LaunchEnd::timed_out);
  }
  EXPECT_EQ(service_->Launches().size(), 3u);
}

TEST_F(Launching, WaitsAsLongAsATimeCanBe) {
  AnswerWith({Result(900)});
  EXPECT_TRUE(nuv::launch("app", {}, std::chrono::milliseconds::max()).ok());
}

// What it waited with is gone by then; a sanitizer would see it used.
TEST_F(Launching, LeavesNothingThatALateOrDoubledResultCouldReach) {
  StartService();
  EXPECT_EQ(nuv::launch("first", {}, kShort).end, LaunchEnd::timed_out);
  const LaunchRequest first = service_->Launches().at(0);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(service_->SendResult(first, Result(900)));

  service_->OnAnswered([this, first](const RecordedCall& call) {
    if (call.method != "launch_app") return;
    service_->SendToClient(first, Result(901));
    service_->SendToClient(UnpackLaunch(call), Result(902));
  });
  EXPECT_EQ(nuv::launch("second", {}, kLong).event, 902);
  EXPECT_TRUE(service_->SendResult(first, Result(900)));
}

TEST_F(Launching, IsToldApartFromThatOfAnotherThread) {
  StartService();
  service_->OnAnswered([this](const RecordedCall& call) {
    if (call.method != "launch_app" || service_->Launches().size() < 2) return;
    // The later one is told first.
    const std::vector<LaunchRequest> launches = service_->Launches();
    for (size_t i = launches.size(); i-- > 0;) {
      service_->SendToClient(launches[i], Result(launches[i].texts[0] == "one" ? 900 : 901));
    }
  });
  auto one = std::async(std::launch::async, [] { return nuv::launch("one", {}, kLong); });
  auto two = std::async(std::launch::async, [] { return nuv::launch("two", {}, kLong); });
  EXPECT_EQ(one.get().event, 900);
  EXPECT_EQ(two.get().event, 901);
}

TEST_F(Launching, IsRefusedByAServiceThatIsThere) {
  StartService();
  Refuse();
  const LaunchOutcome outcome = nuv::launch("app", {}, kLong);
  EXPECT_EQ(outcome.end, LaunchEnd::refused);
  EXPECT_EQ(outcome.event, NUV_NOTIFY_LAUNCH_FAILED);
  EXPECT_EQ(outcome.status, NUV_LAUNCH_STATUS_FAILED);
  EXPECT_STREQ(outcome.text(), "the request was not accepted");
}

TEST_F(Launching, FindsTheServiceGone) {
  AnswerWith({Result(900)});
  EXPECT_TRUE(nuv::launch("app", {}, kLong).ok());
  service_.reset();
  const LaunchOutcome outcome = nuv::launch("app", {}, kLong);
  EXPECT_EQ(outcome.end, LaunchEnd::service_gone);
  EXPECT_STREQ(outcome.text(), "the service cannot be reached");
}

TEST_F(Launching, FindsTheBusGone) {
  bus_.Kill();
  const LaunchOutcome outcome = nuv::launch("app", {}, kLong);
  EXPECT_EQ(outcome.end, LaunchEnd::service_gone);
  EXPECT_EQ(outcome.event, 0);
}

// The service relays the time-out of one that it has asked itself.
TEST_F(Launching, RunsOutOfTimeWhereTheRequestIsNotAnswered) {
  StartService();
  Refuse("Timeout was reached");
  const LaunchOutcome outcome = nuv::launch("app", {}, kLong);
  EXPECT_EQ(outcome.end, LaunchEnd::timed_out);
  EXPECT_EQ(outcome.status, NUV_LAUNCH_STATUS_TIMED_OUT);
}

// The service starts the application and ends before it has answered: what was heard counts.
TEST_F(Launching, TakesAResultThatIsFasterThanTheFailureOfItsRequest) {
  StartService();
  service_->AnswerTo("launch_app", {RecordingService::Answer::kSilence});
  auto outcome = std::async(std::launch::async, [] { return nuv::launch("app", {}, kLong); });
  ASSERT_TRUE(WaitUntil([&] { return service_->Launches().size() == 1; }));
  // One callback after the other: the second result is answered once the first one has been heard.
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(service_->SendResult(service_->Launches()[0], Result(900)));
  service_.reset();
  EXPECT_EQ(outcome.get().end, LaunchEnd::launched);
}

TEST_F(Launching, OfAnUnknownApplicationWithoutBeingShownFailsWithoutTheService) {
  StartService();
  const LaunchOutcome outcome = nuv::launch("unknown", {"", {}, LaunchMode::preload}, kLong);
  EXPECT_EQ(outcome.end, LaunchEnd::failed);
  EXPECT_EQ(outcome.status, NUV_LAUNCH_STATUS_UNKNOWN_APP);
  EXPECT_TRUE(service_->Launches().empty());
}

// Force, preload, deep link, background.
std::vector<int> FlagsOf(const LaunchRequest& launch) {
  return {launch.flags.at(0), launch.flags.at(1), launch.flags.at(7), launch.flags.at(9)};
}

TEST_F(Launching, SendsItsOptions) {
  AnswerWith({Result(900)});
  const std::pair<LaunchMode, std::vector<int>> modes[] = {{LaunchMode::normal, {0, 0, 0, 0}},
                                                           {LaunchMode::forced, {1, 0, 0, 0}},
                                                           {LaunchMode::background, {0, 0, 0, 1}},
                                                           {LaunchMode::deep_link, {1, 0, 1, 0}},
                                                           {LaunchMode::background_deep_link, {1, 0, 1, 1}}};
  for (const auto& [mode, flags] : modes) {
    service_->Forget();
    nuv::launch("app", {"page=1", "org.kelvo.caller", mode}, kLong);
    ASSERT_EQ(service_->Launches().size(), 1u);
    EXPECT_EQ(FlagsOf(service_->Launches()[0]), flags) << static_cast<int>(mode);
  }
  EXPECT_EQ(service_->Launches()[0].texts.at(0), "app");
  EXPECT_EQ(service_->Launches()[0].texts.at(3), "org.kelvo.caller");
}

TEST_F(Launching, LeavesTheCallerToThePayloadWhereItIsNotGiven) {
  AnswerWith({Result(900)});
  nuv::launch("app", {"page=1&callerid=of.payload", {}}, kLong);
  nuv::launch("app", {"page=1&callerid=of.payload", ""}, kLong);
  ASSERT_EQ(service_->Launches().size(), 2u);
  EXPECT_EQ(service_->Launches()[0].texts.at(3), "of.payload");
  EXPECT_EQ(service_->Launches()[1].texts.at(3), "");
}

TEST_F(Launching, ThatIsCancelledWhileItWaitsLeavesNothingBehind) {
  StartService();
  pthread_t waiting;
  ASSERT_EQ(0, pthread_create(
                   &waiting, nullptr,
                   [](void*) -> void* {
                     nuv::launch("first", {}, kLong);
                     return nullptr;
                   },
                   nullptr));
  ASSERT_TRUE(WaitUntil([&] { return service_->Launches().size() == 1; }));
  pthread_cancel(waiting);
  void* result = nullptr;
  pthread_join(waiting, &result);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  EXPECT_TRUE(service_->SendResult(service_->Launches()[0], Result(900)));
  EXPECT_EQ(nuv::launch("second", {}, kShort).end, LaunchEnd::timed_out);
}

}  // namespace
