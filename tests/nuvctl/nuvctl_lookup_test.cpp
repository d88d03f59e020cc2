// The verbs of nuvctl that ask the catalogue about applications by name: show, locked, uninstallable and group.
#include <gmock/gmock.h>

#include <set>

#include "distinct_row.h"
#include "nuvctl_catalogue.h"

using testing::HasSubstr;
using Json = nlohmann::json;

class NuvctlLookup : public NuvctlCatalogueTest {};

TEST_F(NuvctlLookup, ShowFindsByIdKelvoIdAndPackageName) {
  database_.Add("a.b", {{"kelvo_id", "k"}, {"pkgname", "p"}, {"run_title", "Run"}});
  for (const char* name : {"a.b", "k", "p", "Run"}) {
    const Json json = AskJson({"show", name});
    EXPECT_EQ(json["app"], name);
    EXPECT_EQ(json["record"]["app_id"], "a.b");
    EXPECT_EQ(json["record"].size(), 59u);
  }
  ExpectFailure({"show", "Title"}, 3, "not found: the catalogue has no usable application with the id Title");
}

TEST_F(NuvctlLookup, ShowFindsByRunTitle) {
  database_.Add("a.b", {{"run_title", "Run & Go"}});
  const Json json = AskJson({"show", "--title", "Run & Go"});
  EXPECT_EQ(json["title"], "Run & Go");
  EXPECT_EQ(json["record"]["app_id"], "a.b");
  ExpectFailure({"show", "--title", "a.b"}, 3,
                "not found: the catalogue has no usable application with the run title a.b");
}

TEST_F(NuvctlLookup, ShowHasALineForEachField) {
  database_.Add("a.b", {{"title", "서울"}, {"limit_age", 12}});
  const NuvctlRun run = Ask({"show", "a.b"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, testing::StartsWith("app_id                     a.b\n"
                                              "app_title                  서울\n"
                                              "app_installed_path\n"));
  EXPECT_THAT(run.output, HasSubstr("\napp_age_limit              12\n"));
  EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 59);
}

TEST_F(NuvctlLookup, ShowOfTheServicesRecordHasEachColumnUnderItsName) {
  AppDatabase::Row row = DistinctRow();
  row.insert_or_assign("install_state", 3);
  row.insert_or_assign("is_app_available", 1);
  row.insert_or_assign("is_need_reset", 0);
  database_.Add("text of id", row);
  const std::set<std::string> icons = {"panel_icon_path", "extra_icon_path", "firstscreen_icon_path",
                                       "ambient_icon_path"};
  const std::set<std::string> switches = {"reserved_tinyint_10", "reserved_tinyint_11"};
  const Json record = AskJson({"show", "text of hybrid_app", "--service"})["record"];
  ASSERT_EQ(record.size(), 63u);
  for (const auto& [name, value] : record.items()) {
    const AppDatabase::Value& column = row.at(icons.count(name) != 0 ? "icon_path" : name);
    if (switches.count(name) != 0) {
      EXPECT_EQ(value, true) << name;
    } else if (std::holds_alternative<int>(column)) {
      EXPECT_EQ(value, std::get<int>(column)) << name;
    } else {
      EXPECT_EQ(value, std::get<std::string>(column)) << name;
    }
  }
}

TEST_F(NuvctlLookup, ShowNeverWritesHalfACharacter) {
  std::string title;
  for (int i = 0; i < 60; ++i) title += "한";
  database_.Add("a.b", {{"title", title}});
  const std::string whole = title.substr(0, 42 * 3);  // and one byte of the next
  EXPECT_THAT(Ask({"show", "a.b"}).output, HasSubstr(" " + whole + "\ufffd\n"));
  EXPECT_EQ(AskJson({"show", "a.b"})["record"]["app_title"], whole + "\ufffd");
  EXPECT_EQ(AskJson({"show", "a.b", "--service"})["record"]["title"], title);
}

TEST_F(NuvctlLookup, ShowKeepsHostileTextsOnTheirLines) {
  database_.Add("a.b", {{"title", "\x1b[31m\r\n\xc2\x9b\u202e\u2029%s%n"}, {"version", "\xff"}});
  const NuvctlRun run = Ask({"show", "a.b"});
  EXPECT_THAT(run.output, HasSubstr(" \\u001b[31m\\u000d\\u000a\\u009b\\u202e\\u2029%s%n\n"));
  EXPECT_THAT(run.output, HasSubstr("app_version                \ufffd\n"));
  EXPECT_EQ(AskJson({"show", "a.b"})["record"]["app_title"], "\x1b[31m\r\n\xc2\x9b\u202e\u2029%s%n");
}

TEST_F(NuvctlLookup, ShowFindsHostileIds) {
  for (const std::string id : {"it's", "100%", "[a,b]", "{}", "%%", "a\"b", "') or 1=1 --", "-x", "\x1b"}) {
    database_.Add(id);
    EXPECT_EQ(AskJson({"show", "--", id})["record"]["app_id"], id);
  }
  ExpectFailure({"show", "no\x1b[2Jsuch"}, 3,
                "not found: the catalogue has no usable application with the id no\\u001b[2Jsuch");
}

TEST_F(NuvctlLookup, ShowTakesOneNameExactly) {
  for (const Arguments& wrong : std::vector<Arguments>{
           {"show"}, {"show", "a", "--title", "b"}, {"show", "a", "b"}, {"show", "--title", "b", "--service"}}) {
    EXPECT_EQ(Ask(wrong).status, 2);
  }
  EXPECT_EQ(Ask({"show", ""}).status, 3);
  EXPECT_EQ(Ask({"show", "--title", ""}).status, 3);
}

TEST_F(NuvctlLookup, LockedAnswersYesAndNo) {
  database_.Add("locked", {{"is_lock", 1}});
  database_.Add("open");
  database_.Add("gone", {{"is_lock", 1}, {"install_state", 2}});
  const NuvctlRun yes = Ask({"locked", "locked"});
  EXPECT_EQ(yes.status, 0);
  EXPECT_EQ(yes.output, "yes\n");
  const NuvctlRun no = Ask({"locked", "open"});
  EXPECT_EQ(no.status, 0);
  EXPECT_EQ(no.output, "no\n");
  EXPECT_EQ(no.errors, "");
  EXPECT_EQ(Ask({"locked", "open", "unknown", "locked"}).status, 0);
}

TEST_F(NuvctlLookup, AnApplicationThatIsNotThereIsNeitherYesNorNo) {
  database_.Add("org.example.open");
  database_.Add("gone", {{"is_lock", 1}, {"install_state", 2}});
  for (const char* verb : {"locked", "uninstallable"}) {
    for (const char* id : {"gone", "unknown", ""}) {
      ExpectFailure({verb, id}, 3, std::string("not found: the catalogue has no usable application with the id ") + id);
      EXPECT_EQ(AskJson({verb, "org.example.open", id})["status"], 3) << id;
      EXPECT_EQ(AskJson({verb, id})[verb], nullptr) << id;
    }
    EXPECT_THAT(Ask({verb, "org.example.opan"}).errors, HasSubstr("; did you mean org.example.open?"));
  }
}

TEST_F(NuvctlLookup, LockedAnswersInJson) {
  database_.Add("locked", {{"is_lock", 1}});
  EXPECT_EQ(AskJson({"locked", "x", "locked"}), Json::parse(R"({"verb": "locked", "outcome": "done", "status": 0,
                                                                "apps": ["x", "locked"], "locked": true})"));
  database_.Add("open");
  const Json no = AskJson({"locked", "open"});
  EXPECT_EQ(no["outcome"], "done");
  EXPECT_EQ(no["locked"], false);
}

TEST_F(NuvctlLookup, UninstallableAnswersYesAndNo) {
  database_.Add("marked", {{"reserved_tinyint_1", 0}});
  database_.Add("kept", {{"reserved_tinyint_1", 1}});
  EXPECT_EQ(Ask({"uninstallable", "kept", "marked"}).output, "yes\n");
  EXPECT_EQ(AskJson({"uninstallable", "marked"})["uninstallable"], true);
  const NuvctlRun no = Ask({"uninstallable", "kept"});
  EXPECT_EQ(no.status, 0);
  EXPECT_EQ(no.output, "no\n");
}

TEST_F(NuvctlLookup, IdsAreNeverPartOfTheStatement) {
  database_.Add("locked", {{"is_lock", 1}});
  for (const char* id : {"x') or 1=1 --", "x','locked", "'", "''", "locked'", "%", "lock%", "x\"", "\\'", "[locked]",
                         "[x,locked]", "{locked}", "locked;", "%s%n"}) {
    const NuvctlRun run = Ask({"locked", id});
    EXPECT_EQ(run.status, 3) << id;
    EXPECT_EQ(run.output, "") << id;
  }
  for (const char* id : {"it's", "'", "''; drop table widgetinfo; --", "100%", "%s%n", "[a,b]", "[]", "{}", "%%",
                         "show", "locked show", "\\", "서울\n"}) {
    database_.Add(id, {{"is_lock", 1}});
    EXPECT_EQ(AskJson({"locked", "x", id})["locked"], true) << id;
    EXPECT_EQ(AskJson({"uninstallable", id})["uninstallable"], false) << id;
  }
  EXPECT_EQ(Ask({"locked", "--", "-x", "locked"}).status, 0);
}

TEST_F(NuvctlLookup, YesNoQuestionsNeedAnId) {
  for (const char* verb : {"locked", "uninstallable"}) {
    EXPECT_EQ(Ask({verb}).errors, std::string("nuvctl: ID is required (see nuvctl ") + verb + " --help)\n");
    EXPECT_EQ(Ask({verb, "a", "--nosuch"}).status, 2);
    EXPECT_THAT(Ask({verb, "--help"}).output, HasSubstr(" ID...\n"));
  }
}

TEST_F(NuvctlLookup, GroupShowsTheApplication) {
  database_.Add("a.b");
  database_.AddConfig("RESERVED_27", "video:a.b,music:gone,\x1b:x\xff");
  const NuvctlRun run = Ask({"group", "video"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "a.b\n");
  EXPECT_EQ(AskJson({"group", "video"}), Json::parse(R"({"verb": "group", "outcome": "done", "status": 0,
                                                         "group": "video", "app": "a.b"})"));
}

TEST_F(NuvctlLookup, GroupTellsAnUnknownGroupFromAnApplicationThatIsNotThere) {
  database_.AddConfig("RESERVED_27", "music:gone,\x1b:x\xff");
  ExpectFailure({"group", "Music"}, 3, "not found: there is no group Music");
  EXPECT_EQ(AskJson({"group", "Music"})["app"], nullptr);
  ExpectFailure({"group", "music"}, 3, "not found: the group music stands for gone, which is not installed");
  EXPECT_EQ(AskJson({"group", "music"})["app"], "gone");
  ExpectFailure({"group", "\x1b"}, 3, "not found: the group \\u001b stands for x\ufffd, which is not installed");
  EXPECT_EQ(Ask({"group"}).status, 2);
}

// What the verbs have in common where the catalogue does not answer.
class NuvctlLookupInTheWay : public NuvctlCatalogueTest {
 protected:
  NuvctlLookupInTheWay() {
    database_.Add("a.b", {{"run_title", "Run"}, {"is_lock", 1}});
    database_.AddConfig("RESERVED_27", "video:a.b");
  }

  void ExpectEachFails(int status, const std::string& says) const {
    for (const Arguments& verb : std::vector<Arguments>{{"show", "a.b"},
                                                        {"show", "--title", "Run"},
                                                        {"show", "a.b", "--service"},
                                                        {"locked", "a.b"},
                                                        {"uninstallable", "a.b"},
                                                        {"terminate", "a.b"},
                                                        {"terminate", "--title", "Run"},
                                                        {"launch", "--title", "Run"},
                                                        {"group", "video"}}) {
      const NuvctlRun run = Ask(verb);
      EXPECT_EQ(run.status, status) << verb.front();
      EXPECT_EQ(run.output, "") << verb.front();
      EXPECT_EQ(run.errors, "nuvctl: " + says + "\n") << verb.front();
    }
  }
};

TEST_F(NuvctlLookupInTheWay, AFactoryResetIsAFailure) {
  SetFactoryReset("1");
  ExpectEachFails(1, "failed: a factory reset is running (setting db/nuv/factory_reset is 1)");
  EXPECT_EQ(AskJson({"locked", "a.b"})["locked"], nullptr);
  EXPECT_EQ(AskJson({"show", "a.b"})["record"], nullptr);
}

TEST_F(NuvctlLookupInTheWay, OtherFactoryResetStatesAreNot) {
  for (const char* state : {"0", "3", "-1", "x"}) {
    SetFactoryReset(state);
    EXPECT_EQ(Ask({"locked", "a.b"}).status, 0) << state;
  }
}

TEST_F(NuvctlLookupInTheWay, ADatabaseThatIsADirectoryIsAFailure) {
  MakeDatabaseADirectory();
  ExpectEachFails(1, "failed: the database cannot be read (" + database_.path() + ": not a file)");
}

TEST_F(NuvctlLookupInTheWay, ADatabaseThatIsGarbageIsAFailure) {
  MakeDatabaseGarbage();
  ExpectEachFails(
      1, "failed: the database cannot be read (" + database_.path() + ": not a database with a table of applications)");
}

TEST_F(NuvctlLookupInTheWay, ABusyDatabaseTimesOut) {
  const auto lock = LockDatabase();
  ExpectEachFails(4, "timed out: the database stayed busy");
}
