// The pauses between the tries at a busy database, in a host that handles signals.
#include <sys/time.h>

#include <chrono>
#include <csignal>

#include "database_test.h"
#include "nuv_db_api/nuv_db_statement.h"
#include "nuv_inner_db_api/nuv_db_connection.h"

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
    fake_platform::LetSleepsWait(true);
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

}  // namespace
