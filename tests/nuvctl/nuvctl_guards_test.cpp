// The verbs of the catalogue while packages are being repaired: called in the test's process, whose file system says
// so.
#include <gmock/gmock.h>

#include <cstdlib>

#include "app_database.h"
#include "command/command_line.h"
#include "fake_platform.h"
#include "obstacles/explain.h"

using testing::ElementsAre;
using testing::HasSubstr;

class NuvctlGuards : public testing::Test {
 protected:
  NuvctlGuards() {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    fake_platform::SetDatabaseDirectory(database_.directory());
    database_.Add("a.b", {{"run_title", "Run"}, {"is_lock", 1}});
    database_.AddConfig("RESERVED_27", "video:a.b");
  }

  static Report RunLine(std::vector<const char*> line) {
    line.insert(line.begin(), "nuvctl");
    const ParsedCommandLine parsed = ParseCommandLine(static_cast<int>(line.size()), line.data());
    const auto* command = std::get_if<Command>(&parsed);
    return command != nullptr ? command->Run() : std::get<Report>(parsed);
  }

  static std::vector<std::string> ReasonsFor(const std::string& id) {
    std::vector<std::string> reasons;
    for (const Reason& reason : Explain(id).reasons) reasons.emplace_back(reason.obstacle.key);
    return reasons;
  }

  AppDatabase database_;
};

TEST_F(NuvctlGuards, ARepairIsAFailureOfEachVerb) {
  fake_platform::SetRepairMarker(true);
  for (const auto& line : std::vector<std::vector<const char*>>{{"list"},
                                                                {"list", "--ms"},
                                                                {"list", "--hybrid"},
                                                                {"list", "--isp-bound"},
                                                                {"list", "--service"},
                                                                {"show", "a.b"},
                                                                {"show", "--title", "Run"},
                                                                {"show", "a.b", "--service"},
                                                                {"locked", "a.b"},
                                                                {"uninstallable", "a.b"},
                                                                {"group", "video"},
                                                                {"terminate", "a.b"}}) {
    const Report report = RunLine(line);
    EXPECT_EQ(report.outcome, Outcome::kFailed) << line.front();
    EXPECT_EQ(report.text, "") << line.front();
    EXPECT_EQ(report.error, "failed: packages are being repaired (/opt/dbspace/pkgreinstall exists)") << line.front();
  }
}

TEST_F(NuvctlGuards, WithoutARepairTheVerbsAnswer) {
  EXPECT_EQ(RunLine({"show", "a.b"}).outcome, Outcome::kDone);
  EXPECT_EQ(RunLine({"locked", "a.b"}).text, "yes");
  EXPECT_EQ(RunLine({"group", "video"}).text, "a.b");
}

TEST_F(NuvctlGuards, AGroupThatIsUnknownIsSoDuringARepairToo) {
  fake_platform::SetRepairMarker(true);
  EXPECT_EQ(RunLine({"group", "other"}).outcome, Outcome::kNotFound);
}

TEST_F(NuvctlGuards, ARepairStopsLookupsAfterAFactoryReset) {
  EXPECT_THAT(ReasonsFor("a.b"), ElementsAre("locked", "bus-gone"));
  fake_platform::SetRepairMarker(true);
  EXPECT_THAT(ReasonsFor("a.b"), ElementsAre("repair", "locked", "bus-gone"));
  fake_platform::SetFactoryReset(2);
  EXPECT_THAT(ReasonsFor("a.b"), ElementsAre("factory-reset", "repair", "locked", "bus-gone"));
  EXPECT_FALSE(Explain("a.b").lookup_finds);
}

TEST_F(NuvctlGuards, TheDoctorTellsARepair) {
  const auto check_of = [](const Report& report) {
    for (const Value& row : std::get<List>(report.details.at("checks"))) {
      const Fields& check = std::get<Fields>(row);
      if (std::get<std::string>(check.at("name")) == "repair") return check;
    }
    return Fields();
  };
  EXPECT_EQ(std::get<std::string>(check_of(RunLine({"doctor"})).at("state")), "ok");
  fake_platform::SetRepairMarker(true);
  const Fields check = check_of(RunLine({"doctor"}));
  EXPECT_EQ(std::get<std::string>(check.at("state")), "fail");
  EXPECT_THAT(std::get<std::string>(check.at("text")), HasSubstr("packages are being repaired"));
  EXPECT_THAT(std::get<std::string>(check.at("mend")), HasSubstr("/opt/dbspace/pkgreinstall"));
}

TEST_F(NuvctlGuards, APlatformWithoutADirectoryHasNoDatabase) {
  fake_platform::SetDatabaseDirectory(std::nullopt);
  EXPECT_THAT(RunLine({"show", "a.b"}).error, HasSubstr("cannot be read (the platform names no directory for it)"));
}
