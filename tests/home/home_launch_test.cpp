// Launches from a page, and what all pages are told about them.
#include "home_fixture.h"

namespace {

using Json = nlohmann::json;
using testing::HasSubstr;

class HomeLaunch : public HomeTest {
 protected:
  void StartWith(const std::string& scenario = "[]", const std::vector<std::string>& options = {}) {
    WriteFile(Scenario(), scenario);
    Start({"--scenario", Scenario()}, CatalogueOf(3));
    StartHome(options);
  }
  std::string Scenario() const { return files_ / "scenario.json"; }

  static bool IsEnded(const Json& launch) { return !launch["took"].is_null(); }
  // The launch as a page shows it in the end.
  static Json EndOf(PageSocket& page, const Json& number) {
    return page.WaitForEvent("launch",
                             [&](const Json& launch) { return launch["launch"] == number && IsEnded(launch); });
  }
  static Json LaunchAndWait(PageSocket& page, Json request) {
    request["do"] = "launch";
    const Json answer = page.Ask(request);
    EXPECT_EQ(answer.value("ok", false), true) << answer;
    return EndOf(page, answer.value("launch", Json()));
  }
  static bool Runs(const Json& event, const std::string& app) {
    for (const Json& running : event["apps"]) {
      if (running["app"] == app) return true;
    }
    return false;
  }
};

TEST_F(HomeLaunch, TellsTheOutcomeInWords) {
  StartWith();
  const auto page = Open();
  const Json end = LaunchAndWait(*page, {{"app", "app.1"}, {"title", "Title 1"}});
  EXPECT_EQ(end["state"], "launched");
  EXPECT_EQ(end["code"], 900);
  EXPECT_EQ(end["name"], "NUV_NOTIFY_LAUNCHED");
  EXPECT_EQ(end["words"], "the application was started");
  EXPECT_EQ(end["title"], "Title 1");
  EXPECT_EQ(end["mending"], "");
}

TEST_F(HomeLaunch, SendsTheChosenOptions) {
  StartWith();
  const auto page = Open();
  EXPECT_EQ(LaunchAndWait(*page, {{"app", "app.1"}, {"background", true}})["code"], 902);
  const Json deep = LaunchAndWait(*page, {{"app", "app.2"}, {"deepLink", true}, {"payload", "page=alarm"}});
  EXPECT_EQ(deep["code"], 906);
  EXPECT_THAT(CallControl("Payloads", nullptr).Text(), HasSubstr("page=alarm"));
  const Json both = page->Ask({{"do", "launch"}, {"app", "app.0"}, {"force", true}, {"background", true}});
  EXPECT_EQ(both["ok"], false);
  EXPECT_THAT(both["error"].get<std::string>(), HasSubstr("both forced and in the background"));
}

TEST_F(HomeLaunch, ReachesEachPageThatIsOpen) {
  StartWith();
  const auto one = Open();
  const auto other = Open();
  const Json number = one->Ask({{"do", "launch"}, {"app", "app.1"}})["launch"];
  EXPECT_EQ(EndOf(*one, number)["state"], "launched");
  EXPECT_EQ(EndOf(*other, number)["state"], "launched");
  for (PageSocket* page : {one.get(), other.get()}) {
    EXPECT_TRUE(page->WaitForEvent("running", [](const Json& event) { return Runs(event, "app.1"); }).is_object());
  }
}

TEST_F(HomeLaunch, GoesOnWithoutThePageThatAskedForIt) {
  StartWith(R"([{"method":"launch_app","delay_ms":500}])");
  const auto other = Open();
  {
    const auto page = Open();
    ASSERT_EQ(page->Ask({{"do", "launch"}, {"app", "app.1"}})["ok"], true);
    page->GoAway();
  }
  EXPECT_EQ(EndOf(*other, 1)["state"], "launched");
  const Json hello = Open()->Ask({{"do", "hello"}});
  ASSERT_EQ(hello["launches"].size(), 1U);
  EXPECT_EQ(hello["launches"][0]["state"], "launched");
}

TEST_F(HomeLaunch, SaysWhatFailedWhyAndWhatWouldMendIt) {
  Start({}, R"({"apps":[{"id":"app","title":"App","install_state":2}]})");
  StartHome();
  const auto page = Open();
  const Json number = page->Ask({{"do", "launch"}, {"app", "app"}})["launch"];
  const Json end = page->WaitForEvent("launch", [&](const Json& launch) {
    return launch["launch"] == number && IsEnded(launch) && !launch["reasons"].empty();
  });
  EXPECT_EQ(end["state"], "failed");
  EXPECT_EQ(end["code"], 401);
  EXPECT_THAT(end["reasons"][0].get<std::string>(), HasSubstr("it is not installed"));
  EXPECT_THAT(end["mending"].get<std::string>(), HasSubstr("Install the application"));
  const Json why = page->Ask({{"do", "explain"}, {"app", "app"}});
  EXPECT_EQ(why["launch"], "A launch does not succeed.");
  EXPECT_THAT(why["reasons"][0]["words"].get<std::string>(), HasSubstr("it is not installed"));
}

TEST_F(HomeLaunch, TakesWhatMendsItFromTheReasonWhereTheServiceNamesNone) {
  WriteFile(Scenario(), R"([{"method":"launch_app","start":false,"results":[{"event":903,"res":404}]}])");
  Start({"--scenario", Scenario()}, R"({"apps":[{"id":"app","title":"App","install_state":2}]})");
  StartHome();
  const auto page = Open();
  page->Send(R"({"do":"launch","app":"app"})");
  const Json end = page->WaitForEvent("launch", [](const Json& launch) { return !launch["reasons"].empty(); });
  EXPECT_EQ(end["code"], 404);
  EXPECT_THAT(end["mending"].get<std::string>(), HasSubstr("Install the application"));
}

TEST_F(HomeLaunch, WithoutAnOutcomeTimesOutAndIsCorrectedByALateOne) {
  StartWith(R"([{"method":"launch_app","results":[{"event":900,"res":0,"delay_ms":2500}]}])", {"--wait", "0.5"});
  const auto page = Open();
  const Json end = LaunchAndWait(*page, {{"app", "app.1"}});
  EXPECT_EQ(end["state"], "timed out");
  EXPECT_EQ(end["words"], "no outcome came within 0.5 s");
  const Json late = page->WaitForEvent("launch", [](const Json& launch) { return launch["state"] == "launched"; });
  EXPECT_EQ(late["launch"], end["launch"]);
}

TEST_F(HomeLaunch, SaysThatTheServiceHasGoneAndGoesOnWhenItIsBack) {
  StartWith(R"([{"method":"launch_app","answer":"exit_after_reply","count":1}])");
  const auto page = Open();
  EXPECT_EQ(LaunchAndWait(*page, {{"app", "app.1"}})["state"], "service gone");
  EXPECT_TRUE(page->WaitForEvent("tv", [](const Json& tv) { return tv["service"] == false; }).is_object());
  EXPECT_EQ(page->Ask({{"do", "tiles"}, {"view", "index"}, {"index", 0}, {"count", 9}})["total"], 3);
  EXPECT_EQ(LaunchAndWait(*page, {{"app", "app.1"}})["state"], "service gone");
  WriteFile(Scenario(), "[]");
  Start({"--scenario", Scenario()}, CatalogueOf(3));
  EXPECT_TRUE(page->WaitForEvent("tv", [](const Json& tv) { return tv["simulator"] == true; }).is_object());
  EXPECT_EQ(LaunchAndWait(*page, {{"app", "app.2"}})["state"], "launched");
}

TEST_F(HomeLaunch, SaysThatTheBusHasGoneAndGoesOnWhenItIsBack) {
  StartWith();
  const auto page = Open();
  ASSERT_EQ(LaunchAndWait(*page, {{"app", "app.1"}})["state"], "launched");
  bus_.Kill();
  EXPECT_TRUE(page->WaitForEvent("tv", [](const Json& tv) { return tv["bus"] == false; }).is_object());
  EXPECT_EQ(LaunchAndWait(*page, {{"app", "app.1"}})["state"], "bus gone");
  EXPECT_EQ(page->Ask({{"do", "tiles"}, {"view", "index"}, {"index", 0}, {"count", 9}})["total"], 3);
  simulator_->KillAndWait();
  bus_.Start();
  connection_ = ConnectTo(bus_);
  Start({}, CatalogueOf(3));
  EXPECT_TRUE(page->WaitForEvent("tv", [](const Json& tv) { return tv["simulator"] == true; }).is_object());
  EXPECT_EQ(LaunchAndWait(*page, {{"app", "app.2"}})["state"], "launched");
}

TEST_F(HomeLaunch, ShowsWhatRunsAndTerminatesIt) {
  StartWith();
  const auto page = Open();
  ASSERT_EQ(LaunchAndWait(*page, {{"app", "app.1"}, {"title", "x"}})["state"], "launched");
  const Json running = page->WaitForEvent("running", [](const Json& event) { return Runs(event, "app.1"); });
  EXPECT_EQ(running["apps"][0]["front"], true);
  EXPECT_EQ(running["apps"][0]["title"], "Title 1");
  EXPECT_EQ(page->Ask({{"do", "terminate"}, {"app", "app.1"}})["ok"], true);
  EXPECT_TRUE(page->WaitForEvent("running", [](const Json& event) { return event["apps"].empty(); }).is_object());
  const Json unknown = page->Ask({{"do", "terminate"}, {"app", "nothing"}});
  EXPECT_EQ(unknown["ok"], false);
  EXPECT_THAT(unknown["error"].get<std::string>(), HasSubstr("no usable application"));
}

TEST_F(HomeLaunch, LeavesTheCatalogueReadableWhileTheServiceIsSilent) {
  StartWith(R"([{"method":"launch_app","answer":"none"}])");
  const auto page = Open();
  for (int i = 0; i < 20; ++i) page->Send(R"({"do":"launch","app":"app.1"})");
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(page->Ask({{"do", "tiles"}, {"view", "index"}, {"index", 0}, {"count", 9}})["total"], 3);
  EXPECT_EQ(page->Ask({{"do", "tiles"}, {"view", "index"}, {"index", 0}, {"count", 9}, {"search", "2"}})["total"], 1);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

}  // namespace
