// The catalogue as pages of tiles.
#include "home_fixture.h"

namespace {

using Json = nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HomeTiles : public HomeTest {
 protected:
  Json Ask(Json question) {
    const Json asked = {{"do", "tiles"}, {"view", "index"}, {"index", 0}, {"count", 50}};
    for (const auto& [key, value] : asked.items()) {
      if (!question.contains(key)) question[key] = value;
    }
    if (page_ == nullptr) page_ = Open();
    return page_->Ask(question);
  }
  std::vector<std::string> Ids(const Json& question = Json::object()) {
    std::vector<std::string> ids;
    const Json answer = Ask(question);
    for (const Json& app : answer.value("apps", Json::array())) ids.push_back(app["app"]);
    return ids;
  }
  void StartWith(const Json& apps) {
    Start({}, Json{{"apps", apps}}.dump());
    StartHome();
  }

  std::unique_ptr<PageSocket> page_;
};

TEST_F(HomeTiles, ComeByPagesWithTheirNumber) {
  Start({}, CatalogueOf(5));
  StartHome();
  const Json answer = Ask({{"index", 1}, {"count", 2}});
  EXPECT_EQ(answer["total"], 5);
  EXPECT_EQ(answer["index"], 1);
  EXPECT_THAT(Ids({{"index", 1}, {"count", 2}}), ElementsAre("app.1", "app.2"));
  EXPECT_THAT(Ids({{"index", 4}, {"count", 2}}), ElementsAre("app.4"));
  EXPECT_THAT(Ids({{"index", 5}, {"count", 2}}), IsEmpty());
  EXPECT_EQ(Ask({{"index", 5}, {"count", 2}})["ok"], true);
}

TEST_F(HomeTiles, OfAnEmptyCatalogueAreNone) {
  Start();
  StartHome();
  const Json answer = Ask({});
  EXPECT_EQ(answer["ok"], true);
  EXPECT_EQ(answer["total"], 0);
}

TEST_F(HomeTiles, ComeInTheOrderOfTheView) {
  StartWith(
      {{{"id", "a"}, {"title", "Beta"}, {"app_index", 3}, {"use_count", 5}, {"launch_date", "2025-01-02 00:00:00"}},
       {{"id", "b"}, {"title", "alpha"}, {"app_index", 1}, {"use_count", 1}, {"launch_date", "2025-01-03 00:00:00"}},
       {{"id", "c"}, {"title", "Gamma"}, {"app_index", 2}, {"use_count", 9}, {"launch_date", "2025-01-01 00:00:00"}}});
  EXPECT_THAT(Ids({{"view", "index"}}), ElementsAre("b", "c", "a"));
  EXPECT_THAT(Ids({{"view", "most-used"}}), ElementsAre("c", "a", "b"));
  EXPECT_THAT(Ids({{"view", "recently-used"}}), ElementsAre("b", "a", "c"));
  EXPECT_THAT(Ids({{"view", "title"}}), ElementsAre("b", "a", "c"));
  EXPECT_THAT(Ids({{"view", "last-download"}}), testing::SizeIs(3));
}

TEST_F(HomeTiles, AreFilteredByTypeAndCategory) {
  StartWith({{{"id", "web"}, {"title", "W"}, {"app_index", 1}, {"app_type", 2}, {"app_featured", 1}},
             {{"id", "native"}, {"title", "N"}, {"app_index", 2}, {"app_type", 4}, {"app_featured", 4}},
             {{"id", "android"}, {"title", "A"}, {"app_index", 3}, {"app_type", 8}, {"app_featured", 8}},
             {{"id", "hbbtv"}, {"title", "H"}, {"app_index", 4}, {"app_type", 16}, {"hbbTV", "1"}}});
  EXPECT_THAT(Ids({{"type", 2}}), ElementsAre("web"));
  EXPECT_THAT(Ids({{"type", 4}}), ElementsAre("native"));
  EXPECT_THAT(Ids({{"type", 8}}), ElementsAre("android"));
  EXPECT_THAT(Ids({{"type", 16}}), ElementsAre("hbbtv"));
  EXPECT_THAT(Ids({{"category", 4}}), ElementsAre("native"));
  EXPECT_THAT(Ids({{"category", 8}, {"type", 2}}), IsEmpty());
  EXPECT_EQ(Ask({{"category", 8}, {"type", 2}})["total"], 0);
}

TEST_F(HomeTiles, HaveTheirMarks) {
  StartWith({{{"id", "one"}, {"title", "One"}, {"app_index", 1}, {"app_type", 2}, {"is_lock", 1}, {"version", "1.2"}},
             {{"id", "two"}, {"title", "Two"}, {"app_index", 2}, {"app_type", 16}, {"hbbTV", "1"}, {"is_hidden", 1}},
             {{"id", "three"}, {"title", "Three"}, {"app_index", 3}, {"app_type", 8}}});
  const Json apps = Ask({{"hidden", true}})["apps"];
  ASSERT_EQ(apps.size(), 3U);
  EXPECT_EQ(apps[0]["kind"], "web");
  EXPECT_EQ(apps[0]["locked"], true);
  EXPECT_EQ(apps[0]["version"], "1.2");
  EXPECT_EQ(apps[0]["icon"], false);
  EXPECT_EQ(apps[1]["kind"], "HbbTV");
  EXPECT_EQ(apps[1]["hidden"], true);
  EXPECT_EQ(apps[2]["kind"], "Android");
  EXPECT_EQ(apps[2]["locked"], false);
  EXPECT_THAT(Ids(), ElementsAre("one", "three"));
}

TEST_F(HomeTiles, AreFoundByAPartOfTheTitleInEitherCase) {
  StartWith({{{"id", "a"}, {"title", "Café ZÜRICH"}, {"app_index", 1}},
             {{"id", "b"}, {"title", "100% <b>it's</b>"}, {"app_index", 2}},
             {{"id", "c"}, {"title", "Zürich Radio"}, {"app_index", 3}, {"is_hidden", 1}}});
  EXPECT_THAT(Ids({{"search", "zürich"}}), ElementsAre("a"));
  EXPECT_THAT(Ids({{"search", "zürich"}, {"hidden", true}}), ElementsAre("a", "c"));
  EXPECT_THAT(Ids({{"search", "100%"}}), ElementsAre("b"));
  EXPECT_THAT(Ids({{"search", "it's"}}), ElementsAre("b"));
  EXPECT_THAT(Ids({{"search", "_"}}), IsEmpty());
}

TEST_F(HomeTiles, CarryHostileTitlesAsTheyAre) {
  const std::string title = "<img src=x onerror=alert(1)>\"'&\\\n\u2028</script>";
  StartWith({{{"id", "a"}, {"title", title}, {"app_index", 1}}});
  EXPECT_EQ(Ask({})["apps"][0]["title"], title);
}

TEST_F(HomeTiles, AreReadThroughATitleThatIsCutInTheMiddleOfACharacter) {
  std::string title;
  while (title.size() < 200) title += "제";
  StartWith({{{"id", "a"}, {"title", title}, {"app_index", 1}}});
  const std::string cut = Ask({})["apps"][0]["title"];
  EXPECT_EQ(cut.substr(0, 120), title.substr(0, 120));
}

TEST_F(HomeTiles, AreKnownToHaveChanged) {
  Start({}, CatalogueOf(2));
  StartHome();
  ASSERT_EQ(Ask({})["total"], 2);
  ASSERT_EQ(Ask({{"search", "title"}})["total"], 2);
  page_->WaitForEvent("catalogue");
  ASSERT_EQ(End(), 0);
  Start({}, CatalogueOf(4));
  EXPECT_TRUE(page_->WaitForEvent("catalogue").is_object());
  EXPECT_TRUE(WaitUntil([this] { return Ask({})["total"] == 4; }));
  EXPECT_EQ(Ask({{"search", "title"}})["total"], 4);
}

TEST_F(HomeTiles, SayWhyTheyCannotBeRead) {
  Start({}, CatalogueOf(2));
  StartHome();
  ASSERT_EQ(Ask({})["ok"], true);
  const std::string settings = directory_ / "settings";
  ASSERT_EQ(g_mkdir_with_parents((settings + "/db/nuv").c_str(), 0700), 0);
  WriteFile(settings + "/db/nuv/factory_reset", "1");
  const Json answer = Ask({});
  EXPECT_EQ(answer["ok"], false);
  EXPECT_THAT(answer.value("error", ""), HasSubstr("a factory reset is running"));
}

}  // namespace
