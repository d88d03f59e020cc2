// The functions that look one application up: guards, arguments, filters, results and the whole log of each path.
#include <nuv_common/nuv_lock.h>

#include <algorithm>
#include <optional>

#include "catalogue_log.h"
#include "client_entries.h"
#include "database_test.h"
#include "held_mutex.h"

namespace {

const std::string kResetStart = "S " + Green("CkeckIsFactoryReset");
const std::string kResetEnd = "I " + Green("CheckPkgmgrRecovering end");

// Replaces each mark.
std::string Fill(std::string text, char mark, const std::string& value) {
  for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + value.size())) {
    text.replace(at, 1, value);
  }
  return text;
}

class ClientEntry : public DatabaseTest, public ::testing::WithParamInterface<Entry> {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    fake_platform::SetFactoryReset(0);
  }

  // The checks take their id quoted.
  static bool IsCheck() { return GetParam().start[0] == 'S'; }
  static std::string Key(const std::string& value) { return IsCheck() ? "'" + value + "'" : value; }

  // An application that the function finds by "key".
  void AddKeyed(const AppDatabase::Row& differences = {}) {
    AppDatabase::Row row = differences;
    row.insert({{"is_lock", 1}, {"reserved_tinyint_1", 0}});
    if (GetParam().keys.front() == std::string("run_title")) row.insert({"run_title", "key"});
    const bool by_id = GetParam().keys.front() == std::string("id");
    database_.Add(by_id ? "key" : "app", row);
  }

  // A check takes a whole list of ids.
  int RunWith(const std::string& key) {
    found_.emplace().SetKey(key);
    return CallOf(GetParam().name).call(*found_);
  }
  int Run(const std::string& value = "key") { return RunWith(Key(value)); }
  LogLines LogOfRun(const std::string& value = "key") {
    return LogOf([&] { result_ = Run(value); });
  }

  static std::string Line(const char* kind, const std::string& text, const std::string& key) {
    return kind + Fill(text, '@', key);
  }
  static LogLines Start(const std::string& key = Key("key")) { return {Line("I ", GetParam().start, key)}; }
  static LogLines BeforeQuery() {
    LogLines lines = Join({Start(), GuardLines()});
    for (const std::string& text : GetParam().middle) lines.push_back(Line("I ", text, Key("key")));
    return lines;
  }
  static LogLines QueryEnd(const std::string& value) { return {"I " + Fill(GetParam().query_end, '%', value)}; }
  static LogLines End(int result) {
    return {Line("I ", Fill(GetParam().end, '#', std::to_string(result)), Key("key"))};
  }
  LogLines Prepared() const { return PrepareLines(database_.path()); }

  std::optional<Arguments> found_;
  int result_ = 99;
};

INSTANTIATE_TEST_SUITE_P(Entries, ClientEntry, ::testing::ValuesIn(ClientEntries()),
                         [](const auto& entry) { return std::string(entry.param.name); });

TEST_P(ClientEntry, FindsAnApplicationThatCanBeUsed) {
  Run("nothing");
  AddKeyed();
  const LogLines log = LogOfRun();
  EXPECT_EQ(0, result_);
  const std::string id = GetParam().keys.front() == std::string("id") ? "key" : "app";
  EXPECT_EQ(
      Join({BeforeQuery(), Prepared(), RowLines(), GetParam().row(*found_, id), DoneLines(), QueryEnd(id), End(0)}),
      log);
  EXPECT_EQ(Fill(GetParam().statement, '@', Key("key")), sqlite_faults::Prepared().back());
}

TEST_P(ClientEntry, FindsNothingWhereNothingMatches) {
  Run("nothing");
  const LogLines log = LogOfRun();
  EXPECT_EQ(-1, result_);
  EXPECT_EQ(Join({BeforeQuery(), Prepared(), DoneLines(), QueryEnd(""), End(-1)}), log);
}

TEST_P(ClientEntry, FindsNoApplicationThatIsNotInstalledAvailableAndFreeOfAReset) {
  for (const int state : {-1, 0, 1, 2, 4}) AddKeyed({{"install_state", state}});
  for (const int available : {-1, 0, 2, 3}) AddKeyed({{"is_app_available", available}});
  for (const int reset : {-1, 1, 2, 3}) AddKeyed({{"is_need_reset", reset}});
  EXPECT_EQ(-1, Run());
  AddKeyed({{"is_hidden", 1}});
  EXPECT_EQ(0, Run());
}

TEST_P(ClientEntry, ComparesItsColumnsByteForByteAndNoOthers) {
  for (const auto& [name, is_number] : AppDatabase::Columns()) {
    if (is_number) continue;
    database_.Run("delete from widgetinfo");
    AppDatabase::Row row = {{"is_lock", 1}, {"id", "other"}};
    row["reserved_tinyint_1"] = 0;
    row[name] = "100%s of it";
    database_.Add("", row);
    const std::vector<const char*>& keys = GetParam().keys;
    const bool is_key = std::any_of(keys.begin(), keys.end(), [&n = name](const char* key) { return n == key; });
    EXPECT_EQ(is_key ? 0 : -1, Run("100%s of it")) << name;
    EXPECT_EQ(-1, Run("100%s OF IT")) << name;
    EXPECT_EQ(-1, Run("100%s of it ")) << name;
  }
}

TEST_P(ClientEntry, IsRefusedDuringAFactoryReset) {
  AddKeyed();
  for (const int state : {1, 2}) {
    fake_platform::SetFactoryReset(state);
    const LogLines log = LogOfRun();
    EXPECT_EQ(-1, result_);
    EXPECT_EQ(Join({Start(), {kResetStart, kResetEnd, "I " + GetParam().reset_colour("FactoryReset is true")}}), log);
  }
  EXPECT_TRUE(sqlite_faults::Openings().empty());
}

TEST_P(ClientEntry, IsRefusedWhilePackagesAreRepaired) {
  AddKeyed();
  fake_platform::SetRepairMarker(true);
  const LogLines log = LogOfRun();
  EXPECT_EQ(-1, result_);
  EXPECT_EQ(Join({Start(),
                  {kResetStart, kResetEnd, "S " + Green("CheckPkgmgrRecovering"),
                   "I " + Green("CheckPkgmgrRecovering true"), "E " + Red("Pkgmgr is recovering")}}),
            log);
  EXPECT_TRUE(sqlite_faults::Openings().empty());
}

TEST_P(ClientEntry, IsNotRefusedInOtherStatesOfTheReset) {
  AddKeyed();
  for (const int state : {-1, 3}) {
    fake_platform::SetFactoryReset(state);
    EXPECT_EQ(0, Run()) << state;
  }
  fake_platform::SetFactoryReset(std::nullopt);
  EXPECT_EQ(0, Run());
  EXPECT_EQ(6, fake_platform::LogPriority(Red("Failed to get vconf value key=(db/nuv/factory_reset)")));
}

TEST_P(ClientEntry, RefusesNullArguments) {
  ASSERT_FALSE(GetParam().null_records.empty() && GetParam().null_keys.empty());
  for (const auto call : GetParam().null_records) {
    EXPECT_EQ(Join({Start("key"), GuardLines(), {GetParam().null_line}}), LogOf([&] { EXPECT_EQ(-1, call()); }));
  }
  for (const auto call : GetParam().null_keys) {
    EXPECT_EQ(Join({Start("(null)"), GuardLines(), {GetParam().null_line}}), LogOf([&] { EXPECT_EQ(-1, call()); }));
  }
  EXPECT_TRUE(sqlite_faults::Openings().empty());
}

TEST_P(ClientEntry, RefusesAnEmptyKey) {
  const LogLines log = LogOf([&] { result_ = RunWith(""); });
  EXPECT_EQ(-1, result_);
  EXPECT_EQ(Join({Start(""), GuardLines(), {GetParam().empty_line}}), log);
  EXPECT_TRUE(sqlite_faults::Openings().empty());
}

TEST_P(ClientEntry, AsksTheGuardsBeforeItChecksItsArguments) {
  fake_platform::SetFactoryReset(1);
  EXPECT_EQ(Join({Start(""), {kResetStart, kResetEnd, "I " + GetParam().reset_colour("FactoryReset is true")}}),
            LogOf([&] { EXPECT_EQ(-1, RunWith("")); }));
}

TEST_P(ClientEntry, IsBusyWhereTheStatementCannotBeMade) {
  AddKeyed();
  const auto locker = LockDatabase();
  const LogLines log = LogOfRun();
  EXPECT_EQ(-2, result_);
  EXPECT_EQ(Join({BeforeQuery(), OpenedLines(database_.path()), BusyPrepareLines(), PreparedLine(-2), End(-2)}), log);
  EXPECT_EQ(std::vector<std::string>(49, "usleep 10000"), fake_platform::Effects());
}

TEST_P(ClientEntry, IsBusyWhereNoRowCanBeRead) {
  Run("nothing");
  AddKeyed();
  const auto locker = LockDatabase();
  const LogLines log = LogOfRun();
  EXPECT_EQ(-2, result_);
  EXPECT_EQ(Join({BeforeQuery(), Prepared(), BusyStepLines(), {"E Get DB fail:sql busy"}, QueryEnd(""), End(-2)}), log);
}

TEST_P(ClientEntry, FailsWhereTheTableIsNotThere) {
  database_.Run("drop table widgetinfo");
  const LogLines log = LogOfRun();
  EXPECT_EQ(-1, result_);
  EXPECT_EQ(Join({BeforeQuery(),
                  OpenedLines(database_.path()),
                  {"I unknow type 1", "E " + Red("SQLite: no such table: widgetinfo")},
                  PreparedLine(-1),
                  End(-1)}),
            log);
}

TEST_P(ClientEntry, TakesTheMutexOfLaunchesOrLeavesItAlone) {
  AddKeyed();
  const auto call = [this] { EXPECT_EQ(0, Run()); };
  const bool takes_it = CallOf(GetParam().name).mutex == Named::kLaunches;
  EXPECT_TRUE(takes_it ? TakesMutex(g_Mute, call) : LeavesMutexAlone(g_Mute, call));
}

TEST_P(ClientEntry, NamesItselfInItsLines) {
  AddKeyed();
  Run();
  const auto log = fake_platform::Log();
  const std::string function = "NuvClient nuv_db_client.cpp: " + std::string(GetParam().name) + "(";
  EXPECT_EQ(0u, log.front().prefix.find(function)) << log.front().prefix;
  EXPECT_EQ(0u, log.back().prefix.find(function)) << log.back().prefix;
}

}  // namespace
