// nuvctl list: each kind of list and each option, over a real database.
#include <gmock/gmock.h>

#include "nuvctl_catalogue.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;
using Json = nlohmann::json;

class NuvctlList : public NuvctlCatalogueTest {
 protected:
  // The ids of the list.
  std::vector<std::string> Ids(Arguments arguments, const char* key = "app_id") const {
    arguments.insert(arguments.begin(), "list");
    std::vector<std::string> ids;
    const Json list = AskJson(arguments);
    for (const Json& record : list["records"]) ids.push_back(record[key].get<std::string>());
    return ids;
  }
};

TEST_F(NuvctlList, ShowsATableForPeople) {
  database_.Add("a.b",
                {{"title", "날씨"}, {"run_title", "Weather"}, {"version", "1.0"}, {"app_index", 3}, {"is_lock", 1}});
  database_.Add("c", {{"title", "e\u0301te"}, {"run_title", "Summer"}, {"app_index", 12}, {"use_count", 100}});
  const NuvctlRun run = Ask({"list"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.output,
            "ID   TITLE  RUN TITLE  VERSION  TYPE  FEATURED  INDEX  USED  LOCKED\n"
            "a.b  날씨   Weather    1.0      2     1         3      0     1\n"
            "c    e\u0301te    Summer              2     1         12     100   0\n");
}

TEST_F(NuvctlList, GivesProgramsWholeRecords) {
  database_.Add("a.b", {{"title", "T"}, {"icon_path", "/i"}, {"reserved_int_1", 9}});
  const Json json = AskJson({"list"});
  EXPECT_EQ(json["verb"], "list");
  ASSERT_EQ(json["records"].size(), 1u);
  EXPECT_EQ(json["records"][0].size(), 59u);
  EXPECT_EQ(json["records"][0]["extra_icon_path"], "/i");
  EXPECT_EQ(json["records"][0]["launch_type"], 9);
}

TEST_F(NuvctlList, OfNothingIsEmptyAndNoFailure) {
  const NuvctlRun run = Ask({"list"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "ID  TITLE  RUN TITLE  VERSION  TYPE  FEATURED  INDEX  USED  LOCKED\n");
  for (const char* kind : {"--ms", "--hybrid", "--isp-bound", "--service"}) {
    EXPECT_EQ(AskJson({"list", kind})["records"], Json::array()) << kind;
  }
}

TEST_F(NuvctlList, LeavesOutWhatIsNotUsableOrHidden) {
  database_.Add("shown");
  database_.Add("hidden", {{"is_hidden", 1}});
  database_.Add("not-installed", {{"install_state", 2}});
  database_.Add("unavailable", {{"is_app_available", 0}});
  database_.Add("reset", {{"is_need_reset", 1}});
  EXPECT_THAT(Ids({}), ElementsAre("shown"));
  EXPECT_THAT(Ids({"--service"}, "id"), ElementsAre("shown"));
  EXPECT_THAT(Ids({"--service", "--hidden"}, "id"), UnorderedElementsAre("shown", "hidden"));
}

TEST_F(NuvctlList, FiltersByFeaturedCategories) {
  for (const int category : {0, 1, 2, 4, 8}) {
    database_.Add("f" + std::to_string(category), {{"app_featured", category}, {"app_index", category}});
  }
  for (const char* kind : {"", "--service"}) {
    const Arguments rest = *kind == '\0' ? Arguments() : Arguments{kind};
    const char* key = *kind == '\0' ? "app_id" : "id";
    const auto ids = [&](const std::string& set) {
      Arguments arguments = {"--featured", set};
      arguments.insert(arguments.end(), rest.begin(), rest.end());
      return Ids(arguments, key);
    };
    EXPECT_THAT(ids("any"), ElementsAre("f0", "f1", "f2", "f4", "f8"));
    EXPECT_THAT(ids("1"), ElementsAre("f1"));
    EXPECT_THAT(ids("4,2"), ElementsAre("f2", "f4"));
    EXPECT_THAT(ids("3"), ElementsAre("f1", "f2", "f8"));
    EXPECT_THAT(ids("1,2,8"), ElementsAre("f1", "f2", "f8"));
    EXPECT_THAT(ids("1,2,4,8"), ElementsAre("f1", "f2", "f4", "f8"));
  }
}

TEST_F(NuvctlList, FiltersByTypes) {
  for (const int type : {2, 4, 8}) {
    database_.Add("t" + std::to_string(type), {{"app_type", type}, {"app_index", type}});
  }
  EXPECT_THAT(Ids({"--type", "2"}), ElementsAre("t2"));
  EXPECT_THAT(Ids({"--type", "2,4"}), ElementsAre("t2", "t4"));
  EXPECT_THAT(Ids({"--type", "any"}), ElementsAre("t2", "t4", "t8"));
  EXPECT_THAT(Ids({"--type", "4", "--featured", "1", "--ms"}), ElementsAre("t4"));
}

TEST_F(NuvctlList, HasEachOrder) {
  database_.Add("a", {{"app_index", 1}, {"title", "m"}, {"use_count", 5}, {"install_date", "2001"}});
  database_.Add("b", {{"app_index", 2}, {"title", "B"}, {"use_count", 9}, {"install_date", "2003"}});
  database_.Add("c", {{"app_index", 300}, {"title", "a"}, {"use_count", 7}, {"install_date", "2002"}});
  database_.Add("d", {{"app_index", 301}, {"title", "Z"}, {"use_count", 1}, {"install_date", "2000"}});
  EXPECT_THAT(Ids({}), ElementsAre("a", "b", "c", "d"));
  EXPECT_THAT(Ids({"--view", "index"}), ElementsAre("a", "b", "c", "d"));
  EXPECT_THAT(Ids({"--view", "most-used"}), ElementsAre("b", "c", "a", "d"));
  EXPECT_THAT(Ids({"--view", "last-download"}), ElementsAre("d", "c", "a", "b"));
  EXPECT_THAT(Ids({"--view", "last-download", "--ms"}), ElementsAre("b", "c", "a", "d"));
  EXPECT_THAT(Ids({"--view", "title"}), ElementsAre("c", "b", "a", "d"));
  EXPECT_THAT(Ids({"--view", "title-desc"}), ElementsAre("d", "a", "b", "c"));
  EXPECT_THAT(Ids({"--service", "--view", "most-used"}, "id"), ElementsAre("b", "c", "a", "d"));
}

TEST_F(NuvctlList, HasPages) {
  database_.AddMany(10);
  EXPECT_THAT(Ids({"--index", "8"}), ElementsAre("app8", "app9"));
  EXPECT_THAT(Ids({"--index", "0", "--count", "2"}), ElementsAre("app0", "app1"));
  EXPECT_THAT(Ids({"--index", "9", "--count", "5"}), ElementsAre("app9"));
  EXPECT_THAT(Ids({"--count", "3"}), ElementsAre("app0", "app1", "app2"));
  EXPECT_THAT(Ids({"--count", "2", "--index", "4", "--ms"}), ElementsAre("app4", "app5"));
}

TEST_F(NuvctlList, HasNoPageBeyondTheEnd) {
  database_.AddMany(2);
  ExpectFailure({"list", "--index", "2"}, 3, "not found: the list has no application at index 2");
  EXPECT_EQ(AskJson({"list", "--index", "2"})["records"], nullptr);
}

TEST_F(NuvctlList, OfMultiScreenRecordsHasTwoFields) {
  database_.Add("a", {{"is_multi_screen2", 1}});
  const NuvctlRun run = Ask({"list", "--ms"});
  EXPECT_EQ(run.output, "ID  MULTI-SCREEN\na   1\n");
  EXPECT_EQ(AskJson({"list", "--ms"})["records"], Json::parse(R"([{"app_id": "a", "is_multi_screen2": 1}])"));
}

TEST_F(NuvctlList, OfMarkedApplicationsHasThoseWithTheMark) {
  database_.Add("plain");
  database_.Add("isp", {{"is_ispbound", 1}, {"is_hidden", 1}});
  database_.Add("hybrid", {{"is_hybrid_tv", 1}});
  EXPECT_THAT(Ids({"--isp-bound"}), ElementsAre("isp"));
  EXPECT_THAT(Ids({"--hybrid"}), ElementsAre("hybrid"));
  EXPECT_THAT(Ask({"list", "--hybrid"}).output, HasSubstr("\nhybrid  "));
}

TEST_F(NuvctlList, OfTheServicesRecordsHasWholeTextsAndSaysWhatIsHidden) {
  const std::string title(200, 'x');
  database_.Add("a", {{"title", title}, {"is_hidden", 1}});
  EXPECT_EQ(AskJson({"list", "--service", "--hidden"})["records"][0]["title"], title);
  const NuvctlRun run = Ask({"list", "--service", "--hidden"});
  EXPECT_THAT(run.output, HasSubstr("LOCKED  HIDDEN\n"));
  EXPECT_THAT(run.output, HasSubstr(std::string(31, 'x') + "…  "));
}

TEST_F(NuvctlList, RefusesWhatTheLibraryCannotDo) {
  const std::vector<std::pair<Arguments, std::string>> wrong = {
      {{"--featured", "1,2"}, "no list of 1,2 without 8"},
      {{"--featured", "16"}, "not one or more of 1, 2, 3, 4, 8, any"},
      {{"--featured", ""}, "not one or more of"},
      {{"--featured", "1,,4"}, "not one or more of"},
      {{"--type", "6"}, "not one or more of 2, 4, any"},
      {{"--view", "newest"}, "the views are most-used, index, last-download, title, title-desc"},
      {{"--index", "-1"}, "-1"},
      {{"--index", "2147483648"}, "2147483648"},
      {{"--count", "0"}, "0"},
      {{"--hybrid", "--isp-bound"}, "excludes"},
      {{"--hybrid", "--count", "1"}, "excludes"},
      {{"--isp-bound", "--featured", "1"}, "excludes"},
      {{"--isp-bound", "--view", "title"}, "excludes"},
      {{"--hybrid", "--type", "2"}, "excludes"},
      {{"--hybrid", "--index", "1"}, "excludes"},
      {{"--hybrid", "--ms"}, "excludes"},
      {{"--hybrid", "--service"}, "excludes"},
      {{"--service", "--ms"}, "excludes"},
      {{"--service", "--type", "2"}, "excludes"},
      {{"--service", "--index", "1"}, "excludes"},
      {{"--service", "--count", "1"}, "excludes"},
      {{"--hidden"}, "--service"},
      {{"extra"}, "extra"},
  };
  for (const auto& [options, says] : wrong) {
    Arguments arguments = options;
    arguments.insert(arguments.begin(), "list");
    const NuvctlRun run = Ask(arguments);
    EXPECT_EQ(run.status, 2) << says;
    EXPECT_THAT(run.errors, HasSubstr(says));
  }
}

TEST_F(NuvctlList, KeepsHostileTextsOnTheirLines) {
  database_.Add("a\x1b[2J", {{"title", "one\ntwo\tthree"}, {"run_title", "\xff\xfe"}});
  const NuvctlRun run = Ask({"list"});
  EXPECT_THAT(run.output, HasSubstr("\na\\u001b[2J  one\\u000atwo\\u0009three  \ufffd\ufffd  "));
  EXPECT_EQ(AskJson({"list"})["records"][0]["app_title"], "one\ntwo\tthree");
}

TEST_F(NuvctlList, SaysWhyItCannotBeRead) {
  const std::vector<Arguments> lists = {{"list"}, {"list", "--ms"}, {"list", "--hybrid"}, {"list", "--service"}};
  SetFactoryReset("2");
  for (const Arguments& list : lists) {
    ExpectFailure(list, 1, "failed: a factory reset is running (setting db/nuv/factory_reset is 2)");
  }
  SetFactoryReset("0");
  MakeDatabaseGarbage();
  for (const Arguments& list : lists) {
    ExpectFailure(
        list, 1,
        "failed: the database cannot be read (" + database_.path() + ": not a database with a table of applications)");
  }
  RemoveDatabase();
  for (const Arguments& list : lists) {
    ExpectFailure(list, 1, "failed: the database cannot be read (" + database_.path() + ": No such file or directory)");
  }
}

TEST_F(NuvctlList, OfATableWithoutTheColumnIsAFailure) {
  database_.Run("alter table widgetinfo rename column is_hybrid_tv to other");
  ExpectFailure({"list", "--hybrid"}, 1, "failed: the list could not be read");
}

TEST_F(NuvctlList, OfABusyDatabaseTimesOut) {
  database_.Add("a");
  const auto lock = LockDatabase();
  for (const Arguments& list :
       std::vector<Arguments>{{"list"}, {"list", "--ms"}, {"list", "--hybrid"}, {"list", "--service"}}) {
    const NuvctlRun run = Ask(list);
    EXPECT_EQ(run.status, 4);
    EXPECT_EQ(run.errors, "nuvctl: timed out: the database stayed busy\n");
  }
}
