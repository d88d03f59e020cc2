// nuv::launch_async(), nuv::launch_future() and nuv::launch_in(): outcomes that nobody waits for where they are asked
// for.
#include <pthread.h>

#include <deque>

#include "launch_desk_test.h"
#include "real_call.h"

namespace {

std::atomic<bool> no_threads{false};

}  // namespace

// In front of the C library's.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*work)(void*),
                              void* argument) noexcept {
  if (no_threads) return EAGAIN;
  static auto* const real = Real(pthread_create, "pthread_create");
  return real(thread, attributes, work, argument);
}

namespace {

using nuv::LaunchEnd;
using nuv::LaunchOutcome;

class AsyncLaunch : public LaunchDeskTest {
 protected:
  // Outlives the test, and every callback: it is made before the first launch.
  Outcomes& outcomes_ = [&]() -> Outcomes& {
    static std::deque<Outcomes> of_each_test;
    return of_each_test.emplace_back();
  }();
  nuv::LaunchCallback Hear() {
    return [&outcomes = outcomes_](const LaunchOutcome& outcome) { outcomes.Add(outcome); };
  }
};

TEST_F(AsyncLaunch, IsToldOnceOnAThreadOfItsOwn) {
  AnswerWith({Result(900), Result(901), Result(903, 404)});
  nuv::launch_async("app", {}, kLong, Hear());
  nuv::launch_async("app", {}, kLong, Hear());
  ASSERT_TRUE(outcomes_.WaitFor(2));
  // All six results have been heard when the last launch has its own.
  nuv::launch("app", {}, kLong);
  ASSERT_EQ(outcomes_.All().size(), 2u);
  EXPECT_EQ(outcomes_.All()[0].event, 900);
  EXPECT_EQ(outcomes_.All()[1].event, 900);
  EXPECT_EQ(outcomes_.Threads()[0], outcomes_.Threads()[1]);
  EXPECT_NE(outcomes_.Threads()[0], std::this_thread::get_id());
}

TEST_F(AsyncLaunch, ReturnsWhileTheServiceHasNotAnswered) {
  AnswerWith({Result(900)});
  auto gate = std::make_shared<Gate>();
  service_->Before("launch_app", [gate](const RecordedCall&) { gate->Pass(); });
  nuv::launch_async("app", {}, kLong, Hear());
  EXPECT_TRUE(outcomes_.All().empty());
  gate->Open();
  EXPECT_TRUE(outcomes_.WaitFor(1));
}

// The second one's time is over before its turn has come.
TEST_F(AsyncLaunch, KeepsItsTimeWhileTheServiceDoesNotAnswer) {
  AnswerWith({Result(900)});
  auto gate = std::make_shared<Gate>();
  service_->Before("launch_app", [gate](const RecordedCall&) { gate->Pass(); });
  auto held = nuv::launch_future("held", {}, kLong);
  ASSERT_TRUE(WaitUntil([&] { return service_->Launches().size() == 1; }));
  const auto start = std::chrono::steady_clock::now();
  auto late = nuv::launch_future("late", {}, kShort);
  ASSERT_EQ(late.wait_for(kLong), std::future_status::ready);
  EXPECT_GE(std::chrono::steady_clock::now() - start, kShort);
  EXPECT_EQ(late.get().end, LaunchEnd::timed_out);
  EXPECT_EQ(held.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  auto last = nuv::launch_future("last", {}, kLong);
  gate->Open();
  EXPECT_EQ(held.get().end, LaunchEnd::launched);
  EXPECT_EQ(last.get().end, LaunchEnd::launched);
  std::vector<std::string> asked;
  for (const LaunchRequest& launch : service_->Launches()) asked.push_back(launch.texts.at(0));
  EXPECT_EQ(asked, (std::vector<std::string>{"held", "last"}));
}

// Until one has been asked for before its time was over.
TEST_F(AsyncLaunch, RunsOutOfTimeWhileItsOwnRequestIsNotAnswered) {
  AnswerWith({Result(900)});
  auto gate = std::make_shared<Gate>();
  service_->Before("launch_app", [gate](const RecordedCall&) { gate->Pass(); });
  for (auto time = kShort; service_->Launches().empty(); time *= 2) {
    const LaunchOutcome outcome = nuv::launch_future("held", {}, time).get();
    EXPECT_EQ(outcome.end, LaunchEnd::timed_out);
    EXPECT_EQ(outcome.status, 0) << "the library's own limit was waited for";
  }
  gate->Open();
  EXPECT_EQ(nuv::launch_future("last", {}, kLong).get().end, LaunchEnd::launched);
}

TEST_F(AsyncLaunch, ThatNobodyEndsRunsOutOfTime) {
  AnswerWith({});
  size_t launches = 0;
  for (auto time = kShort; service_->Launches().empty(); time *= 2) {
    nuv::launch_async("app", {}, time, Hear());
    ASSERT_TRUE(outcomes_.WaitFor(++launches));
    EXPECT_EQ(outcomes_.All().back().end, LaunchEnd::timed_out);
  }
  EXPECT_TRUE(service_->SendResult(service_->Launches().at(0), Result(900)));
  EXPECT_EQ(outcomes_.All().size(), launches);
}

TEST_F(AsyncLaunch, TellsWhyItWasNotAccepted) {
  StartService();
  Refuse();
  nuv::launch_async("app", {}, kLong, Hear());
  ASSERT_TRUE(outcomes_.WaitFor(1));
  EXPECT_EQ(outcomes_.All()[0].end, LaunchEnd::refused);
  service_.reset();
  EXPECT_EQ(nuv::launch_future("app", {}, kLong).get().end, LaunchEnd::service_gone);
}

TEST_F(AsyncLaunch, WhoseCallbackBlocksHoldsUpNoFutureAndNoTime) {
  AnswerWith({Result(900)});
  auto gate = std::make_shared<Gate>();
  auto entered = std::make_shared<std::atomic<bool>>(false);
  nuv::launch_async("app", {}, kLong, [gate, entered](const LaunchOutcome&) {
    *entered = true;
    gate->Pass();
  });
  ASSERT_TRUE(WaitUntil([&] { return entered->load(); }));
  nuv::launch_async("app", {}, kLong, Hear());
  EXPECT_TRUE(nuv::launch_future("app", {}, kLong).get().ok());
  EXPECT_TRUE(nuv::launch("app", {}, kLong).ok());
  service_->OnAnswered(nullptr);
  EXPECT_EQ(nuv::launch_future("app", {}, kShort).get().end, LaunchEnd::timed_out);
  EXPECT_TRUE(outcomes_.All().empty());
  gate->Open();
  EXPECT_TRUE(outcomes_.WaitFor(1));
}

TEST_F(AsyncLaunch, MayLaunchAndWaitInItsCallback) {
  AnswerWith({Result(900)});
  nuv::launch_async("outer", {}, kLong, [this](const LaunchOutcome&) {
    outcomes_.Add(nuv::launch("inner", {}, kLong));
    outcomes_.Add(nuv::launch_future("inner", {}, kLong).get());
  });
  ASSERT_TRUE(outcomes_.WaitFor(2));
  EXPECT_TRUE(outcomes_.All()[0].ok() && outcomes_.All()[1].ok());
}

// What a callback holds may launch when it goes, whichever way its launch was made.
TEST_F(AsyncLaunch, LetsGoOfWhatACallbackHoldsOnceItIsTold) {
  AnswerWith({Result(900)});
  struct LaunchesAtItsEnd {
    explicit LaunchesAtItsEnd(Outcomes& heard) : outcomes(heard) {}
    ~LaunchesAtItsEnd() { outcomes.Add(nuv::launch("app", {}, kLong)); }
    Outcomes& outcomes;
  };
  {
    auto held = std::make_shared<LaunchesAtItsEnd>(outcomes_);
    nuv::launch_async("app", {}, kLong, [held](const LaunchOutcome&) {});
  }
  ASSERT_TRUE(outcomes_.WaitFor(1));
  EXPECT_TRUE(outcomes_.All()[0].ok());

  // Nobody runs this context, and it is gone when the outcome comes.
  GMainContext* const context = g_main_context_new();
  {
    auto held = std::make_shared<LaunchesAtItsEnd>(outcomes_);
    nuv::launch_in(context, "app", {}, kLong, [held](const LaunchOutcome&) { FAIL() << "called"; });
  }
  g_main_context_unref(context);
  ASSERT_TRUE(outcomes_.WaitFor(2));
  EXPECT_TRUE(outcomes_.All()[1].ok());
}

TEST_F(AsyncLaunch, IsToldByWhoeverRunsItsContext) {
  AnswerWith({Result(900)});
  for (GMainContext* const context : {g_main_context_new(), static_cast<GMainContext*>(nullptr)}) {
    const size_t before = outcomes_.All().size();
    nuv::launch_in(context, "app", {}, kLong, Hear());
    nuv::launch_in(context, "app", {}, kLong, Hear());
    while (outcomes_.All().size() < before + 2) g_main_context_iteration(context, TRUE);
    EXPECT_EQ(outcomes_.Threads().back(), std::this_thread::get_id());
    EXPECT_TRUE(outcomes_.All().back().ok());
    if (context != nullptr) g_main_context_unref(context);
  }
}

TEST_F(AsyncLaunch, InAContextRunsOutOfTimeWithoutATimerOfTheContext) {
  AnswerWith({});
  GMainContext* const context = g_main_context_new();
  nuv::launch_in(context, "app", {}, kShort, Hear());
  while (outcomes_.All().empty()) g_main_context_iteration(context, TRUE);
  EXPECT_EQ(outcomes_.All()[0].end, LaunchEnd::timed_out);
  g_main_context_unref(context);
}

TEST_F(AsyncLaunch, IsRefusedAtOnceWhereNoThreadCanBeStarted) {
  AnswerWith({Result(900)});
  EXPECT_TRUE(nuv::launch("app", {}, kLong).ok());
  no_threads = true;
  nuv::launch_async("app", {}, kLong, Hear());
  EXPECT_EQ(nuv::launch_future("app", {}, kLong).get().end, LaunchEnd::refused);
  no_threads = false;
  ASSERT_EQ(outcomes_.All().size(), 1u);
  EXPECT_EQ(outcomes_.All()[0].end, LaunchEnd::refused);
  EXPECT_EQ(outcomes_.Threads()[0], std::this_thread::get_id());
  EXPECT_TRUE(nuv::launch_future("app", {}, kLong).get().ok());
}

TEST_F(AsyncLaunch, BlocksAllSignalsWhereItCallsBack) {
  AnswerWith({Result(900)});
  auto blocked = std::make_shared<std::promise<bool>>();
  nuv::launch_async("app", {}, kLong, [blocked](const LaunchOutcome&) {
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    blocked->set_value(sigismember(&mask, SIGTERM) == 1 && sigismember(&mask, SIGUSR1) == 1);
  });
  EXPECT_TRUE(blocked->get_future().get());
  sigset_t mask;
  pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  EXPECT_EQ(sigismember(&mask, SIGTERM), 0);
}

// The client's second callback, whose outcome is there, is not called once its first one has returned.
TEST_F(AsyncLaunch, CallsBackNobodyOnceTheHostsObjectsGo) {
  AnswerWith({Result(900)});
  Process client({NUV_TEST_DIR "/exit_async_client"}, host_.path());
  EXPECT_EQ(client.Wait(), 0) << client.Errors();
  EXPECT_EQ(client.Output(), "the first one\nthe host's object\n");
}

TEST_F(AsyncLaunch, ManyAtOnceAreEachToldTheirOwn) {
  StartService();
  service_->OnAnswered([this](const RecordedCall& call) {
    if (call.method != "launch_app") return;
    const LaunchRequest launch = UnpackLaunch(call);
    service_->SendToClient(launch, Result(launch.texts.at(0) == "even" ? 900 : 901));
  });
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&wrong] {
      std::vector<std::future<LaunchOutcome>> futures;
      for (int i = 0; i < 20; ++i) futures.push_back(nuv::launch_future(i % 2 == 0 ? "even" : "odd", {}, kLong));
      for (int i = 0; i < 20; ++i) wrong += futures[static_cast<size_t>(i)].get().event != (i % 2 == 0 ? 900 : 901);
    });
  }
  for (int i = 0; i < 20; ++i) wrong += nuv::launch("even", {}, kLong).event != 900;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
