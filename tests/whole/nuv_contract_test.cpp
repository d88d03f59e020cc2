// What the contract says of every exported function alike: the named mutex, threads, callbacks, forked children.

#include <algorithm>
#include <atomic>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>

#include "catalogue_launch_test.h"
#include "exported_functions.h"

namespace {

using exported::Function;
using exported::kFunctions;
using exported::Named;
using exported::Results;
using Answer = RecordingService::Answer;
using Names = std::vector<std::string>;

// Calls each function once: those that had another result than where all is well.
Names Unexpected() {
  Names names;
  for (const Function& function : kFunctions) {
    if (function.call() != function.results.parent) names.emplace_back(function.name);
  }
  return names;
}

class ContractTest : public CatalogueLaunchTest {
 protected:
  void SetUp() override {
    CatalogueLaunchTest::SetUp();
    database_.Add("app", {{"title", "Title"},
                          {"run_title", "title"},
                          {"kelvo_id", "kelvo"},
                          {"hybrid_app", nullptr},
                          {"is_lock", 1},
                          {"reserved_tinyint_1", 0},
                          {"use_count", 1}});
    database_.AddConfig("RESERVED_27", "group:app");
    database_.Close();
    fake_platform::SetRunningApps({{"kelvo", NUV_AUL_STATUS_VISIBLE}});
    WarmUp();
    service_->AnswerTo("get_android_app_status", {Answer::kReply, "(1,)"});
    service_->AnswerTo("get_extra_app", {Answer::kReply, "('app',)"});
    for (const char* method : {"nuv_update_app_count", "nuv_update_app_version", "nuv_update_app_by_key"}) {
      service_->AnswerTo(method, {Answer::kReply, "(0,)"});
    }
    ASSERT_EQ(0, nuv_inner_db_init());
    ASSERT_EQ(0, nuv_dbus_nuv_command(0, "", "", ""));
  }
};

class NamedMutex : public ContractTest {
 protected:
  // Has a thread call each function that waits for the mutex, and one call all others, while this one holds it.
  void ExpectWaiting(Mutex& mutex, Named named) {
    std::vector<std::atomic<int>> results(std::size(kFunctions));
    for (std::atomic<int>& result : results) result = kRunning;
    std::vector<std::thread> waiting;
    mutex.lock();
    for (size_t i = 0; i < std::size(kFunctions); ++i) {
      if (kFunctions[i].mutex == named) waiting.emplace_back([&results, i] { results[i] = kFunctions[i].call(); });
    }
    std::atomic<bool> others_ended{false};
    std::thread others([&] {
      for (size_t i = 0; i < std::size(kFunctions); ++i) {
        if (kFunctions[i].mutex != named) results[i] = kFunctions[i].call();
      }
      others_ended = true;
    });
    EXPECT_TRUE(WaitUntil([&] { return others_ended.load(); }));
    const auto running = [&](size_t i) { return results[i] == kRunning; };
    // Long enough for a call that does not wait.
    WaitUntil([&] { return AllEnded(named, running); }, Milliseconds(300));
    for (size_t i = 0; i < std::size(kFunctions); ++i) {
      EXPECT_EQ(kFunctions[i].mutex == named, running(i)) << kFunctions[i].name;
    }
    mutex.unlock();
    others.join();
    for (std::thread& thread : waiting) thread.join();
    for (size_t i = 0; i < std::size(kFunctions); ++i) {
      const Results& expected = kFunctions[i].results;
      EXPECT_TRUE(results[i] == expected.parent || (expected.writes && results[i] == -1))
          << kFunctions[i].name << " " << results[i];
    }
  }

  static bool AllEnded(Named named, const std::function<bool(size_t)>& running) {
    for (size_t i = 0; i < std::size(kFunctions); ++i) {
      if (kFunctions[i].mutex == named && running(i)) return false;
    }
    return true;
  }

  static constexpr int kRunning = 12345;
};

TEST(ContractTable, HasEachExportedFunctionOnce) {
  std::multiset<std::string> listed;
  std::ifstream list(NUV_SOURCE_DIR "/src/libnuv_launcher_api.exports");
  for (std::string line; std::getline(list, line);) {
    std::istringstream words(line);
    std::string language;
    std::string name;
    if (words >> language >> name && language != "#") listed.insert(name.substr(0, name.find_first_of("([")));
  }
  std::multiset<std::string> table;
  for (const Function& function : kFunctions) table.insert(function.name);
  EXPECT_EQ(listed, table);
}

TEST_F(NamedMutex, OfLaunchesHoldsUpTheseFunctionsAndNoOther) {
  ExpectWaiting(g_Mute, Named::kLaunches);
}

TEST_F(NamedMutex, OfTheInnerSideHoldsUpTheseFunctionsAndNoOther) {
  ExpectWaiting(g_inner_Mute, Named::kInner);
}

TEST_F(NamedMutex, WithoutBusAndDatabaseTheseFunctionsWork) {
  nuv_db_ro_exchange();
  bus_.Kill();
  fake_platform::SetDatabaseDirectory(std::nullopt);
  sqlite_faults::Forget();
  const CNUVClientAutoLock launches(g_Mute);
  const CNUVClientAutoLock inner(g_inner_Mute);
  std::set<std::string> working = {"ParseStringToList", "GetStrAppType", "nuv_inner_check_app_installing"};
  std::thread([&working] {
    for (const Function& function : kFunctions) {
      if (working.count(function.name) == 0) continue;
      if (function.call() == function.results.parent) working.erase(function.name);
    }
  }).join();
  EXPECT_TRUE(working.empty());
  EXPECT_TRUE(sqlite_faults::Openings().empty());
  EXPECT_TRUE(sqlite_faults::Prepared().empty());
}

bool InnerMutexIsFree() {
  if (!g_inner_Mute.try_lock()) return false;
  g_inner_Mute.unlock();
  return true;
}

// What a callback found.
struct Visit {
  bool launches_held_once = false;
  bool launches_free = false;
  bool inner_free = false;
  Names unexpected;
  std::atomic<bool> over{false};
};

void VisitMutexes(const char*, nuv_notify_event_e, int, int, void* data) {
  Visit& visit = *static_cast<Visit*>(data);
  visit.launches_free = LockIsFree();
  visit.launches_held_once = LockIsHeldOnce();
  visit.inner_free = InnerMutexIsFree();
  visit.over = true;
}

void VisitAll(const char*, nuv_notify_event_e, int, int, void* data) {
  Visit& visit = *static_cast<Visit*>(data);
  visit.unexpected = Unexpected();
  visit.over = true;
}

using AnyCallback = ContractTest;

TEST_F(AnyCallback, OnTheListenerThreadRunsUnderNoNamedMutex) {
  Visit visit;
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, VisitMutexes, &visit));
  ASSERT_TRUE(service_->SendResult(service_->Launches().back(), {900, 0}));
  ASSERT_TRUE(WaitUntil([&] { return visit.over.load(); }));
  EXPECT_TRUE(visit.launches_free && visit.inner_free);
}

TEST_F(AnyCallback, OfAFailedSerialisedLaunchRunsUnderTheMutexOfLaunches) {
  Visit refused;
  EXPECT_EQ(-1, nuv_launch_webapp(nullptr, nullptr, nullptr, VisitMutexes, &refused));
  EXPECT_TRUE(refused.launches_held_once && refused.inner_free);
  service_->AnswerTo("launch_app", {Answer::kError, "no"});
  Visit failed;
  EXPECT_EQ(-1, nuv_launch_webapp_by_runtitle("title", nullptr, nullptr, VisitMutexes, &failed));
  EXPECT_TRUE(failed.launches_held_once && failed.inner_free);
}

TEST_F(AnyCallback, OfAnyOtherFailedLaunchRunsUnderNoNamedMutex) {
  Visit request;
  EXPECT_EQ(-1, nuv_launch_app_ex(nullptr, VisitMutexes, &request));
  EXPECT_TRUE(request.launches_free && request.inner_free);
  Visit unknown;
  EXPECT_EQ(-1, nuv_launch_webapp_for_preload("nobody", nullptr, nullptr, VisitMutexes, &unknown));
  EXPECT_TRUE(unknown.launches_free && unknown.inner_free);
}

TEST_F(AnyCallback, OnTheListenerThreadMayCallEveryFunction) {
  Visit visit;
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, VisitAll, &visit));
  ASSERT_TRUE(service_->SendResult(service_->Launches().back(), {900, 0}));
  ASSERT_TRUE(WaitUntil([&] { return visit.over.load(); }));
  EXPECT_EQ(Names{}, visit.unexpected);
}

TEST_F(AnyCallback, OfAFailureMayCallEveryFunction) {
  Visit visit;
  EXPECT_EQ(-1, nuv_launch_webapp(nullptr, nullptr, nullptr, VisitAll, &visit));
  EXPECT_TRUE(visit.over);
  EXPECT_EQ(Names{}, visit.unexpected);
}

using AnyThread = ContractTest;

// Writing ones are another matter: where the sleeps take no time, a change makes the others find the database busy.
TEST_F(AnyThread, MayCallEveryFunctionThatWritesNothingWhileOthersDo) {
  constexpr size_t kThreads = 4;
  constexpr size_t kFunctionCount = std::size(kFunctions);
  std::vector<std::atomic<int>> failures(kFunctionCount);
  std::vector<std::thread> threads;
  for (size_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([&failures, t] {
      for (size_t n = 0; n < 2 * kFunctionCount; ++n) {
        const size_t i = (n + t * kFunctionCount / kThreads) % kFunctionCount;
        const Results& expected = kFunctions[i].results;
        if (!expected.writes && kFunctions[i].call() != expected.parent) ++failures[i];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (size_t i = 0; i < kFunctionCount; ++i) EXPECT_EQ(0, failures[i]) << kFunctions[i].name;
}

using AnyChild = ContractTest;

TEST_F(AnyChild, FailsAtOnceWhereItAsksTheServiceAndReadsTheDatabaseAsEver) {
  service_->Forget();
  const int status_of_child = InChild([] {
    if (nuv_inner_db_init() != 0) return 100;
    const auto start = std::chrono::steady_clock::now();
    for (size_t i = 0; i < std::size(kFunctions); ++i) {
      if (kFunctions[i].call() != kFunctions[i].results.child) return static_cast<int>(i) + 1;
    }
    return std::chrono::steady_clock::now() - start < std::chrono::seconds(3) ? 0 : 101;
  });
  EXPECT_EQ(0, status_of_child);
  if (status_of_child > 0 && status_of_child < 100) ADD_FAILURE() << kFunctions[status_of_child - 1].name;
  EXPECT_TRUE(service_->Calls().empty());
  EXPECT_EQ(Names{}, Unexpected());
}

}  // namespace
