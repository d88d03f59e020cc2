// The verbs of nuvctl for the inner side of the database: inner, used, set, count, version and command.
#include <gmock/gmock.h>

#include <array>
#include <set>

#include "distinct_row.h"
#include "nuvctl_catalogue.h"
#include "recording_service.h"

using testing::ElementsAre;
using testing::HasSubstr;
using Json = nlohmann::json;

class NuvctlInner : public NuvctlCatalogueTest {
 protected:
  static std::vector<std::string> Ids(const Json& records) {
    std::vector<std::string> ids;
    for (const Json& record : records) ids.push_back(record["id"]);
    return ids;
  }

  std::string Column(const std::string& column) {
    return database_.Ask("select " + column + " from widgetinfo where id = 'a.b'");
  }
};

// With a service on the bus that answers as the test says.
class NuvctlChange : public NuvctlInner {
 protected:
  void Answer(const std::string& method, const std::string& reply) {
    service_.AnswerTo(method, {RecordingService::Answer::kReply, reply});
  }
  std::string Asked(const std::string& method) const {
    const auto calls = service_.CallsOf(method);
    EXPECT_EQ(calls.size(), 1u) << method;
    return calls.empty() ? "" : calls.front().Text();
  }

  RecordingService service_{bus_.address()};
};

TEST_F(NuvctlInner, ShowHasEachColumnUnderItsName) {
  const AppDatabase::Row row = DistinctRow();
  database_.Add("text of id", row);
  const std::set<std::string> icons = {"pannel_icon_path", "firstscreen_icon_path", "reserved_string_3"};
  const Json record = AskJson({"inner", "show", "text of id", "--any-state"})["record"];
  ASSERT_EQ(record.size(), 73u);
  for (const auto& [name, value] : record.items()) {
    const AppDatabase::Value& column = row.at(icons.count(name) != 0 ? "icon_path" : name);
    if (value.is_boolean()) {
      EXPECT_EQ(value, true) << name;
    } else if (value.is_number()) {
      EXPECT_EQ(value, std::get<int>(column)) << name;
    } else {
      EXPECT_EQ(value, std::get<std::string>(column)) << name;
    }
  }
}

TEST_F(NuvctlInner, ShowFindsByEachName) {
  database_.Add("a.b", {{"kelvo_id", "k"}, {"run_title", "Run"}});
  const std::vector<Arguments> names = {{"a.b"}, {"k"}, {"Run"}, {"--platform-id", "k"}, {"--title", "Run"}};
  for (Arguments name : names) {
    name.insert(name.begin(), {"inner", "show"});
    EXPECT_EQ(AskJson(name)["record"]["id"], "a.b") << testing::PrintToString(name);
  }
  ExpectFailure({"inner", "show", "--platform-id", "a.b"}, 3,
                "not found: the database has no installed application with the platform id a.b");
  ExpectFailure({"inner", "show", "--title", "k"}, 3,
                "not found: the database has no installed application with the run title k");
}

TEST_F(NuvctlInner, ShowFindsWhatIsNotInstalledOnlyWhenAsked) {
  database_.Add("a.b", {{"install_state", 2}});
  ExpectFailure({"inner", "show", "a.b"}, 3,
                "not found: the database has no installed application with the id, platform id or run title a.b");
  EXPECT_EQ(AskJson({"inner", "show", "a.b", "--any-state"})["record"]["install_state"], 2);
}

TEST_F(NuvctlInner, NeedsToBeToldWhatToShow) {
  EXPECT_EQ(Ask({"inner"}).status, 2);
  EXPECT_EQ(Ask({"inner", "show"}).status, 2);
  EXPECT_EQ(Ask({"inner", "show", "a", "--title", "b"}).status, 2);
  EXPECT_EQ(Ask({"inner", "list", "a"}).status, 2);
}

TEST_F(NuvctlInner, ListHasTheInstalledApplicationsByIndex) {
  database_.Add("second", {{"app_index", 2}, {"title", "서울"}});
  database_.Add("first", {{"app_index", 1}});
  database_.Add("gone", {{"install_state", 2}});
  EXPECT_THAT(Ids(AskJson({"inner", "list"})["records"]), ElementsAre("first", "second"));
  const NuvctlRun run = Ask({"inner", "list"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, testing::StartsWith("ID      TITLE  VERSION"));
  EXPECT_THAT(run.output, HasSubstr("second  서울"));
}

TEST_F(NuvctlInner, ListOfNothingIsEmpty) {
  EXPECT_EQ(AskJson({"inner", "list"})["records"], Json::array());
}

TEST_F(NuvctlInner, UsedShowsTheThreeOfEachInOrder) {
  database_.Add("never");
  database_.Add("a", {{"use_count", 1}, {"launch_date", "2025-04-01"}});
  database_.Add("b", {{"use_count", 2}, {"launch_date", "2025-03-01"}});
  database_.Add("c", {{"use_count", 3}, {"launch_date", "2025-02-01"}});
  database_.Add("d", {{"use_count", 4}, {"launch_date", "2025-01-01"}});
  const Json json = AskJson({"used"});
  EXPECT_THAT(Ids(json["most_used"]), ElementsAre("d", "c", "b"));
  EXPECT_THAT(Ids(json["recently_used"]), ElementsAre("a", "b", "c"));
  EXPECT_THAT(Ask({"used"}).output, testing::StartsWith("MOST USED\nID  USED  LAST\nd   4     2025-01-01\n"));
  const Json check = AskJson({"used", "--check", "a"});
  EXPECT_EQ(check["most_used"], false);
  EXPECT_EQ(check["recently_used"], true);
  EXPECT_EQ(Ask({"used", "--check", "d"}).output, "MOST USED: yes\nRECENTLY USED: no\n");
}

TEST_F(NuvctlInner, SaysWhyTheDatabaseCannotBeRead) {
  MakeDatabaseADirectory();
  const std::vector<Arguments> questions = {
      {"inner", "show", "a.b"}, {"inner", "list"}, {"used"}, {"used", "--check", "a.b"}, {"count", "a.b"}};
  for (const Arguments& question : questions) {
    const NuvctlRun run = Ask(question);
    EXPECT_EQ(run.status, 1) << testing::PrintToString(question);
    EXPECT_THAT(run.errors, HasSubstr("the database cannot be read"));
    EXPECT_THAT(run.errors, HasSubstr("not a file"));
  }
}

TEST_F(NuvctlInner, SetWritesEachFieldByItself) {
  database_.Add("a.b");
  const std::vector<std::pair<std::string, std::string>> fields = {{"cp_name", "O'Neil"}, {"version", "2.0"},
                                                                   {"is_ispbound", "1"},  {"is_hybrid_tv", "1"},
                                                                   {"is_lock", "1"},      {"run_title", "Run & Go"}};
  for (const auto& [field, value] : fields) {
    const NuvctlRun run = Ask({"set", "a.b", field, value});
    EXPECT_EQ(run.status, 0) << field << run.errors;
    EXPECT_EQ(run.output, "changed by the library\n");
    EXPECT_EQ(Column(field), value);
  }
  EXPECT_EQ(AskJson({"set", "a.b", "ait_ids", "12,34"})["by"], "library");
  EXPECT_EQ(Column("ait_appid || '/' || ait_orgid"), "12/34");
}

TEST_F(NuvctlInner, SetRefusesWhatIsNoFieldAndNoValue) {
  const NuvctlRun run = Ask({"set", "a.b", "title", "x"});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.errors, HasSubstr("no such field: title; the fields are is_updated, ait_ids, cp_name, version, "
                                    "is_ispbound, is_hybrid_tv, is_lock, run_title"));
  EXPECT_EQ(Ask({"set", "a.b", "version"}).status, 2);
  EXPECT_EQ(Ask({"set", "a.b", "is_updated", "1"}).status, 2);
}

TEST_F(NuvctlInner, SetTakesAFlagInWords) {
  database_.Add("a.b");
  for (const char* field : {"is_ispbound", "is_hybrid_tv", "is_lock"}) {
    for (const auto& [word, number] : {std::pair("true", "1"), {"false", "0"}, {"1", "1"}, {"0", "0"}}) {
      EXPECT_EQ(Ask({"set", "a.b", field, word}).status, 0) << field;
      EXPECT_EQ(Column(field), number) << field;
    }
  }
  EXPECT_EQ(Ask({"set", "a.b", "is_updated", "false"}).status, 0);
}

TEST_F(NuvctlInner, SetRefusesAValueThatTheFieldCannotHaveAndWritesNothing) {
  database_.Add("a.b",
                {{"is_lock", 0}, {"is_hybrid_tv", 0}, {"is_ispbound", 0}, {"is_updated", 1}, {"ait_appid", "o"}});
  const std::vector<std::array<std::string, 3>> wrong = {
      {"is_lock", "maybe", "VALUE: is_lock is a flag: true, false, 1 or 0: maybe"},
      {"is_lock", "2", "is a flag"},
      {"is_lock", "", "is a flag"},
      {"is_hybrid_tv", "TRUE", "is a flag"},
      {"is_ispbound", "1 ", "is a flag"},
      {"is_updated", "true", "VALUE: is_updated can only be set to 0: true"},
      {"ait_ids", "12", "VALUE: ait_ids is two ids with a comma between them: 12"},
      {"ait_ids", ",34", "is two ids"},
      {"ait_ids", "12,", "is two ids"},
      {"ait_ids", "1,2,3", "is two ids"},
  };
  for (const auto& [field, value, says] : wrong) {
    const NuvctlRun run = Ask({"set", "a.b", field, value});
    EXPECT_EQ(run.status, 2) << field << " " << value;
    EXPECT_THAT(run.errors, HasSubstr(says));
  }
  EXPECT_EQ(Column("is_lock || is_hybrid_tv || is_ispbound || is_updated || ait_appid"), "0001o");
}

TEST_F(NuvctlInner, ChangesOfUnknownApplicationsAreNotFound) {
  const std::vector<Arguments> changes = {{"set", "x", "version", "1"}, {"count", "x"}, {"set-version", "x", "1"}};
  for (const Arguments& change : changes) {
    ExpectFailure(change, 3, "not found: the database has no application x");
  }
}

TEST_F(NuvctlInner, TheLibraryMakesAChangeWhenThereIsNoService) {
  database_.Add("a.b", {{"kelvo_id", "k"}, {"use_count", 4}, {"is_updated", 1}});
  EXPECT_EQ(Ask({"count", "k"}).output, "changed by the library\n");
  EXPECT_EQ(Column("use_count"), "5");
  EXPECT_EQ(Ask({"set", "a.b", "is_updated"}).output, "changed by the library\n");
  EXPECT_EQ(Column("is_updated"), "0");
}

TEST_F(NuvctlInner, VersionAndCommandNeedTheService) {
  database_.Add("a.b", {{"version", "1"}});
  for (const Arguments& verb : {Arguments{"set-version", "a.b", "2"}, Arguments{"command", "7"}}) {
    const NuvctlRun run = Ask(verb);
    EXPECT_EQ(run.status, 5) << run.errors;
    EXPECT_THAT(run.errors, testing::StartsWith("nuvctl: service gone: "));
  }
  EXPECT_EQ(Column("version"), "1");
}

TEST_F(NuvctlChange, TheServiceMakesAChangeWhenItAnswers) {
  database_.Add("a.b", {{"kelvo_id", "k"}, {"use_count", 4}, {"is_updated", 1}});
  Answer("nuv_update_app_count", "(0,)");
  Answer("nuv_update_app_by_key", "(0,)");
  Answer("nuv_update_app_version", "(0,)");
  EXPECT_EQ(Ask({"count", "k"}).output, "changed by the service\n");
  EXPECT_EQ(Asked("nuv_update_app_count"), "('a.b',)");
  EXPECT_EQ(Ask({"set", "a.b", "is_updated", "0"}).output, "changed by the service\n");
  EXPECT_EQ(Asked("nuv_update_app_by_key"), "('a.b', 0)");
  EXPECT_EQ(Ask({"set-version", "a.b", "2.0"}).output, "changed by the service\n");
  EXPECT_EQ(Asked("nuv_update_app_version"), "('a.b', '2.0')");
  EXPECT_EQ(Column("use_count || is_updated"), "41");
}

TEST_F(NuvctlChange, AnotherAnswerOfTheServiceIsAFailureAndNothingIsWritten) {
  database_.Add("a.b", {{"use_count", 4}});
  Answer("nuv_update_app_count", "(-2,)");
  Answer("nuv_update_app_version", "(7,)");
  ExpectFailure({"count", "a.b"}, 1, "failed: the service answered -2");
  ExpectFailure({"set-version", "a.b", "2"}, 1, "failed: the service answered 7");
  EXPECT_EQ(Column("use_count"), "4");
}

TEST_F(NuvctlChange, CommandSendsItsFourArguments) {
  const NuvctlRun run = Ask({"command", "-3", "a.b", "/p", "[x,y]"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(Asked("nuv_command"), "(-3, 'a.b', '/p', '[x,y]')");
  service_.Forget();
  EXPECT_EQ(Ask({"command", "4"}).status, 0);
  EXPECT_EQ(Asked("nuv_command"), "(4, '', '', '')");
}
