// The workers that read one row: the same course of events for each of them.
#include "nuv_db_api/nuv_app_queries.h"

#include <nuv_common/nuv_lock.h>

#include <cstdlib>
#include <functional>

#include "catalogue_log.h"
#include "database_test.h"
#include "held_mutex.h"
#include "record_line.h"

namespace {

constexpr const char* kByTitle = " where run_title = ?";
constexpr const char* kByName = " where name = ?";

// What a worker may fill, with what was there before.
struct Output {
  nuv_app_info_s info = {};
  _APPS_INNER_INFO_T inner;
  int number = -5;
  char text[kValueSize] = "before";
  char* value = nullptr;
  ~Output() { free(value); }
};

// One worker that is asked for what has the run title, or for the configuration value of that name.
struct Worker {
  const char* name;
  int (*run)(Output& out, const std::string& title);
  std::string (*output)(const Output& out);
  std::string before;  // output() of a fresh output
  std::string first;   // output() after the first row
  const char* statement;
  std::string start;  // "@" stands for the title
  std::vector<std::string> (*row)(const Output& out);
  std::string (*finish)(const Output& out, const std::string& title);
};

void PrintTo(const Worker& worker, std::ostream* stream) {
  *stream << worker.name;
}

std::vector<_NUVDB_BIND_T> TextBind(const std::string& text) {
  return {{1, text, 0}};
}

std::string Finish(const Output&, const std::string&) {
  return "I Get DB finish";
}

const Worker kWorkers[] = {
    {"GetAppsTableInfo",
     [](Output& out, const std::string& title) {
       auto binds = TextBind(title);
       return GetAppsTableInfo(&out.info, kByTitle, binds);
     },
     [](const Output& out) { return std::string(out.info.app_id); }, "", "first",
     " where run_title = ?",  // behind the full row
     "Start:strParam: where run_title = ? ",
     [](const Output& out) {
       return LogLines{"I set app_info success", "I " + RecordLine(out.info)};
     },
     Finish},
    {"m_GetAppsTableInnerInfo",
     [](Output& out, const std::string& title) {
       auto binds = TextBind(title);
       return m_GetAppsTableInnerInfo(&out.inner, kByTitle, binds);
     },
     [](const Output& out) { return out.inner.id; }, "", "first", " where run_title = ?",
     "Start:strParam: where run_title = ? ", [](const Output&) { return LogLines{"I set app_info success"}; }, Finish},
    {"GetIntValueByKey",
     [](Output& out, const std::string& title) {
       char key[] = "size";
       return GetIntValueByKey(&out.number, key, kByTitle, 7, TextBind(title));
     },
     [](const Output& out) { return std::to_string(out.number); }, "-5", "11",
     "  select size  from widgetinfo where run_title = ?",
     "Start: strkey:[size],strParam:[ where run_title = ?],tableType:[7] ",
     [](const Output&) { return LogLines{"I iValue =11"}; },
     [](const Output& out, const std::string&) {
       return "I Get DB info finish:iValue:[" + std::to_string(out.number) + "]";
     }},
    {"GetStrValueByKey",
     [](Output& out, const std::string& title) {
       char key[] = "id";
       return GetStrValueByKey(out.text, key, kByTitle, 0, TextBind(title));
     },
     [](const Output& out) { return std::string(out.text); }, "before", "first",
     "  select id  from widgetinfo where run_title = ?",
     "Start : strkey:[id],strParam:[ where run_title = ?],tableType:[0] ",
     [](const Output&) { return LogLines{"I strValue =first"}; },
     [](const Output& out, const std::string&) { return "I Get DB finish:strValue:[" + std::string(out.text) + "]"; }},
    {"GetStrValueByKeyOfTheConfiguration",
     [](Output& out, const std::string& title) {
       char key[] = "no such column";
       return GetStrValueByKey(out.text, key, kByName, 2, TextBind(title));
     },
     [](const Output& out) { return std::string(out.text); }, "before", "first",
     "  select value from NUVConfigTable where name = ?",
     "Start : strkey:[no such column],strParam:[ where name = ?],tableType:[2] ",
     [](const Output&) { return LogLines{"I strValue =first"}; },
     [](const Output& out, const std::string&) { return "I Get DB finish:strValue:[" + std::string(out.text) + "]"; }},
    {"GetConfigTableValue",
     [](Output& out, const std::string& title) { return GetConfigTableValue(title.c_str(), &out.value); },
     [](const Output& out) { return std::string(out.value == nullptr ? "untouched" : out.value); }, "untouched",
     "first", "select value from NUVConfigTable where name = ?", "Start : table:[NUVConfigTable] strkey:[@]",
     [](const Output&) { return LogLines{"I strValue =first"}; },
     [](const Output& out, const std::string& title) {
       return "I Get DB finish:strName:[" + title + "],strValue:[" + (out.value == nullptr ? "" : out.value) + "]";
     }},
};

class SingleRow : public DatabaseTest, public ::testing::WithParamInterface<Worker> {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    database_.Add("first", {{"run_title", "clock"}, {"size", 11}});
    database_.Add("second", {{"run_title", "clock"}, {"size", 22}});
    database_.AddConfig("clock", "first");
    database_.AddConfig("clock", "second");
  }

  // Runs the worker; the result and the output are kept, the log is returned.
  LogLines Run(const std::string& title = "clock") {
    return LogOf([&] { result_ = GetParam().run(out_, title); });
  }
  void ConnectFirst() {
    Output out;
    GetParam().run(out, "nothing");
  }

  std::string Got() const { return GetParam().output(out_); }
  LogLines Start(const std::string& title = "clock") const {
    std::string start = GetParam().start;
    if (const size_t mark = start.find('@'); mark != std::string::npos) start.replace(mark, 1, title);
    return {"I " + start};
  }
  LogLines Row() const { return Join({RowLines(), GetParam().row(out_)}); }
  LogLines End(const std::string& title = "clock") const { return {GetParam().finish(out_, title)}; }
  LogLines Prepared() const { return PrepareLines(database_.path()); }
  std::string Statement() const {
    const std::string statement = GetParam().statement;
    return statement.find("select") == std::string::npos ? AppDatabase::FullRowSelect() + statement : statement;
  }

  Output out_;
  int result_ = 99;
};

INSTANTIATE_TEST_SUITE_P(Workers, SingleRow, ::testing::ValuesIn(kWorkers),
                         [](const auto& worker) { return std::string(worker.param.name); });

const LogLines kBusy = {"E Get DB fail:sql busy"};

TEST_P(SingleRow, FillsItsOutputFromTheFirstRowAndReadsPastTheOthers) {
  ConnectFirst();
  const LogLines log = Run();
  EXPECT_EQ(0, result_);
  EXPECT_EQ(GetParam().first, Got());
  EXPECT_EQ(Join({Start(), Prepared(), Row(), RowLines(), DoneLines(), End()}), log);
}

TEST_P(SingleRow, OpensTheDatabaseWithTheFirstQuery) {
  const LogLines log = Run();
  EXPECT_EQ(Join({Start(), OpenedLines(database_.path()), PreparedLine(0), Row(), RowLines(), DoneLines(), End()}),
            log);
}

TEST_P(SingleRow, LeavesItsOutputAloneWhereNothingMatches) {
  ConnectFirst();
  const LogLines log = Run("it's 100%s\n");
  EXPECT_EQ(-1, result_);
  EXPECT_EQ(GetParam().before, Got());
  EXPECT_EQ(Join({Start("it's 100%s\n"), Prepared(), DoneLines(), End("it's 100%s\n")}), log);
}

TEST_P(SingleRow, HasOneStatementText) {
  Run();
  EXPECT_EQ(std::vector<std::string>{Statement()}, sqlite_faults::Prepared());
}

TEST_P(SingleRow, HandsABusyPrepareOnWithoutALineOfItsOwn) {
  const auto locker = LockDatabase();
  const LogLines log = Run();
  EXPECT_EQ(-2, result_);
  EXPECT_EQ(GetParam().before, Got());
  EXPECT_EQ(Join({Start(), OpenedLines(database_.path()), BusyPrepareLines(), PreparedLine(-2)}), log);
  EXPECT_EQ(std::vector<std::string>(49, "usleep 10000"), fake_platform::Effects());
}

TEST_P(SingleRow, HandsAFailedPrepareOnWithoutALineOfItsOwn) {
  ConnectFirst();
  sqlite_faults::prepare_codes = {SQLITE_NOTADB};
  const LogLines log = Run();
  EXPECT_EQ(-1, result_);
  EXPECT_EQ(GetParam().before, Got());
  EXPECT_EQ(Join({Start(),
                  ConnectedLines(database_.path()),
                  {"I unknow type 26", "E " + Red("SQLite: not an error")},
                  PreparedLine(-1)}),
            log);
}

TEST_P(SingleRow, GivesUpWhereTheFirstStepStaysBusy) {
  ConnectFirst();
  const auto locker = LockDatabase();
  const LogLines log = Run();
  EXPECT_EQ(-2, result_);
  EXPECT_EQ(GetParam().before, Got());
  EXPECT_EQ(Join({Start(), Prepared(), BusyStepLines(), kBusy, End()}), log);
  EXPECT_EQ(std::vector<std::string>(49, "usleep 10000"), fake_platform::Effects());
}

TEST_P(SingleRow, IsBusyWithAFilledOutputWhereALaterStepStaysBusy) {
  ConnectFirst();
  sqlite_faults::step_codes = std::deque<int>(51, SQLITE_BUSY);
  sqlite_faults::step_codes.front() = 0;
  const LogLines log = Run();
  EXPECT_EQ(-2, result_);
  EXPECT_EQ(GetParam().first, Got());
  EXPECT_EQ(Join({Start(), Prepared(), Row(), BusyStepLines(), kBusy, End()}), log);
}

TEST_P(SingleRow, FindsNothingWhereTheFirstStepFails) {
  ConnectFirst();
  sqlite_faults::step_codes = {SQLITE_CORRUPT};
  const LogLines log = Run();
  EXPECT_EQ(-1, result_);
  EXPECT_EQ(GetParam().before, Got());
  EXPECT_EQ(Join({Start(), Prepared(), FailedStepLines(11, "not an error"), End()}), log);
}

TEST_P(SingleRow, HasFoundItsRowWhereALaterStepFails) {
  ConnectFirst();
  sqlite_faults::step_codes = {0, SQLITE_CORRUPT};
  const LogLines log = Run();
  EXPECT_EQ(0, result_);
  EXPECT_EQ(GetParam().first, Got());
  EXPECT_EQ(Join({Start(), Prepared(), Row(), FailedStepLines(11, "another row available"), End()}), log);
}

TEST_P(SingleRow, TakesNoMutex) {
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [this] { Run(); }));
  EXPECT_EQ(0, result_);
}

TEST_P(SingleRow, AsksNoGuard) {
  fake_platform::SetFactoryReset(1);
  fake_platform::SetRepairMarker(true);
  Run();
  EXPECT_EQ(0, result_);
}

}  // namespace
