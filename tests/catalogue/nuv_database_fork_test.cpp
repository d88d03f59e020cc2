// The catalogue in a forked child: it has a connection of its own, whatever the parent's threads do.
#include <errno.h>
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <nuv/nuv_inner_database.h>
#include <nuv_common/nuv_lock.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <ctime>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

#include "catalogue_log.h"
#include "database_test.h"
#include "nuv_db_api/nuv_db_statement.h"
#include "nuv_inner_db_api/nuv_db_connection.h"
#include "process.h"
#include "real_call.h"

// A forked child is told of threads of its parent that have ended and are not joined yet. Races are reported as ever.
extern "C" const char* __tsan_default_options() {
  return "report_thread_leaks=0";
}

namespace {

using sqlite_faults::Executed;
using sqlite_faults::LiveStatements;
using sqlite_faults::Openings;

// Called in fork() once the library has prepared for it: the handlers that are registered first are called last. A
// shared library registers its own before any of the program's: then it is called before.
#ifdef NUV_SHARED_LIBRARY_UNDER_TEST
constexpr bool kCalledBehindTheLibrary = false;
#else
constexpr bool kCalledBehindTheLibrary = true;
#endif
std::function<void()> when_library_is_prepared;
__attribute__((constructor(102))) void RegisterBeforeTheLibrary() {
  pthread_atfork(
      [] {
        if (when_library_is_prepared) when_library_is_prepared();
      },
      nullptr, nullptr);
}

// The clock of a thread that forks, from there to the end of fork(): it stands but for what the thread waits, which
// takes no time and is counted to the nanosecond.
struct ForkClock {
  bool counts = false;
  int64_t waited = 0;
  int64_t event_at = INT64_MAX;  // what happens when so much has been waited, once
  const std::function<void()>* event = nullptr;

  void Wait(int64_t until) {
    waited = std::min(until, event_at);
    if (waited != event_at) return;
    event_at = INT64_MAX;
    (*event)();
  }
};
thread_local ForkClock fork_clock;
bool forks_are_clocked = false;

// Called where fork() begins: the handlers that are registered last are called first; and at its end, in both
// processes.
std::function<void()> when_fork_begins;
void RegisterBehindTheLibrary() {
  constexpr auto end = [] { fork_clock.counts = false; };
  pthread_atfork(
      [] {
        if (when_fork_begins) when_fork_begins();
        fork_clock.waited = 0;
        fork_clock.counts = forks_are_clocked;
      },
      end, end);
}

constexpr int64_t kSecond = 1000000000;

int64_t Nanoseconds(const timespec& time) {
  return time.tv_sec * kSecond + time.tv_nsec;
}

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
  static auto* const real = Real(clock_gettime, "clock_gettime");
  if (!fork_clock.counts || clock != CLOCK_MONOTONIC) return real(clock, now);
  *now = {static_cast<time_t>(fork_clock.waited / kSecond), static_cast<long>(fork_clock.waited % kSecond)};
  return 0;
}

extern "C" int nanosleep(const timespec* duration, timespec* rest) {
  static auto* const real = Real(nanosleep, "nanosleep");
  if (!fork_clock.counts) return real(duration, rest);
  fork_clock.Wait(fork_clock.waited + Nanoseconds(*duration));
  return 0;
}

extern "C" int pthread_mutex_clocklock(pthread_mutex_t* mutex, clockid_t clock, const timespec* deadline) noexcept {
  static auto* const real = Real(pthread_mutex_clocklock, "pthread_mutex_clocklock");
  if (!fork_clock.counts) return real(mutex, clock, deadline);
  EXPECT_EQ(CLOCK_MONOTONIC, clock);
  const int64_t limit = Nanoseconds(*deadline);
  while (pthread_mutex_trylock(mutex) != 0) {
    if (fork_clock.waited >= limit) return ETIMEDOUT;
    fork_clock.Wait(limit);
  }
  return 0;
}

namespace {

const std::string kRefused =
    Red("this process was forked while another thread was using SQLite: it has to exec before it uses the application "
        "database");

// Of SQLite's start, of its memory, and of its files.
constexpr int kSqliteMutexes[] = {SQLITE_MUTEX_STATIC_MAIN, SQLITE_MUTEX_STATIC_MEM, SQLITE_MUTEX_STATIC_VFS1};

int Find(const char* id) {
  nuv_app_info_s info = {};
  return m_nuv_get_app_info(id, &info);
}

// Who waits for it sleeps, and so touches nothing when the process is copied: fork() looks after none of the locks that
// ThreadSanitizer takes for a thread that runs.
class Switch {
 public:
  explicit Switch(bool on) : on_(on) {}
  void Set(bool on) {
    const std::lock_guard<std::mutex> lock(mutex_);
    on_ = on;
    changed_.notify_all();
  }
  void WaitUntil(bool on) {
    std::unique_lock<std::mutex> lock(mutex_);
    EXPECT_TRUE(changed_.wait_for(lock, std::chrono::seconds(60), [=] { return on_ == on; }));
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool on_;
};

class CatalogueFork : public DatabaseTest {
 protected:
  static void SetUpTestSuite() { RegisterBehindTheLibrary(); }
  void SetUp() override {
    DatabaseTest::SetUp();
    database_.Add("app", {{"run_title", "clock"}, {"is_lock", 1}});
    database_.Close();
  }

  // Has another thread in the middle of a query that finds the database busy, until it is let go on.
  void StartBusyQuery() {
    fake_platform::OnEffect([this](const std::string&) {
      if (waiting_.exchange(true)) return;
      go_on_.WaitUntil(true);
    });
    query_ = std::async(std::launch::async, [this] {
      const int result = Find("app");
      Rest(answered_);
      return result;
    });
    ASSERT_TRUE(WaitUntil([this] { return waiting_.load(); }));
  }

  // What a thread does at its end where the test wants it still while the process forks.
  void Rest(std::atomic<bool>& arrived) {
    arrived = true;
    rest_.WaitUntil(false);
  }

  // Another thread in the middle of SQLite, for as long as it waits there.
  static std::future<void> HoldSqlite(int id, const std::function<void()>& wait) {
    auto held = std::make_shared<std::atomic<bool>>(false);
    auto holder = std::async(std::launch::async, [=] {
      sqlite3_mutex* const mutex = sqlite3_mutex_alloc(id);
      sqlite3_mutex_enter(mutex);
      *held = true;
      wait();
      sqlite3_mutex_leave(mutex);
    });
    EXPECT_TRUE(WaitUntil([&] { return held->load(); }));
    return holder;
  }

  void TearDown() override { forks_are_clocked = false; }

  // In the child: 0 where fork() waited a second, no more and no less, and both sides fail and say why.
  static int ExpectASecondAndRefused() { return fork_clock.waited == kSecond ? ExpectRefused() : 10; }

  // In the child: 0 where both sides fail and say why.
  static int ExpectRefused() {
    fake_platform::Clear();
    if (Find("app") != -1) return 11;
    if (fake_platform::LogPriority(kRefused) != 6) return 12;
    fake_platform::Clear();
    _APPSINFO_T info;
    if (nuv_inner_get_app_info_by_id("app", info, true) != -1) return 13;
    if (fake_platform::LogPriority(kRefused) != 6) return 14;
    if (nuv_inner_update_app_by_key_value("app", APPSINFO_UPDATE_VERSION, "2") != -1) return 15;
    return g_pConnection == nullptr && g_pConnection_Inner == nullptr ? 0 : 16;
  }

  std::atomic<bool> waiting_{false};
  Switch go_on_{false};
  Switch rest_{false};
  std::atomic<bool> answered_{false};
  std::future<int> query_;
};

TEST_F(CatalogueFork, TheChildOpensAConnectionOfItsOwnAndTheParentGoesOn) {
  ASSERT_EQ(0, Find("app"));
  sqlite3* const parents = g_pConnection;
  EXPECT_EQ(0, InChild([parents] {
              if (g_pConnection != nullptr) return 1;
              if (Find("app") != 0) return 2;
              if (Openings().size() != 2) return 3;
              if (g_pConnection == parents) return 4;
              // The parent's connection is still there, unused and not closed.
              if (sqlite_faults::LiveConnections() != 2) return 5;
              if (fake_platform::Logged("Close DB ")) return 6;
              return 0;
            }));
  EXPECT_EQ(parents, g_pConnection);
  EXPECT_EQ(0, Find("app"));
  EXPECT_EQ(1u, Openings().size());
}

TEST_F(CatalogueFork, BeforeTheFirstQueryIsNothingSpecial) {
  EXPECT_EQ(0, InChild([] { return Find("app"); }));
  EXPECT_TRUE(Openings().empty());
  EXPECT_EQ(0, Find("app"));
}

TEST_F(CatalogueFork, AStatementOfTheParentIsForgotten) {
  ASSERT_EQ(0, Prepare("select id from widgetinfo"));
  ASSERT_EQ(100, Step());
  EXPECT_EQ(0, InChild([] { return g_pStmt == nullptr && Find("app") == 0 ? 0 : 1; }));
  EXPECT_STREQ("app", GetStringFromResult(0));
  EXPECT_EQ(101, Step());
}

TEST_F(CatalogueFork, TheChildOfAChildHasItsOwnConnectionToo) {
  ASSERT_EQ(0, Find("app"));
  EXPECT_EQ(0, InChild([] {
              if (Find("app") != 0) return 1;
              return InChild([] { return Find("app") == 0 && Openings().size() == 3 ? 0 : 2; });
            }));
}

TEST_F(CatalogueFork, ParentAndChildSeeWhatTheWriterChanges) {
  ASSERT_EQ(0, Find("app"));
  EXPECT_EQ(0, InChild([this] {
              if (Find("app") != 0) return 1;
              AppDatabase::Row row;
              database_.Add("later");
              database_.Close();
              return Find("later");
            }));
  EXPECT_EQ(0, Find("later"));
}

TEST_F(CatalogueFork, TheEndOfTheChildLeavesTheParentsLocksAlone) {
  ASSERT_EQ(0, Prepare("select id from widgetinfo"));
  ASSERT_EQ(100, Step());
  // The parent is reading, so nobody may write, also after the child has opened and closed the file.
  EXPECT_EQ(0, InChild([] { return Find("app"); }));
  const auto locker = std::make_unique<Process>(
      std::vector<std::string>{NUV_TEST_DIR "/database_locker", database_.path()}, directory_.path());
  EXPECT_EQ(1, locker->Wait());
  EXPECT_EQ(101, Step());
}

TEST_F(CatalogueFork, WorksInAWriteAheadLog) {
  database_.Run("pragma journal_mode = wal");
  ASSERT_EQ(0, Find("app"));
  EXPECT_EQ(0, InChild([] { return Find("app"); }));
  database_.Add("later");
  EXPECT_EQ(0, Find("later"));
  EXPECT_EQ(0, InChild([] { return Find("later"); }));
}

// ThreadSanitizer's allocator does not survive a fork in the middle of another thread's allocation, so the other
// threads have come to rest when the process is copied.
TEST_F(CatalogueFork, WaitsForTheQueryOfAnotherThread) {
  auto locker = LockDatabase();
  rest_.Set(true);
  StartBusyQuery();
  std::atomic<bool> released{false};
  auto release = std::async(std::launch::async, [&] {
    locker->KillAndWait();
    go_on_.Set(true);
    Rest(released);
  });
  bool query_was_over = false;
  when_library_is_prepared = [&] {
    query_was_over = !Executed().empty() && LiveStatements() == 0;
    WaitUntil([&] { return answered_ && released; });
  };
  EXPECT_EQ(0, InChild([] { return Find("app"); }));
  when_library_is_prepared = nullptr;
  EXPECT_TRUE(query_was_over || !kCalledBehindTheLibrary);
  rest_.Set(false);
  EXPECT_EQ(0, query_.get());
  release.get();
}

// A thread that takes its next turn as soon as it has given one back leaves no moment in which another could take it.
TEST_F(CatalogueFork, GoesBeforeTheQueriesThatHaveNotBegun) {
  std::atomic<bool> holds_first{false};
  std::atomic<bool> go_on{false};
  std::atomic<bool> gave_first_back{false};
  std::atomic<bool> holds_second{false};
  std::atomic<bool> forked{false};
  std::thread reader([&] {
    {
      const DatabaseTurn turn(readSide);
      holds_first = true;
      WaitUntil([&] { return go_on.load(); });
    }
    gave_first_back = true;
    const DatabaseTurn turn(readSide);
    holds_second = true;
    WaitUntil([&] { return forked.load(); });
  });
  ASSERT_TRUE(WaitUntil([&] { return holds_first.load(); }));
  const std::function<void()> in_the_wait = [&] {
    fork_clock.counts = false;
    go_on = true;
    WaitUntil([&] { return gave_first_back.load(); });
    WaitUntil([&] { return holds_second.load(); }, Milliseconds(100));
    fork_clock.counts = true;
  };
  fork_clock.event_at = 1;
  fork_clock.event = &in_the_wait;
  forks_are_clocked = true;
  EXPECT_EQ(0, InChild([] { return Find("app"); }));
  forked = true;
  reader.join();
  EXPECT_TRUE(go_on) << "fork() has waited";
}

// What SQLite notes of the parent's locks is in the child, the locks are not: it would read while others write. The two
// sides read the same file, so what holds for one of them holds for the other.
TEST_F(CatalogueFork, BehindAQueryThatDoesNotEndForSecondsGivesAChildThatIsRefusedTheDatabase) {
  auto locker = LockDatabase();
  StartBusyQuery();
  forks_are_clocked = true;
  EXPECT_EQ(0, InChild([&] {
              locker->Signal(SIGKILL);
              const int refused = ExpectASecondAndRefused();
              return refused != 0 ? refused : InChild([] { return ExpectRefused(); });
            }));
  locker->KillAndWait();  // the child could only tell it to end
  go_on_.Set(true);
  EXPECT_EQ(0, query_.get());
  EXPECT_EQ(0, Find("app")) << "the parent is not refused anything";
}

TEST_F(CatalogueFork, WaitsASecondInAllForBothSides) {
  std::atomic<int> held{0};
  const auto hold = [&](DatabaseSide& side) {
    const DatabaseTurn turn(side);
    ++held;
    go_on_.WaitUntil(true);
  };
  auto reader = std::async(std::launch::async, [&] { hold(readSide); });
  auto writer = std::async(std::launch::async, [&] { hold(innerSide); });
  ASSERT_TRUE(WaitUntil([&] { return held == 2; }));
  forks_are_clocked = true;
  EXPECT_EQ(0, InChild(ExpectASecondAndRefused));
  go_on_.Set(true);
  reader.get();
  writer.get();
}

TEST_F(CatalogueFork, WaitsASecondInAllForASideAndForSqlite) {
  std::atomic<bool> held{false};
  std::atomic<bool> let_go{false};
  auto reader = std::async(std::launch::async, [&] {
    {
      const DatabaseTurn turn(readSide);
      held = true;
      go_on_.WaitUntil(true);
    }
    let_go = true;
    rest_.WaitUntil(false);
  });
  ASSERT_TRUE(WaitUntil([&] { return held.load(); }));
  rest_.Set(true);
  auto holder = HoldSqlite(SQLITE_MUTEX_STATIC_VFS1, [this] { rest_.WaitUntil(false); });
  forks_are_clocked = true;
  const std::function<void()> let_the_side_go = [&] {
    fork_clock.counts = false;
    go_on_.Set(true);
    WaitUntil([&] { return let_go.load(); });
    fork_clock.counts = true;
  };
  fork_clock.event_at = kSecond * 6 / 10;
  fork_clock.event = &let_the_side_go;
  EXPECT_EQ(0, InChild(ExpectASecondAndRefused));
  EXPECT_TRUE(let_go);
  rest_.Set(false);
  reader.get();
  holder.get();
}

// A host's thread that uses SQLite for itself, at the moment of the fork.
TEST_F(CatalogueFork, WaitsForAnotherThreadInSqlite) {
  for (const int id : kSqliteMutexes) {
    SCOPED_TRACE(id);
    go_on_.Set(false);
    auto holder = HoldSqlite(id, [this] { go_on_.WaitUntil(true); });
    when_fork_begins = [this] { go_on_.Set(true); };
    EXPECT_EQ(0, InChild([] { return Find("app"); }));
    when_fork_begins = nullptr;
    holder.get();
  }
}

TEST_F(CatalogueFork, GivesAChildThatIsRefusedTheDatabaseWhereAnotherThreadStaysInSqliteForSeconds) {
  for (const int id : kSqliteMutexes) {
    SCOPED_TRACE(id);
    go_on_.Set(false);
    auto holder = HoldSqlite(id, [this] { go_on_.WaitUntil(true); });
    forks_are_clocked = true;
    EXPECT_EQ(0, InChild(ExpectASecondAndRefused));
    go_on_.Set(true);
    holder.get();
  }
}

TEST_F(CatalogueFork, TheChildDoesNotHangWhereAnotherThreadHoldsTheMutexOfLaunches) {
  std::atomic<bool> held{false};
  auto holder = std::async(std::launch::async, [&] {
    const CNUVClientAutoLock lock(g_Mute);
    held = true;
    go_on_.WaitUntil(true);
  });
  ASSERT_TRUE(WaitUntil([&] { return held.load(); }));
  EXPECT_EQ(0, InChild([] {
              nuv_app_info_s info = {};
              return nuv_get_app_info_by_runtitle("clock", &info) + nuv_check_app_is_locked("'app'");
            }));
  go_on_.Set(true);
  holder.get();
}

}  // namespace
