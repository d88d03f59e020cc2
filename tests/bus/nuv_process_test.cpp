// A host that has no descriptors left: GLib ends a process whose main context cannot be made, so it is not asked for
// one.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <memory>
#include <vector>

#include "catalogue_launch_test.h"
#include "faults.h"
#include "launch_record.h"

namespace {

// Takes descriptors until only so many are free.
class DescriptorsTaken {
 public:
  explicit DescriptorsTaken(int free) {
    for (int fd = open("/dev/null", O_RDONLY); fd >= 0; fd = open("/dev/null", O_RDONLY)) taken_.push_back(fd);
    for (; free > 0; --free) GiveOne();
  }
  ~DescriptorsTaken() {
    while (!taken_.empty()) GiveOne();
  }
  DescriptorsTaken(const DescriptorsTaken&) = delete;
  DescriptorsTaken& operator=(const DescriptorsTaken&) = delete;

 private:
  void GiveOne() {
    close(taken_.back());
    taken_.pop_back();
  }

  std::vector<int> taken_;
};

class DescriptorLimit {
 public:
  explicit DescriptorLimit(int limit) {
    getrlimit(RLIMIT_NOFILE, &before_);
    rlimit low = before_;
    low.rlim_cur = static_cast<rlim_t>(limit);
    setrlimit(RLIMIT_NOFILE, &low);
  }
  ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &before_); }
  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;

 private:
  rlimit before_{};
};

constexpr int kFreedCallFailed = 1;
constexpr int kResultNotHeard = 2;
constexpr int kWrongOutcome = 3;
constexpr int kNoDatabase = 4;

// Records outlive every callback.
LaunchRecord& NewLaunch() {
  return *std::make_unique<LaunchRecord>().release();
}

int LaunchAndHear() {
  LaunchRecord& record = NewLaunch();
  if (Launch(CallOf("nuv_launch_app"), record) != 0) return kFreedCallFailed;
  return WaitUntil([&] { return record.heard == 1; }) ? 0 : kResultNotHeard;
}

// Each ends in a documented way: accepted, or refused, told or not.
int CallEveryFunction() {
  for (const ExportedCall& launch : AskingCalls(true)) {
    LaunchRecord& record = NewLaunch();
    const int result = Launch(launch, record);
    if (record.wrong != 0 || (result != 0 && result != -1)) return kWrongOutcome;
  }
  for (const ExportedCall& call : AskingCalls(false)) {
    const int result = Call(call);
    if (result != 0 && result > -1) return kWrongOutcome;
  }
  return 0;
}

class ScarceDescriptors : public CatalogueLaunchTest {
 protected:
  void SetUp() override {
    CatalogueLaunchTest::SetUp();
    AddApplications(database_);
    database_.Close();
    // In a process of its own: this one is copied before it uses the bus.
    service_process_ = std::make_unique<Process>(
        std::vector<std::string>{NUV_TEST_DIR "/mortal_service", bus_.address(), directory_ / "plan"},
        directory_.path());
    ASSERT_TRUE(WaitUntil([this] { return !service_process_->Output().empty(); }));
  }

  // All functions with as many descriptors as the scarcity leaves; then, with enough, a launch.
  template <typename Scarcity>
  static int Use(int number, bool connected) {
    if (Call(CallOf("m_nuv_get_app_info")) != 0) return kNoDatabase;  // opened now: it is not what is looked at
    if (connected) {
      if (const int status = LaunchAndHear()) return status;
    }
    {
      const DescriptorLimit few(64);  // which are quickly taken
      const Scarcity scarcity(number);
      if (const int status = CallEveryFunction()) return status;
    }
    return LaunchAndHear();
  }

  TempDir directory_;
  std::unique_ptr<Process> service_process_;
};

constexpr Milliseconds kLimit{60000};

TEST_F(ScarceDescriptors, EndNoHostBeforeTheFirstCall) {
  for (int free = 0; free <= 20; ++free) {
    EXPECT_EQ(0, InChild([=] { return Use<DescriptorsTaken>(free, false); }, kLimit)) << free << " free";
  }
}

TEST_F(ScarceDescriptors, EndNoHostThatIsConnected) {
  for (int free = 0; free <= 8; ++free) {
    EXPECT_EQ(0, InChild([=] { return Use<DescriptorsTaken>(free, true); }, kLimit)) << free << " free";
  }
}

// To make the listener again, the name is given back first, with a call of its own.
TEST_F(ScarceDescriptors, EndNoHostWhoseLinkHasNoListener) {
  for (int free = 0; free <= 12; ++free) {
    const auto use = [=] {
      faults::condition_waits_are_short = true;
      faults::register_object_returns_zero = true;
      if (Call(CallOf("nuv_terminate_app")) != 0) return kFreedCallFailed;
      faults::register_object_returns_zero = false;
      return Use<DescriptorsTaken>(free, false);
    };
    EXPECT_EQ(0, InChild(use, kLimit)) << free << " free";
  }
}

TEST_F(ScarceDescriptors, OfALowLimitEndNoHost) {
  for (int limit = 4; limit <= 20; ++limit) {
    EXPECT_EQ(0, InChild([=] { return Use<DescriptorLimit>(limit, false); }, kLimit)) << "limit " << limit;
    EXPECT_EQ(0, InChild([=] { return Use<DescriptorLimit>(limit, true); }, kLimit)) << "connected, limit " << limit;
  }
}

}  // namespace
