// The live messages and the time line of a page.
#include "home_fixture.h"

namespace {

using Json = nlohmann::json;
using testing::HasSubstr;

class HomeMessages : public HomeTest {
 protected:
  void SetUp() override {
    Start({}, CatalogueOf(2));
    StartHome();
    page_ = Open();
    // The monitor listens when it has told who owns the service's name.
    EXPECT_TRUE(WaitUntil([this] { return !Lines().empty(); }));
  }
  // All that came so far.
  const std::vector<std::string>& Lines() {
    for (bool more = true; more;) {
      const Json answer = page_->Ask({{"do", "lines"}, {"after", next_}});
      if (!answer.is_object()) break;
      EXPECT_EQ(answer["missed"], 0);
      EXPECT_EQ(answer["problem"], "");
      for (const Json& line : answer["lines"]) lines_.push_back(line);
      next_ = answer["next"].get<std::int64_t>();
      more = answer["more"];
    }
    return lines_;
  }
  int Count(const std::string& text) {
    Lines();
    return static_cast<int>(std::count_if(
        lines_.begin(), lines_.end(), [&](const std::string& line) { return line.find(text) != std::string::npos; }));
  }
  void LaunchAndWait() {
    const Json number = page_->Ask({{"do", "launch"}, {"app", "app.1"}})["launch"];
    page_->WaitForEvent("launch",
                        [&](const Json& launch) { return launch["launch"] == number && !launch["took"].is_null(); });
  }

  std::unique_ptr<PageSocket> page_;
  std::int64_t next_ = 0;
  std::vector<std::string> lines_;
};

TEST_F(HomeMessages, ShowEachLaunchOnce) {
  for (int i = 0; i < 20; ++i) LaunchAndWait();
  EXPECT_TRUE(WaitUntil([this] { return Count(" call app_launch_result ") == 20; }));
  EXPECT_EQ(Count(" call launch_app "), 20);
  EXPECT_EQ(Count(" return launch_app "), 20);
}

TEST_F(HomeMessages, AreToldToHaveCome) {
  while (!page_->WaitFor([](const Json& message) { return message.value("event", "") == "lines"; }, Milliseconds(0))
              .is_null()) {
  }
  LaunchAndWait();
  EXPECT_TRUE(page_->WaitForEvent("lines").is_object());
}

TEST_F(HomeMessages, ComeInPartsAndNoFurtherThanTheyAre) {
  for (int i = 0; i < 30; ++i) LaunchAndWait();
  ASSERT_TRUE(WaitUntil([this] { return Count(" call app_launch_result ") == 30; }));
  const Json first = page_->Ask({{"do", "lines"}, {"after", 0}});
  EXPECT_EQ(first["lines"].size(), 200U);
  EXPECT_EQ(first["next"], 200);
  EXPECT_EQ(first["more"], true);
  const Json beyond = page_->Ask({{"do", "lines"}, {"after", 1000000}});
  EXPECT_TRUE(beyond["lines"].empty());
  EXPECT_LE(beyond["next"].get<std::int64_t>(), next_ + 10);
  EXPECT_EQ(page_->Ask({{"do", "lines"}, {"after", -1}})["ok"], false);
}

TEST_F(HomeMessages, KeepThePinToThemselves) {
  CallControl("EnterPin", g_variant_new("(us)", 1U, "1234567"));
  EXPECT_TRUE(WaitUntil([this] { return Count(" call EnterPin ") == 1; }));
  EXPECT_EQ(Count("1234567"), 0);
}

TEST_F(HomeMessages, GoOnWhenTheBusIsBack) {
  LaunchAndWait();
  bus_.Kill();
  simulator_->KillAndWait();
  ASSERT_TRUE(page_->WaitForEvent("tv", [](const Json& tv) { return tv["bus"] == false; }).is_object());
  bus_.Start();
  connection_ = ConnectTo(bus_);
  Start({}, CatalogueOf(2));
  ASSERT_TRUE(page_->WaitForEvent("tv", [](const Json& tv) { return tv["simulator"] == true; }).is_object());
  EXPECT_TRUE(WaitUntil([this] {
    LaunchAndWait();
    return Count(" call app_launch_result ") >= 2;
  }));
}

class HomeMessagesWithoutABus : public HomeTest {};

TEST_F(HomeMessagesWithoutABus, ComeOnceThereIsOne) {
  bus_.Kill();
  StartHome();
  const auto page = Open();
  EXPECT_EQ(page->Ask({{"do", "hello"}})["tv"]["bus"], false);
  bus_.Start();
  connection_ = ConnectTo(bus_);
  Start({}, CatalogueOf(2));
  const auto lines_have = [&](const char* text) {
    return page->Ask({{"do", "lines"}, {"after", 0}})["lines"].dump().find(text) != std::string::npos;
  };
  // A page that asks without pause is taken for a flood.
  while (!lines_have(" service present")) ASSERT_TRUE(page->WaitForEvent("lines").is_object());
  page->Ask({{"do", "launch"}, {"app", "app.1"}});
  while (!lines_have(" call launch_app ")) ASSERT_TRUE(page->WaitForEvent("lines").is_object());
}

TEST_F(HomeMessages, AreATimeLineToo) {
  LaunchAndWait();
  Json timeline;
  const auto has = [&](const char* list, const std::string& name) {
    return std::any_of(timeline[list].begin(), timeline[list].end(),
                       [&](const Json& one) { return one["name"].get<std::string>().find(name) != std::string::npos; });
  };
  EXPECT_TRUE(WaitUntil([&] {
    timeline = page_->Ask({{"do", "timeline"}});
    return has("bars", "launch_app") && has("bars", "app_launch_result");
  })) << timeline.dump(1);
  EXPECT_TRUE(has("lanes", "nuv-home"));
  EXPECT_TRUE(has("lanes", "nuv-simulator"));
  EXPECT_FALSE(timeline["marks"].empty());
}

class HomeMessagesRefused : public HomeTest {
 protected:
  HomeMessagesRefused()
      : HomeTest("<policy context=\"default\"><deny send_interface=\"org.freedesktop.DBus.Monitoring\"/></policy>") {}
};

TEST_F(HomeMessagesRefused, AreThoseOfTheSimulatorWhereTheBusShowsNone) {
  Start({}, CatalogueOf(2));
  StartHome();
  const auto page = Open();
  Json answer;
  ASSERT_TRUE(WaitUntil([&] {
    answer = page->Ask({{"do", "lines"}, {"after", 0}});
    return answer["problem"] != "";
  }));
  EXPECT_THAT(answer["problem"].get<std::string>(), HasSubstr("the bus does not show its messages"));
  page->Ask({{"do", "launch"}, {"app", "app.1"}});
  EXPECT_TRUE(WaitUntil([&] {
    answer = page->Ask({{"do", "lines"}, {"after", 0}});
    return answer["lines"].dump().find("started app=") != std::string::npos;
  })) << answer;
}

}  // namespace
