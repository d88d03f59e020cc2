// What the contract says of every exported function alike: the named mutex, threads, callbacks, forked children.

#include <atomic>
#include <functional>
#include <set>

#include "catalogue_launch_test.h"
#include "exported_functions.h"
#include "held_mutex.h"

namespace {

using Answer = RecordingService::Answer;
using Names = std::vector<std::string>;

int Call(const ExportedCall& call, RecordingService& service) {
  if (call.before != nullptr) call.before(service);
  return Call(call);
}

// Calls each function once: those that had another result than where all is well.
Names Unexpected(RecordingService& service) {
  Names names;
  for (const ExportedCall& call : PlainCalls()) {
    if (Call(call, service) != call.results.success) names.emplace_back(call.function);
  }
  return names;
}

class ContractTest : public CatalogueLaunchTest {
 protected:
  void SetUp() override {
    CatalogueLaunchTest::SetUp();
    AddApplications(database_);
    database_.Close();
    WarmUp();
    AnswerCalls(*service_);
    ASSERT_EQ(0, nuv_inner_db_init());
    ASSERT_EQ(0, nuv_dbus_nuv_command(0, "", "", ""));
  }

  const std::vector<ExportedCall>& calls_ = PlainCalls();
};

class NamedMutex : public ContractTest {
 protected:
  // Calls each function while another thread holds the mutex: those that take it wait, and no other.
  void ExpectWaiting(Mutex& mutex, Named named) {
    for (const ExportedCall& call : calls_) {
      SCOPED_TRACE(call.function);
      int result = 0;
      const WhileHeld seen = CallWhileHeld(mutex, [&] { result = Call(call, *service_); });
      EXPECT_TRUE(seen == (call.mutex == named ? WhileHeld::kWaits : WhileHeld::kEnds));
      EXPECT_TRUE(result == call.results.success || (call.results.writes && result == call.results.failure)) << result;
    }
  }
};

TEST(ContractTable, HasEachExportedFunctionOnce) {
  EXPECT_EQ(Names{}, TableMistakes());
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
  std::thread([&working, this] {
    for (const ExportedCall& call : calls_) {
      if (working.count(call.function) == 0) continue;
      if (Call(call, *service_) == call.results.success) working.erase(call.function);
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
  RecordingService* service = nullptr;
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
  visit.unexpected = Unexpected(*visit.service);
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
  EXPECT_EQ(-1, nuv_launch_webapp_by_runtitle(Arguments().run_title.c_str(), nullptr, nullptr, VisitMutexes, &failed));
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
  visit.service = service_.get();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, VisitAll, &visit));
  ASSERT_TRUE(service_->SendResult(service_->Launches().back(), {900, 0}));
  ASSERT_TRUE(WaitUntil([&] { return visit.over.load(); }));
  EXPECT_EQ(Names{}, visit.unexpected);
}

TEST_F(AnyCallback, OfAFailureMayCallEveryFunction) {
  Visit visit;
  visit.service = service_.get();
  EXPECT_EQ(-1, nuv_launch_webapp(nullptr, nullptr, nullptr, VisitAll, &visit));
  EXPECT_TRUE(visit.over);
  EXPECT_EQ(Names{}, visit.unexpected);
}

using AnyThread = ContractTest;

// Writing ones are another matter: where the sleeps take no time, a change makes the others find the database busy.
TEST_F(AnyThread, MayCallEveryFunctionThatWritesNothingWhileOthersDo) {
  constexpr size_t kThreads = 4;
  std::vector<std::atomic<int>> failures(calls_.size());
  std::vector<std::thread> threads;
  for (size_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([&failures, t, this] {
      for (size_t n = 0; n < 2 * calls_.size(); ++n) {
        const size_t i = (n + t * calls_.size() / kThreads) % calls_.size();
        const Results& expected = calls_[i].results;
        if (!expected.writes && Call(calls_[i], *service_) != expected.success) ++failures[i];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (size_t i = 0; i < calls_.size(); ++i) EXPECT_EQ(0, failures[i]) << calls_[i].function;
}

using AnyChild = ContractTest;

TEST_F(AnyChild, FailsAtOnceWhereItAsksTheServiceAndReadsTheDatabaseAsEver) {
  service_->Forget();
  const int status_of_child = InChild([this] {
    if (nuv_inner_db_init() != 0) return 100;
    const auto start = std::chrono::steady_clock::now();
    for (size_t i = 0; i < calls_.size(); ++i) {
      const Results& expected = calls_[i].results;
      const int result = calls_[i].DoesWithoutService() ? expected.success : expected.failure;
      if (Call(calls_[i], *service_) != result) return static_cast<int>(i) + 1;
    }
    return std::chrono::steady_clock::now() - start < std::chrono::seconds(3) ? 0 : 101;
  });
  EXPECT_EQ(0, status_of_child);
  if (status_of_child > 0 && status_of_child < 100) ADD_FAILURE() << calls_[status_of_child - 1].function;
  EXPECT_TRUE(service_->Calls().empty());
  EXPECT_EQ(Names{}, Unexpected(*service_));
}

}  // namespace
