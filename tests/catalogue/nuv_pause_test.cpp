// The pauses between the tries at a busy database, in a host that handles signals.

#include <sys/time.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <vector>

#include "database_test.h"
#include "nuv_db_api/nuv_db_statement.h"
#include "nuv_inner_db_api/nuv_db_connection.h"
#include "real_call.h"

namespace {

// The time that a test sets, and the sleeps for the rest of a pause that are interrupted before one lasts.
struct SetClock {
  timespec now;
  int interruptions;
  std::vector<std::string> sleeps_until;
};
SetClock* set_clock = nullptr;

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
  static auto* const real = Real(clock_gettime, "clock_gettime");
  if (set_clock == nullptr || clock != CLOCK_MONOTONIC) return real(clock, now);
  *now = set_clock->now;
  return 0;
}

extern "C" int clock_nanosleep(clockid_t clock, int flags, const timespec* end, timespec* rest) {
  static auto* const real = Real(clock_nanosleep, "clock_nanosleep");
  if (set_clock == nullptr) return real(clock, flags, end, rest);
  EXPECT_EQ(CLOCK_MONOTONIC, clock);
  EXPECT_EQ(TIMER_ABSTIME, flags);
  set_clock->sleeps_until.push_back(std::to_string(end->tv_sec) + " s " + std::to_string(end->tv_nsec) + " ns");
  return set_clock->interruptions-- > 0 ? EINTR : 0;
}

namespace {

volatile sig_atomic_t signals = 0;

// A signal that is handled, after that time and from then on as often; stopped at its end.
class Alarm {
 public:
  explicit Alarm(suseconds_t microseconds) {
    signals = 0;
    struct sigaction action = {};
    action.sa_handler = [](int) { signals = signals + 1; };
    sigaction(SIGALRM, &action, &before_);
    const itimerval timer = {{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_REAL, &timer, nullptr);
  }
  ~Alarm() {
    const itimerval none = {};
    setitimer(ITIMER_REAL, &none, nullptr);
    sigaction(SIGALRM, &before_, nullptr);
  }
  Alarm(const Alarm&) = delete;
  Alarm& operator=(const Alarm&) = delete;

 private:
  struct sigaction before_ = {};
};

std::chrono::microseconds TimeOf(void (*pause)()) {
  const auto start = std::chrono::steady_clock::now();
  pause();
  return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
}

class BusyPause : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    fake_platform::LetSleeps(fake_platform::Sleeps::kWait);
  }
};

TEST_F(BusyPause, OfTheReadingSideLastsTenMillisecondsWhateverIsSignalled) {
  const Alarm alarm(2000);
  EXPECT_LE(std::chrono::milliseconds(10), TimeOf(readSide.waitBeforeRetry));
  EXPECT_LT(0, signals);
  EXPECT_EQ(std::vector<std::string>{"usleep 10000"}, fake_platform::Effects());
}

TEST_F(BusyPause, OfTheInnerSideLastsASecondWhateverIsSignalled) {
  const Alarm alarm(10000);
  EXPECT_LE(std::chrono::seconds(1), TimeOf(innerSide.waitBeforeRetry));
  EXPECT_LT(0, signals);
  EXPECT_EQ(std::vector<std::string>{"sleep 1"}, fake_platform::Effects());
}

using Texts = std::vector<std::string>;

// Until when a side sleeps on, by the clock that is set, after a signal has cut its pause short. A real one need not:
// the time may have passed before the thread is run again.
Texts RestOf(const DatabaseSide& side, const timespec& now, int interruptions = 0) {
  fake_platform::LetSleeps(fake_platform::Sleeps::kInterrupted);
  SetClock clock = {now, interruptions, {}};
  set_clock = &clock;
  side.waitBeforeRetry();
  set_clock = nullptr;
  return clock.sleeps_until;
}

TEST_F(BusyPause, ThatASignalCutsShortEndsWhenTheWholeOneWouldHave) {
  EXPECT_EQ(Texts{"6 s 0 ns"}, RestOf(readSide, {5, 990000000}));
  EXPECT_EQ(Texts{"5 s 999999999 ns"}, RestOf(readSide, {5, 989999999}));
  EXPECT_EQ(Texts{"6 s 1 ns"}, RestOf(readSide, {5, 990000001}));
  EXPECT_EQ(Texts{"6 s 7 ns"}, RestOf(innerSide, {5, 7}));
}

TEST_F(BusyPause, IsSleptToItsEndWhereSignalsInterruptItsRest) {
  EXPECT_EQ(Texts(3, "5 s 10000000 ns"), RestOf(readSide, {5, 0}, 2));
}

TEST_F(BusyPause, HasNoRestWhereNothingHasInterruptedIt) {
  SetClock clock = {{5, 0}, 0, {}};
  set_clock = &clock;
  errno = EINTR;  // of an earlier call
  readSide.waitBeforeRetry();
  set_clock = nullptr;
  EXPECT_EQ(Texts(), clock.sleeps_until);
}

}  // namespace
