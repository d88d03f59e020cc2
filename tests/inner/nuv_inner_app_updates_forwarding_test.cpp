// Changes that are asked of the service first and made locally only where that fails with -1.
#include <atomic>

#include "faults.h"
#include "inner_test.h"

namespace {

using Answer = RecordingService::Answer;

// One of the two changes.
struct Change {
  const char* name;
  const char* method;
  std::function<int(const std::string& id)> call;
  const char* column;  // is 1 before, and otherwise after a local write
  const char* written;
  std::string start;  // log lines, with % for the id
  std::string end;
  std::string empty;
};
void PrintTo(const Change& change, std::ostream* out) {
  *out << change.name;
}

const Change kChanges[] = {
    {"ByKey", "nuv_update_app_by_key",
     [](const std::string& id) { return nuv_inner_update_app_by_key(id, APPSINFO_UPDATE_IS_UPDATED); }, "is_updated",
     "0", "I [inner db] update app info [%] by key 0", "I [inner db] update app key success",
     "E " + Red("Appid is empty")},
    {"Count", "nuv_update_app_count", nuv_inner_update_app_count, "use_count", "2", "I [inner db] [%] update count",
     "I [inner db] get app count success", "E " + Red("App id is empty")},
};

class InnerChange : public InnerBusTest, public ::testing::WithParamInterface<Change> {
 protected:
  void SetUp() override {
    InnerBusTest::SetUp();
    database_.Add("app", {{"is_updated", 1}, {"use_count", 1}, {"run_title", "title"}});
  }

  static std::string Start(const std::string& id) {
    std::string line = GetParam().start;
    return line.replace(line.find('%'), 1, id);
  }

  // The change as a result, and the column that it is about.
  std::pair<int, std::string> Make(const std::string& id = "app") {
    const int result = GetParam().call(id);
    return {result, database_.Ask(std::string("select ") + GetParam().column + " from widgetinfo where id = 'app'")};
  }
  static std::pair<int, std::string> Written() { return {0, GetParam().written}; }

  // What SQLite opened: for reading before the service is asked, for writing only after that failed.
  void ExpectWrittenLocally() {
    Forget();
    EXPECT_EQ(Written(), Make());
    EXPECT_EQ((std::vector<int>{kFlagsReadOnly, kFlagsReadWrite}), Flags());
    EXPECT_EQ("read-write", Mode());
    EXPECT_EQ(1, g_db_type);
    EXPECT_EQ(1, sqlite_faults::LiveConnections());
  }
};

TEST_P(InnerChange, OfAnIdThatBeginsWithAZeroByteIsRefusedUnasked) {
  WarmUp();
  EXPECT_EQ(-1, GetParam().call(std::string("\0z", 2)));
  EXPECT_TRUE(service_->Calls().empty());
  EXPECT_TRUE(Flags().empty());
}

TEST_P(InnerChange, AnyAnswerButMinusOneIsTheResult) {
  WarmUp();
  for (const int state : {-3, -2, 0, 1, 2, 3}) {
    service_->AnswerTo(GetParam().method, {Answer::kReply, "(" + std::to_string(state) + ",)"});
    EXPECT_EQ(std::make_pair(state, std::string("1")), Make());
    EXPECT_EQ("read-only", Mode());
    EXPECT_EQ(0, g_db_type);
  }
  EXPECT_EQ(std::vector<int>{kFlagsReadOnly}, Flags());
  EXPECT_TRUE(sqlite_faults::Prepared().empty());
  EXPECT_EQ(6u, service_->CallsOf(GetParam().method).size());
}

TEST_P(InnerChange, LogsAForwardedChange) {
  WarmUp();
  EXPECT_EQ(0, GetParam().call("app"));
  const LogLines lines = LogSoFar();
  ASSERT_EQ(6u, lines.size());
  EXPECT_EQ(Join({{Start("app")}, kConnected, {"I " + Yellow("[inner db]connect ro db")}}),
            LogLines(lines.begin(), lines.begin() + 3));
  EXPECT_EQ(GetParam().end, lines[5]);
  fake_platform::Clear();
  EXPECT_EQ(0, GetParam().call("app"));
  EXPECT_EQ("I " + Yellow("[inner db]connected rw db"), LogSoFar()[1]);
}

TEST_P(InnerChange, LogsALocalWrite) {
  WarmUp();
  service_->AnswerTo(GetParam().method, {Answer::kReply, "(-1,)"});
  EXPECT_EQ(Written(), Make());
  LogLines lines = LogSoFar();
  ASSERT_LT(8u, lines.size());
  lines.erase(lines.begin(), lines.begin() + 5);  // until the answer is read
  LogLines time;
  if (lines[2].find("time is ") != std::string::npos) time.push_back(lines[2]);
  EXPECT_EQ(Join({kConnected,
                  {"I " + Yellow("[inner db]connect rw db")},
                  time,
                  kAlreadyConnected,
                  kPrepared,
                  kDone,
                  {GetParam().end}}),
            lines);
}

TEST_P(InnerChange, MinusOneLeadsToALocalWrite) {
  WarmUp();
  service_->AnswerTo(GetParam().method, {Answer::kReply, "(-1,)"});
  ExpectWrittenLocally();
}

TEST_P(InnerChange, WaitsForTheMutexBeforeItSwitches) {
  WarmUp();
  g_inner_Mute.lock();
  std::thread thread([] { EXPECT_EQ(0, GetParam().call("app")); });
  EXPECT_TRUE(WaitUntil([] { return IsWaitedFor(g_inner_Mute); }));
  EXPECT_EQ(LogLines{Start("app")}, LogSoFar());
  EXPECT_TRUE(Flags().empty());
  g_inner_Mute.unlock();
  thread.join();
}

// Else another thread could switch the connection back before the write.
TEST_P(InnerChange, SwitchesAndWritesInOneTurn) {
  WarmUp();
  service_->AnswerTo(GetParam().method, {Answer::kReply, "(-1,)"});
  EXPECT_EQ(std::vector<bool>{true},
            AtLine("I " + Yellow("[inner db]connect rw db"), TurnGoesOn, [this] { EXPECT_EQ(Written(), Make()); }));
  EXPECT_TRUE(TurnIsFree());
}

TEST_P(InnerChange, ARefusalLeadsToALocalWrite) {
  WarmUp();
  service_->AnswerTo(GetParam().method, {Answer::kError, "no"});
  ExpectWrittenLocally();
}

TEST_P(InnerChange, AnAnswerOfAnotherTypeLeadsToALocalWrite) {
  WarmUp();
  service_->AnswerTo(GetParam().method, {Answer::kReply, "('0',)"});
  ExpectWrittenLocally();
}

TEST_P(InnerChange, AnAbsentServiceLeadsToALocalWrite) {
  WarmUp();
  service_.reset();
  ExpectWrittenLocally();
}

TEST_P(InnerChange, AnUnusableLinkLeadsToALocalWrite) {
  bus_.Kill();
  ExpectWrittenLocally();
  EXPECT_TRUE(fake_platform::Logged("get inner db proxy error"));
}

TEST_P(InnerChange, AnIdThatCannotTravelLeadsToALocalWrite) {
  WarmUp();
  EXPECT_EQ(std::make_pair(0, std::string("1")), Make("caf\xc3")) << "no application has it";
  EXPECT_EQ("read-write", Mode());
}

TEST_P(InnerChange, TheModeChangesAroundTheQuestion) {
  WarmUp();
  std::vector<int> at_the_service;
  service_->Before(GetParam().method, [&](const RecordedCall&) { at_the_service = Flags(); });
  service_->AnswerTo(GetParam().method, {Answer::kReply, "(-1,)"});
  ASSERT_EQ(0, nuv_inner_db_init());
  ExpectWrittenLocally();
  EXPECT_EQ(std::vector<int>{kFlagsReadOnly}, at_the_service);
  Forget();
  service_->AnswerTo(GetParam().method, {Answer::kReply, "(0,)"});
  EXPECT_EQ(0, GetParam().call("app"));
  EXPECT_EQ(std::vector<int>{kFlagsReadOnly}, Flags()) << "the next change switches it back";
  EXPECT_EQ("read-only", Mode());
}

TEST_P(InnerChange, TheInnerMutexIsHeldAtTheServiceAndNoOther) {
  WarmUp();
  bool inner_was_free = true;
  bool other_was_free = false;
  int lookup = -1;
  service_->Before(GetParam().method, [&](const RecordedCall&) {
    inner_was_free = g_inner_Mute.try_lock();
    other_was_free = g_Mute.try_lock();
    if (other_was_free) g_Mute.unlock();
    // It takes neither: it would wait for as long as this call if the connection itself were taken.
    _APPSINFO_T info;
    lookup = nuv_inner_get_app_info_by_runtitle("title", info, true);
  });
  EXPECT_EQ(0, GetParam().call("app"));
  EXPECT_FALSE(inner_was_free);
  EXPECT_TRUE(other_was_free);
  EXPECT_EQ(0, lookup);
}

TEST_P(InnerChange, OtherThreadsQueriesWaitForTheWholeChange) {
  WarmUp();
  std::thread query;
  service_->AnswerTo(GetParam().method, {Answer::kReply, "(-1,)"});
  std::string seen;
  service_->Before(GetParam().method, [&](const RecordedCall&) {
    query = std::thread([&] {
      _APPSINFO_T info;
      EXPECT_EQ(0, nuv_inner_get_app_info_by_id("app", info, false));
      seen = Mode() + std::to_string(info.is_updated) + std::to_string(info.use_count);
    });
    EXPECT_TRUE(WaitUntil([] { return IsWaitedFor(g_inner_Mute); }));
  });
  EXPECT_EQ(Written(), Make());
  query.join();
  EXPECT_NE("read-write11", seen);
  EXPECT_EQ(0u, seen.find("read-write"));
}

TEST_P(InnerChange, WaitsForTheInnerMutexOnly) {
  WarmUp();
  EXPECT_TRUE(TakesMutex(g_inner_Mute, [] { GetParam().call("app"); }));
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [] { GetParam().call("app"); }));
}

TEST_P(InnerChange, IsRefusedWhilePackagesAreRepaired) {
  WarmUp();
  fake_platform::SetRepairMarker(true);
  EXPECT_EQ(-1, GetParam().call("app"));
  EXPECT_EQ(Join({{Start("app")}, kRecovering}), LogSoFar());
  EXPECT_TRUE(service_->Calls().empty());
  EXPECT_TRUE(Flags().empty());
}

TEST_P(InnerChange, NeedsAnId) {
  WarmUp();
  EXPECT_EQ(-1, GetParam().call(""));
  EXPECT_EQ((LogLines{Start(""), GetParam().empty}), LogSoFar());
  EXPECT_TRUE(service_->Calls().empty());
  EXPECT_TRUE(Flags().empty());
}

TEST_P(InnerChange, ALocalWriteThatStaysBusyIsTheResult) {
  WarmUp();
  service_.reset();
  const auto locker = LockDatabase();
  EXPECT_EQ(-2, GetParam().call("app"));
  EXPECT_EQ(kAllSleeps, fake_platform::Effects());
  EXPECT_EQ(GetParam().end, LogSoFar().back()) << "whatever the result";
}

TEST_P(InnerChange, WithoutADatabaseTheServiceIsAskedAllTheSame) {
  WarmUp();
  fake_platform::SetDatabaseDirectory(directory_.path());
  EXPECT_EQ(0, GetParam().call("app"));
  EXPECT_EQ(1u, service_->CallsOf(GetParam().method).size());
  service_.reset();
  EXPECT_EQ(-1, GetParam().call("app"));
  EXPECT_EQ((std::vector<int>{kFlagsReadOnly, kFlagsReadWrite, kFlagsReadOnly}), Flags());
}

INSTANTIATE_TEST_SUITE_P(All, InnerChange, ::testing::ValuesIn(kChanges),
                         [](const auto& row) { return std::string(row.param.name); });

class InnerChanges : public InnerBusTest {
 protected:
  static inline std::atomic<bool> made_by_service = false;
};

TEST_F(InnerChanges, AnUnknownKeyIsTheServicesMatterFirst) {
  WarmUp();
  const auto key = static_cast<APPSINFO_UPDATE_KEY_e>(5);
  EXPECT_EQ(0, nuv_inner_update_app_by_key("app", key));
  EXPECT_EQ("('app', 5)", service_->CallsOf("nuv_update_app_by_key")[0].Text());
  service_->AnswerTo("nuv_update_app_by_key", {Answer::kReply, "(-1,)"});
  EXPECT_EQ(-1, nuv_inner_update_app_by_key("app", key));
  EXPECT_EQ(6, fake_platform::LogPriority(Red("unknown key 5")));
  EXPECT_EQ("read-write", Mode());
}

TEST_F(InnerChanges, AChangeIsMadeTwiceWhenTheServiceMakesItAndItsAnswerRunsOutOfTime) {
  database_.Add("app", {{"use_count", 1}});
  WarmUp();
  service_->Before("nuv_update_app_count", [this](const RecordedCall&) {
    database_.Run("update widgetinfo set use_count = use_count + 1 where id = 'app'");
    made_by_service = true;
  });
  service_->AnswerTo("nuv_update_app_count", {Answer::kSilence, ""});
  faults::hurried_method = "nuv_update_app_count";
  faults::after_hurried_call = [] { WaitUntil([] { return made_by_service.load(); }); };
  EXPECT_EQ(0, nuv_inner_update_app_count("app"));
  EXPECT_EQ(6, fake_platform::LogPriority("gdbus timeout"));
  EXPECT_EQ("3", database_.Ask("select use_count from widgetinfo"));
  EXPECT_EQ((std::vector<int>{kFlagsReadOnly, kFlagsReadWrite}), Flags());
}

}  // namespace
