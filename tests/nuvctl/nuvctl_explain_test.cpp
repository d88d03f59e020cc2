// nuvctl explain: each reason for which a lookup or a launch fails, and what it says where there is none.
#include <gmock/gmock.h>

#include <optional>

#include "nuvctl_catalogue.h"
#include "recording_service.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Json = nlohmann::json;

class NuvctlExplain : public NuvctlCatalogueTest {
 protected:
  struct Verdict {
    std::vector<std::string> reasons;  // each with what it stops
    bool lookup = false;
    std::optional<bool> launch;
    int status = -1;
  };

  Verdict Explain(const std::string& id) const {
    const Json json = AskJson({"explain", "--", id});
    Verdict verdict;
    for (const Json& reason : json["reasons"]) {
      std::string text = reason["reason"].get<std::string>() + ":";
      for (const Json& stop : reason["stops"]) text += " " + stop.get<std::string>();
      verdict.reasons.push_back(text);
      EXPECT_NE(reason["meaning"], "");
    }
    verdict.lookup = json["lookup"].get<bool>();
    if (!json["launch"].is_null()) verdict.launch = json["launch"].get<bool>();
    verdict.status = json["status"].get<int>();
    EXPECT_EQ(verdict.lookup, Ask({"show", "--", id}).status == 0) << id;
    return verdict;
  }

  static constexpr char kBoth[] = "lookup launch";
};

class NuvctlExplainWithService : public NuvctlExplain {
 protected:
  // Of an application that is usable but for the columns.
  std::vector<std::string> ReasonsWith(const AppDatabase::Row& columns, int status) {
    database_.Run("delete from widgetinfo");
    database_.Add("a.b", columns);
    const Verdict verdict = Explain("a.b");
    EXPECT_EQ(verdict.status, status);
    EXPECT_EQ(verdict.launch, status == 0);
    return verdict.reasons;
  }

  RecordingService service_{bus_.address()};
};

TEST_F(NuvctlExplainWithService, AUsableApplicationIsFoundAndLaunched) {
  database_.Add("a.b", {{"kelvo_id", "k"}, {"pkgname", "p"}});
  for (const char* name : {"a.b", "k", "p"}) {
    const NuvctlRun run = Ask({"explain", name});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "a lookup finds it\na launch is accepted\n");
    EXPECT_EQ(run.errors, "");
  }
  EXPECT_EQ(AskJson({"explain", "k"}),
            Json::parse(R"({"verb": "explain", "outcome": "done", "status": 0, "app": "k", "lookup": true,
                            "launch": true, "reasons": []})"));
}

TEST_F(NuvctlExplainWithService, NamesEachFilter) {
  EXPECT_THAT(ReasonsWith({{"install_state", 2}}, 3), ElementsAre("not-installed: lookup launch"));
  EXPECT_THAT(ReasonsWith({{"install_state", nullptr}}, 3), ElementsAre("not-installed: lookup launch"));
  EXPECT_THAT(ReasonsWith({{"is_app_available", 0}}, 3), ElementsAre("unavailable: lookup launch"));
  EXPECT_THAT(ReasonsWith({{"is_need_reset", 1}}, 3), ElementsAre("reset-pending: lookup launch"));
}

TEST_F(NuvctlExplainWithService, TellsWhatStopsALaunchOrAListOnly) {
  EXPECT_THAT(ReasonsWith({{"is_lock", 1}}, 1), ElementsAre("locked: launch"));
  EXPECT_THAT(ReasonsWith({{"is_hidden", 1}}, 0), ElementsAre("hidden: list"));
}

TEST_F(NuvctlExplainWithService, SaysEverythingInOrder) {
  EXPECT_THAT(
      ReasonsWith(
          {{"install_state", 0}, {"is_app_available", 0}, {"is_need_reset", 1}, {"is_lock", 1}, {"is_hidden", 1}}, 3),
      ElementsAre("not-installed: lookup launch", "unavailable: lookup launch", "reset-pending: lookup launch",
                  "locked: launch", "hidden: list"));
  SetFactoryReset("1");
  EXPECT_EQ(Explain("a.b").reasons.size(), 6u);
  EXPECT_EQ(Explain("a.b").reasons.front(), "factory-reset: lookup");
}

TEST_F(NuvctlExplainWithService, ShowsATableForPeople) {
  database_.Add("a.b", {{"install_state", 2}, {"is_lock", 1}});
  const NuvctlRun run = Ask({"explain", "a.b"});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.output,
            "STOPS           REASON         MEANING\n"
            "lookup, launch  not-installed  it is not installed (install_state is not 3)\n"
            "launch          locked         it is locked: a launch needs the PIN (is_lock is 1)\n"
            "\n"
            "a lookup does not find it\n"
            "a launch does not succeed\n");
}

TEST_F(NuvctlExplainWithService, AnUnknownIdIsNotFound) {
  database_.Add("a.b", {{"run_title", "Run"}, {"hybrid_app", "h"}});
  for (const char* id : {"x", "A.B", "a.b ", "it's", "%", "a._", "') or 1=1 --", "[a.b]"}) {
    const Verdict verdict = Explain(id);
    EXPECT_THAT(verdict.reasons, ElementsAre("unknown: lookup launch")) << id;
    EXPECT_EQ(verdict.status, 3);
    EXPECT_EQ(verdict.launch, false);
  }
  EXPECT_THAT(Ask({"explain", "Run"}).output, HasSubstr("it is a run title: use --title"));
  EXPECT_THAT(Ask({"explain", "h"}).output, HasSubstr("it is the hybrid application of another one"));
  EXPECT_EQ(AskJson({"explain", "x"})["error"]["message"],
            "not found: no application has it as id, kelvo id or package name");
}

TEST_F(NuvctlExplainWithService, AnEmptyIdIsNeverLookedUp) {
  database_.Add("");
  EXPECT_THAT(Explain("").reasons, ElementsAre("empty-id: lookup launch"));
}

TEST_F(NuvctlExplainWithService, OneUsableApplicationOfSeveralIsEnough) {
  database_.Add("a.b", {{"install_state", 2}, {"is_lock", 1}, {"is_hidden", 1}});
  database_.Add("other", {{"pkgname", "a.b"}});
  EXPECT_THAT(Explain("a.b").reasons, IsEmpty());
}

TEST_F(NuvctlExplainWithService, SeveralApplicationsMayFailForSeveralReasons) {
  database_.Add("a.b", {{"install_state", 2}});
  database_.Add("other", {{"pkgname", "a.b"}, {"is_app_available", 0}});
  EXPECT_THAT(Explain("a.b").reasons, ElementsAre("not-installed: lookup launch", "unavailable: lookup launch"));
  EXPECT_THAT(Ask({"explain", "a.b"}).output, HasSubstr("(install_state is not 3 in 1 of 2 with this id)"));
}

TEST_F(NuvctlExplainWithService, AFactoryResetStopsLookups) {
  database_.Add("a.b");
  for (const char* state : {"1", "2"}) {
    SetFactoryReset(state);
    const Verdict verdict = Explain("a.b");
    EXPECT_THAT(verdict.reasons, ElementsAre("factory-reset: lookup"));
    EXPECT_EQ(verdict.launch, std::nullopt);
    EXPECT_EQ(verdict.status, 1);
  }
  EXPECT_THAT(Ask({"explain", "a.b"}).output, HasSubstr("\nonly the service can tell what becomes of a launch\n"));
  for (const char* state : {"0", "3", "-1"}) {
    SetFactoryReset(state);
    EXPECT_THAT(Explain("a.b").reasons, IsEmpty());
  }
}

TEST_F(NuvctlExplainWithService, ADatabaseThatCannotBeReadStopsLookups) {
  const auto expect_unreadable = [this] {
    const Verdict verdict = Explain("a.b");
    EXPECT_THAT(verdict.reasons, ElementsAre("database-unreadable: lookup"));
    EXPECT_EQ(verdict.launch, std::nullopt);
    EXPECT_EQ(verdict.status, 1);
  };
  MakeDatabaseGarbage();
  expect_unreadable();
  EXPECT_THAT(Ask({"explain", "a.b"}).output, HasSubstr(database_.path() + ": not a database"));
  RemoveDatabase();
  expect_unreadable();
  EXPECT_THAT(Ask({"explain", "a.b"}).output, HasSubstr("No such file or directory"));
  MakeDatabaseADirectory();
  expect_unreadable();
  EXPECT_THAT(Ask({"explain", "a.b"}).output, HasSubstr("not a file"));
}

TEST_F(NuvctlExplainWithService, ATableWithoutAStateCannotBeAsked) {
  database_.Add("a.b");
  database_.Run("alter table widgetinfo rename column is_lock to other");
  const Json json = AskJson({"explain", "a.b"});
  EXPECT_EQ(json["reasons"][0]["reason"], "database-unreadable");
  EXPECT_EQ(json["reasons"][0]["meaning"], "the table of applications cannot be asked about the states");
  EXPECT_EQ(json["status"], 1);
}

TEST_F(NuvctlExplainWithService, ABusyDatabaseStopsLookups) {
  database_.Add("a.b");
  const auto lock = LockDatabase();
  const Verdict verdict = Explain("a.b");
  EXPECT_THAT(verdict.reasons, ElementsAre("database-busy: lookup"));
  EXPECT_EQ(verdict.launch, std::nullopt);
  EXPECT_EQ(verdict.status, 4);
}

TEST_F(NuvctlExplainWithService, NamesAHostileIdOnlyInJson) {
  const std::string id = "\x1b[2J\n%s";
  database_.Add(id, {{"install_state", 2}});
  EXPECT_EQ(AskJson({"explain", id})["app"], id);
  EXPECT_EQ(Ask({"explain", id}).output.find('\x1b'), std::string::npos);
}

TEST_F(NuvctlExplainWithService, TakesOneId) {
  EXPECT_EQ(Ask({"explain"}).status, 2);
  EXPECT_EQ(Ask({"explain", "a", "b"}).status, 2);
}

TEST_F(NuvctlExplain, AServiceThatDoesNotRunStopsLaunches) {
  database_.Add("a.b");
  const Verdict verdict = Explain("a.b");
  EXPECT_THAT(verdict.reasons, ElementsAre("service-gone: launch"));
  EXPECT_TRUE(verdict.lookup);
  EXPECT_EQ(verdict.launch, false);
  EXPECT_EQ(verdict.status, 5);
}

TEST_F(NuvctlExplain, ABusThatIsGoneStopsLaunches) {
  database_.Add("a.b");
  bus_.Kill();
  const Verdict verdict = Explain("a.b");
  EXPECT_THAT(verdict.reasons, ElementsAre("bus-gone: launch"));
  EXPECT_EQ(verdict.status, 6);
  EXPECT_THAT(Ask({"explain", "a.b"}).output, HasSubstr("\na lookup finds it\na launch does not succeed\n"));
}

// What it says of a launch, beside what becomes of one.
class NuvctlExplainLaunches : public NuvctlTest {
 protected:
  PrivateBus bus_;
};

TEST_F(NuvctlExplainLaunches, AsTheReferenceServiceDecides) {
  WriteFile(directory_ / "seed.json", R"({"apps": [
      {"id": "usable"}, {"id": "hidden", "is_hidden": 1}, {"id": "locked", "is_lock": 1},
      {"id": "away", "install_state": 2}, {"id": "unavailable", "is_app_available": 0},
      {"id": "reset", "is_need_reset": 1}, {"id": "renamed", "kelvo_id": "other", "pkgname": "package"}]})");
  Process simulator({NUV_BIN_DIR "/nuv-simulator", "--dir", directory_ / "service", "--seed", directory_ / "seed.json",
                     "--print-ready"},
                    directory_.path());
  ASSERT_TRUE(WaitUntil([&] { return simulator.Output().find("ready") != std::string::npos; })) << simulator.Errors();
  const Process::Environment here = {{"NUV_HOST_DIR", directory_ / "service"}};
  for (const char* id :
       {"usable", "hidden", "locked", "away", "unavailable", "reset", "renamed", "other", "package", "unknown"}) {
    const Json explained = Run({"explain", id, "--json"}, here).Json();
    EXPECT_EQ(explained["lookup"], Run({"show", id}, here).status == 0) << id;
    EXPECT_EQ(explained["launch"], Run({"launch", id, "--wait", "20"}, here).status == 0) << id;
  }
}
