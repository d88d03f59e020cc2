// What only a simulator can be asked for: the PIN in the page, and faults.
#include "home_fixture.h"

namespace {

using Json = nlohmann::json;
using testing::HasSubstr;

class HomeSimulator : public HomeTest {
 protected:
  void SetUp() override {
    Start({}, R"({"apps":[{"id":"locked","title":"Locked","is_lock":1},{"id":"open","title":"Open"}]})");
    StartHome({"--wait", "2"});
    page_ = Open();
    EXPECT_TRUE(WaitUntil([this] { return Sources() == "(['a client that asks for it'],)"; })) << Sources();
  }
  std::string Sources() const { return CallControl("PinSources", nullptr).Text(); }
  Json Launch(const char* app) { return page_->Ask({{"do", "launch"}, {"app", app}})["launch"]; }
  Json EndOf(const Json& number) {
    return page_->WaitForEvent(
        "launch", [&](const Json& launch) { return launch["launch"] == number && !launch["took"].is_null(); });
  }
  Json Question() {
    const Json event = page_->WaitForEvent("pins", [](const Json& pins) { return !pins["pins"].empty(); });
    return event.is_null() ? Json::object() : event["pins"][0];
  }

  std::unique_ptr<PageSocket> page_;
};

TEST_F(HomeSimulator, AsksForThePinOfALockedApplication) {
  const Json number = Launch("locked");
  const Json question = Question();
  EXPECT_EQ(question["app"], "locked");
  const Json answer = page_->Ask({{"do", "enter-pin"}, {"question", question["question"]}, {"pin", "0000"}});
  EXPECT_EQ(answer["accepted"], true);
  EXPECT_EQ(EndOf(number)["state"], "launched");
  EXPECT_TRUE(page_->WaitForEvent("pins", [](const Json& pins) { return pins["pins"].empty(); }).is_object());
}

TEST_F(HomeSimulator, AWrongPinOrNoneIsAFailureWithItsReason) {
  const Json wrong = Launch("locked");
  const Json question = Question()["question"];
  EXPECT_EQ(page_->Ask({{"do", "enter-pin"}, {"question", question}, {"pin", "1234"}})["accepted"], false);
  const Json refused = EndOf(wrong);
  EXPECT_EQ(refused["code"], 403);
  EXPECT_THAT(refused["mending"].get<std::string>(), HasSubstr("right PIN"));
  const Json cancelled = Launch("locked");
  page_->WaitForEvent("pins", [](const Json& pins) { return pins["pins"].empty(); });
  EXPECT_EQ(page_->Ask({{"do", "cancel-pin"}, {"question", Question()["question"]}})["ok"], true);
  EXPECT_EQ(EndOf(cancelled)["code"], 405);
}

TEST_F(HomeSimulator, WaitsForThePinLongerThanForAnOutcome) {
  const Json number = Launch("locked");
  const Json question = Question()["question"];
  const auto ended = [&](const Json& message) {
    return message.value("event", "") == "launch" && message["launch"] == number && !message["took"].is_null();
  };
  EXPECT_TRUE(page_->WaitFor(ended, Milliseconds(3000)).is_null());
  page_->Ask({{"do", "enter-pin"}, {"question", question}, {"pin", "0000"}});
  EXPECT_EQ(EndOf(number)["state"], "launched");
}

TEST_F(HomeSimulator, AQuestionThatIsNotOpenIsRefused) {
  const Json answer = page_->Ask({{"do", "enter-pin"}, {"question", 77}, {"pin", "0000"}});
  EXPECT_EQ(answer["ok"], false);
  EXPECT_NE(answer["error"], "");
}

TEST_F(HomeSimulator, WithoutAPageNobodyIsAsked) {
  page_->GoAway();
  EXPECT_TRUE(WaitUntil([this] { return Sources() == "([],)"; }));
}

TEST_F(HomeSimulator, APageThatComesLateSeesTheOpenQuestion) {
  Launch("locked");
  const Json question = Question();
  EXPECT_EQ(Open()->Ask({{"do", "hello"}})["pins"][0], question);
}

TEST_F(HomeSimulator, MisbehavesForAsManyLaunchesAsWereAskedFor) {
  ASSERT_EQ(page_->Ask({{"do", "fault"}, {"fault", "crashing"}, {"calls", 2}})["ok"], true);
  EXPECT_EQ(EndOf(Launch("open"))["code"], 406);
  EXPECT_EQ(EndOf(Launch("open"))["code"], 406);
  EXPECT_EQ(EndOf(Launch("open"))["state"], "launched");
}

TEST_F(HomeSimulator, MisbehavesNoMoreWhenItIsToldTo) {
  ASSERT_EQ(page_->Ask({{"do", "fault"}, {"fault", "failing"}, {"calls", 1000}})["ok"], true);
  EXPECT_EQ(EndOf(Launch("open"))["state"], "failed");
  ASSERT_EQ(page_->Ask({{"do", "fault"}, {"fault", "none"}})["ok"], true);
  EXPECT_EQ(EndOf(Launch("open"))["state"], "launched");
}

TEST_F(HomeSimulator, HasEachFaultThatThePageOffers) {
  for (const char* fault : {"slow", "silent", "no-outcome", "failing", "refusing", "crashing", "dying", "none"}) {
    EXPECT_EQ(page_->Ask({{"do", "fault"}, {"fault", fault}})["ok"], true) << fault;
  }
  EXPECT_THAT(page_->Ask({{"do", "fault"}, {"fault", "other"}})["error"].get<std::string>(),
              HasSubstr("no such fault"));
  EXPECT_THAT(page_->Ask({{"do", "fault"}, {"fault", "slow"}, {"calls", 1001}})["error"].get<std::string>(),
              HasSubstr("out of bounds"));
}

TEST_F(HomeSimulator, EndsItAndHasNobodyToTellAfterThat) {
  ASSERT_EQ(page_->Ask({{"do", "fault"}, {"fault", "dying"}})["ok"], true);
  EXPECT_EQ(EndOf(Launch("open"))["state"], "service gone");
  EXPECT_TRUE(page_->WaitForEvent("tv", [](const Json& tv) { return tv["simulator"] == false; }).is_object());
  EXPECT_EQ(page_->Ask({{"do", "fault"}, {"fault", "slow"}})["ok"], false);
}

}  // namespace
