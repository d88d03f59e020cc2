// A host's thread that is cancelled in a query: it ends, sooner or later, and leaves nothing behind that others need.
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <pthread.h>

#include <cstdlib>
#include <functional>

#include "inner_test.h"
#include "nuv_db_api/nuv_db_statement.h"

namespace {

int Find() {
  nuv_app_info_s info = {};
  return nuv_get_app_info_by_runtitle("clock", &info);
}

int FindOnInnerSide() {
  _APPSINFO_T info;
  return nuv_inner_get_app_info_by_id("app", info, true);
}

// A thread may be ended when the list has been handed out already: it is the caller's then.
int List() {
  struct Handed {
    ~Handed() { free(list); }
    nuv_app_info_s* list = nullptr;
  } handed;
  int count = 0;
  return nuv_get_key_list("is_lock", 0, &handed.list, &count);
}

int Change() {
  return nuv_inner_update_app_by_key_value("app", APPSINFO_UPDATE_VERSION, "2");
}

struct Call {
  const char* name;
  int (*run)();
};
void PrintTo(const Call& call, std::ostream* out) {
  *out << call.name;
}

constexpr Call kCalls[] = {{"Find", Find}, {"FindOnInnerSide", FindOnInnerSide}, {"List", List}, {"Change", Change}};

void CancelItself() {
  pthread_cancel(pthread_self());
}

class CancelledQuery : public InnerTest, public ::testing::WithParamInterface<Call> {
 protected:
  void SetUp() override {
    InnerTest::SetUp();
    database_.Add("app", {{"run_title", "clock"}, {"is_lock", 1}});
    database_.AddMany(100);
    database_.Close();
    fake_platform::SetFactoryReset(0);
  }
  void TearDown() override {
    sqlite_faults::before_prepare = nullptr;
    fake_platform::OnLogLine(nullptr);
    InnerTest::TearDown();
  }

  // Runs the call on a thread of its own, which is then cancelled if it was not before. Whether it came to its end.
  static bool RunToItsEnd(int (*run)()) {
    struct Run {
      int (*run)();
      bool ended = false;
    } started{run};
    pthread_t thread;
    EXPECT_EQ(0, pthread_create(
                     &thread, nullptr,
                     [](void* data) -> void* {
                       auto* const own = static_cast<Run*>(data);
                       own->run();
                       own->ended = true;
                       pthread_testcancel();
                       return nullptr;
                     },
                     &started));
    EXPECT_EQ(0, pthread_join(thread, nullptr));
    return started.ended;
  }

  void ExpectNothingLeft() {
    EXPECT_EQ(0, sqlite_faults::LiveStatements());
    for (const Call& call : kCalls) {
      std::future<int> result = std::async(std::launch::async, call.run);
      // A thread that waits for ever cannot be ended: the test program is.
      if (result.wait_for(std::chrono::seconds(20)) != std::future_status::ready) abort();
      EXPECT_EQ(0, result.get()) << call.name;
    }
    database_.Run("update widgetinfo set size = 1");  // no lock on the file is left
    database_.Close();
  }
};

// SQLite reads the file behind the preparing of a statement, and opens it before: there a thread would end.
TEST_P(CancelledQuery, EndsBehindSqliteAndNotWithinIt) {
  for (const bool connected : {false, true}) {
    SCOPED_TRACE(connected);
    sqlite_faults::before_prepare = [](const std::string&) { CancelItself(); };
    RunToItsEnd(GetParam().run);
    sqlite_faults::before_prepare = nullptr;
    ExpectNothingLeft();
  }
}

TEST_P(CancelledQuery, EndsBehindARowAndNotWithinTheStatement) {
  ASSERT_EQ(0, GetParam().run());
  fake_platform::Clear();
  fake_platform::OnLogLine([] {
    if (sqlite_faults::LiveStatements() != 0) CancelItself();
    pthread_testcancel();
  });
  RunToItsEnd(GetParam().run);
  fake_platform::OnLogLine(nullptr);
  EXPECT_TRUE(fake_platform::Logged("SQLITE_DONE : has finished executing"));
  ExpectNothingLeft();
}

TEST_P(CancelledQuery, EndsBehindABusyDatabase) {
  ASSERT_EQ(0, GetParam().run());
  for (std::deque<int>* codes : {&sqlite_faults::prepare_codes, &sqlite_faults::step_codes}) {
    fake_platform::Clear();
    *codes = {SQLITE_BUSY, SQLITE_BUSY};
    fake_platform::OnEffect([](const std::string&) {
      CancelItself();
      pthread_testcancel();
    });
    RunToItsEnd(GetParam().run);
    fake_platform::OnEffect(nullptr);
    EXPECT_EQ(2u, fake_platform::Effects().size()) << "the wait goes on to its end";
    EXPECT_TRUE(fake_platform::Logged("SQLITE_DONE : has finished executing"));
    codes->clear();
    ExpectNothingLeft();
  }
}

// The platform's log writes to files and sockets.
TEST_P(CancelledQuery, MayEndAtAnyLineOfTheLog) {
  ASSERT_EQ(0, GetParam().run());
  int ended = 0;
  bool whole = false;
  for (int nth = 1; !whole && nth < 2000; nth = nth < 30 ? nth + 1 : nth * 2) {
    SCOPED_TRACE(nth);
    std::atomic<int> lines{0};
    fake_platform::OnLogLine([&] {
      if (++lines == nth) CancelItself();
      pthread_testcancel();
    });
    whole = RunToItsEnd(GetParam().run) && lines < nth;
    ended += whole ? 0 : 1;
    fake_platform::OnLogLine(nullptr);
    EXPECT_TRUE(LeavesMutexAlone(g_Mute, [] {}));
    ExpectNothingLeft();
  }
  EXPECT_TRUE(whole);
  EXPECT_LT(5, ended);
}

INSTANTIATE_TEST_SUITE_P(All, CancelledQuery, ::testing::ValuesIn(kCalls),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
