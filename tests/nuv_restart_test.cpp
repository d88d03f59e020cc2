// The bus and the service go and come back.
#include <dirent.h>
#include <gio/gio.h>
#include <malloc.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>

#include "faults.h"
#include "launch_test.h"
#include "nuv_launcher_api/nuv_launcher_client.h"
#include "running_main_loop.h"

namespace {

using Answer = RecordingService::Answer;

size_t Entries(const char* directory) {
  size_t count = 0;
  DIR* dir = opendir(directory);
  while (readdir(dir) != nullptr) ++count;
  closedir(dir);
  return count;
}

// What the descriptors are, for a failure to tell.
std::string Descriptors() {
  std::string text;
  for (int fd = 0; fd < 64; ++fd) {
    char target[128] = {};
    if (readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), target, sizeof target - 1) > 0) {
      text += std::to_string(fd) + " " + target + "\n";
    }
  }
  return text;
}

struct Footprint {
  size_t threads = Entries("/proc/self/task");
  size_t descriptors = Entries("/proc/self/fd");
  size_t heap = mallinfo2().uordblks;
};

class RestartTest : public LaunchTest {
 protected:
  void RestartBus() {
    service_.reset();
    bus_.Restart();
    StartService();
  }
  // One launch with its result; both have to work.
  void LaunchAndHear() {
    const size_t before = heard_.Texts().size();
    ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_)) << WholeLog();
    ASSERT_TRUE(service_->SendResult(service_->Launches().back(), {900, 0})) << WholeLog();
    ASSERT_TRUE(heard_.WaitFor(before + 1)) << WholeLog();
  }
  static std::string WholeLog() {
    std::string text;
    for (const fake_platform::LogLine& line : fake_platform::Log()) text += line.text + "\n";
    return text;
  }
  void Restarts(int count) {
    for (int i = 0; i < count && !HasFatalFailure(); ++i) {
      RestartBus();
      LaunchAndHear();
      fake_platform::Clear();
    }
  }
  // Restarts leave no more behind than one did.
  void ExpectFlatOver100Restarts() {
    StartService();
    LaunchAndHear();
    Restarts(5);  // pools and caches of GLib are filled
    const std::string descriptors_before = Descriptors();
    const Footprint before;
    Restarts(100);
    ASSERT_TRUE(WaitUntil([&] { return Footprint().threads <= before.threads; }, Milliseconds(3000)))
        << Footprint().threads << " threads after " << before.threads;
    ASSERT_TRUE(WaitUntil([&] { return Footprint().descriptors <= before.descriptors; }, Milliseconds(3000)))
        << "descriptors:\n"
        << Descriptors() << "before:\n"
        << descriptors_before;
    const Footprint after;
    // A connection that is not released costs more than 3,000 bytes; a kept callback and what the test records, less
    // than half of this.
    EXPECT_LE(after.heap, before.heap + 100 * 1500) << (after.heap - before.heap) / 100 << " bytes a restart";
  }
};

TEST_F(RestartTest, OfTheBusIsSurvivedWithoutAMainLoop) {
  StartService();
  LaunchAndHear();
  Restarts(3);
}

TEST_F(RestartTest, OfTheBusIsSurvivedWithARunningMainLoop) {
  const RunningMainLoop host;
  StartService();
  LaunchAndHear();
  Restarts(3);
}

TEST_F(RestartTest, OfTheBusIsSurvivedByAHostThatHoldsTheSharedConnection) {
  GDBusConnection* own = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  ASSERT_NE(nullptr, own);
  StartService();
  LaunchAndHear();
  Restarts(3);
  EXPECT_TRUE(g_dbus_connection_is_closed(own));
  g_object_unref(own);
  Restarts(2);
}

TEST_F(RestartTest, OfTheBusIsSurvivedByAHostWithBoth) {
  const RunningMainLoop host;
  GDBusConnection* own = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  ASSERT_NE(nullptr, own);
  StartService();
  LaunchAndHear();
  Restarts(3);
  g_object_unref(own);
  Restarts(2);
}

TEST_F(RestartTest, LeavesNothingBehindWithoutAMainLoop) {
  ExpectFlatOver100Restarts();
}

TEST_F(RestartTest, LeavesNothingBehindWithARunningMainLoop) {
  const RunningMainLoop host;
  ExpectFlatOver100Restarts();
}

TEST_F(RestartTest, LeavesNothingBehindInAHostThatHoldsTheSharedConnection) {
  GDBusConnection* own = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  ASSERT_NE(nullptr, own);
  ExpectFlatOver100Restarts();
  g_object_unref(own);
}

TEST_F(RestartTest, ALostBusEndsNoHost) {
  const RunningMainLoop host;
  StartService();
  LaunchAndHear();
  GDBusConnection* shared = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  EXPECT_FALSE(g_dbus_connection_get_exit_on_close(shared));
  service_.reset();
  bus_.Kill();
  ASSERT_TRUE(WaitUntil([&] { return g_dbus_connection_is_closed(shared) != FALSE; }));
  g_object_unref(shared);
  // The host's loop has gone round since.
  std::atomic<bool> ran{false};
  g_idle_add(
      [](gpointer data) -> gboolean {
        static_cast<std::atomic<bool>*>(data)->store(true);
        return FALSE;
      },
      &ran);
  ASSERT_TRUE(WaitUntil([&] { return ran.load(); }));
  EXPECT_EQ(-1, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  bus_.Start();
  StartService();
  LaunchAndHear();
}

// The host's loop hears of it before the library can say what a lost bus is to mean.
TEST_F(RestartTest, ABusLostWhileItIsConnectedToEndsNoHost) {
  static pid_t bus = 0;
  bus = bus_.pid();
  const RunningMainLoop host;
  faults::after_bus_get = [] {
    faults::after_bus_get = nullptr;
    kill(bus, SIGKILL);
    WaitUntil([] { return false; }, Milliseconds(200));  // for as long as the process is to live
  };
  EXPECT_EQ(-1, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  EXPECT_EQ(nullptr, faults::after_bus_get);
  bus_.Restart();
  StartService();
  LaunchAndHear();
}

TEST_F(RestartTest, OfTheServiceIsSurvivedInEachPhase) {
  StartService();
  LaunchAndHear();
  service_.reset();  // before the call
  EXPECT_EQ(-1, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  EXPECT_EQ("notify app 903 0 404", heard_.Texts().back());
  StartService();
  LaunchAndHear();
  service_->AnswerTo("launch_app", {Answer::kSilence, ""});  // during the call
  std::thread during([this] {
    ASSERT_TRUE(WaitUntil([this] { return service_->Launches().size() == 2; }));
    service_.reset();
  });
  EXPECT_EQ(-1, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  during.join();
  EXPECT_EQ("notify app 903 0 404", heard_.Texts().back());
  StartService();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  const LaunchRequest launch = service_->Launches().back();
  service_.reset();  // between reply and result: the next service may still deliver it
  StartService();
  ASSERT_TRUE(service_->SendResult(launch, {902, 0}));
  ASSERT_TRUE(WaitUntil([this] { return heard_.Texts().back() == "notify app 902 0 0"; }));
  LaunchAndHear();
}

TEST_F(RestartTest, OfTheBusDuringACallFailsTheCallAtOnce) {
  StartService();
  LaunchAndHear();
  service_->AnswerTo("launch_app", {Answer::kSilence, ""});
  std::thread launch([this] { EXPECT_EQ(-1, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_)); });
  ASSERT_TRUE(WaitUntil([this] { return service_->Launches().size() == 2; }));
  const auto start = std::chrono::steady_clock::now();
  bus_.Kill();
  launch.join();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_EQ("notify app 903 0 404", heard_.Texts().back());
  service_.reset();
  bus_.Start();
  StartService();
  LaunchAndHear();
}

TEST_F(RestartTest, OfTheBusDuringTheProbeIsSurvived) {
  StartService();
  LaunchAndHear();
  service_->AnswerTo("heartbeat", {Answer::kSilence, ""});
  // Accepted or not, as the service is back in time or not; what counts is that it ends and the next one works.
  std::thread launch([] { nuv_launch_webapp("app", nullptr, nullptr, nullptr, nullptr); });
  ASSERT_TRUE(WaitUntil([this] { return service_->CallsOf("heartbeat").size() == 1; }));
  RestartBus();
  launch.join();
  LaunchAndHear();
}

TEST_F(RestartTest, DropsAResultForTheListenerOfTheOldConnection) {
  StartService();
  ASSERT_EQ(0, nuv_launch_webapp("old", nullptr, nullptr, OnNotify, &heard_));
  const LaunchRequest old = service_->Launches().back();
  RestartBus();  // between the reply and the result
  LaunchAndHear();
  ASSERT_NE(old.thread_id, service_->Launches().back().thread_id);
  ASSERT_TRUE(service_->SendResult(old, {900, 0}));
  EXPECT_TRUE(WaitUntil([] { return fake_platform::Logged("thread != manager_thread_id"); }));
  EXPECT_EQ(std::vector<std::string>{"notify app 900 0 0"}, heard_.Texts());
}

TEST_F(RestartTest, GivesEachListenerAnotherThreadIdThanTheOneBefore) {
  StartService();
  LaunchAndHear();
  for (int i = 0; i < 20; ++i) {
    const int32_t before = get_launcher_proxy()->ListenerId();
    RestartBus();
    LaunchAndHear();
    ASSERT_NE(before, get_launcher_proxy()->ListenerId());
  }
}

// A callback of the old listener that blocks while the bus restarts.
std::atomic<bool> in_callback{false};
std::atomic<bool> may_leave{false};
void BlockingCallback(const char* app_id, nuv_notify_event_e event, int reserved, int result, void* heard) {
  in_callback = true;
  WaitUntil([] { return may_leave.load(); });
  OnNotify(app_id, event, reserved, result, heard);
}

TEST_F(RestartTest, DoesNotWaitForACallbackOfTheOldListener) {
  StartService();
  ASSERT_EQ(0, nuv_launch_webapp("slow", nullptr, nullptr, BlockingCallback, &heard_));
  service_->SendToClient(service_->Launches().back(), {900, 0});
  ASSERT_TRUE(WaitUntil([] { return in_callback.load(); }));
  RestartBus();
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  may_leave = true;
  ASSERT_TRUE(WaitUntil([this] { return service_->SendResult(service_->Launches().back(), {901, 0}); }));
  ASSERT_TRUE(heard_.WaitFor(2));
  EXPECT_EQ((std::vector<std::string>{"notify slow 900 0 0", "notify app 901 0 0"}), heard_.Texts());
}

TEST_F(RestartTest, WaitsASecondAtMostForANewListenerThatIsHeldUp) {
  StartService();
  LaunchAndHear();
  faults::before_register_object = [] { WaitUntil([] { return may_leave.load(); }); };
  RestartBus();
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(900));
  EXPECT_LT(waited, std::chrono::milliseconds(3000));
  may_leave = true;
  ASSERT_TRUE(WaitUntil([this] { return service_->SendResult(service_->Launches().back(), {901, 0}); }));
  EXPECT_TRUE(heard_.WaitFor(2));
  faults::before_register_object = nullptr;
}

std::atomic<int> launched_in_callback{-7};
void RelaunchAcrossRestart(const char* app_id, nuv_notify_event_e event, int reserved, int result, void* heard) {
  in_callback = true;
  WaitUntil([] { return may_leave.load(); });
  launched_in_callback = nuv_launch_webapp("again", nullptr, nullptr, OnNotify, heard);
  OnNotify(app_id, event, reserved, result, heard);
}

TEST_F(RestartTest, ACallbackOfTheOldListenerMayConnectAnew) {
  StartService();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, RelaunchAcrossRestart, &heard_));
  service_->SendToClient(service_->Launches().back(), {900, 0});
  ASSERT_TRUE(WaitUntil([] { return in_callback.load(); }));
  RestartBus();
  may_leave = true;
  ASSERT_TRUE(heard_.WaitFor(1));
  EXPECT_EQ(0, launched_in_callback);
  ASSERT_TRUE(WaitUntil([this] { return service_->SendResult(service_->Launches().back(), {901, 0}); }));
  ASSERT_TRUE(heard_.WaitFor(2));
}

TEST_F(RestartTest, ThreadsLaunchAcrossRestartsAndNothingIsLost) {
  StartService();
  LaunchAndHear();
  std::atomic<bool> stop{false};
  std::atomic<int> accepted{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      while (!stop) accepted += nuv_launch_webapp("app", nullptr, nullptr, nullptr, nullptr) == 0 ? 1 : 0;
    });
  }
  for (int i = 0; i < 10; ++i) {
    const int before = accepted;
    ASSERT_TRUE(WaitUntil([&] { return accepted > before + 20; })) << "restart " << i;
    RestartBus();
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
  LaunchAndHear();
}

TEST_F(RestartTest, ALinkThatWasMadeAnewCanBeGivenBack) {
  StartService();
  LaunchAndHear();
  RestartBus();
  LaunchAndHear();
  get_launcher_proxy()->GiveProxy();
  EXPECT_EQ(0, get_launcher_proxy()->ListenerId());
  EXPECT_FALSE(service_->SendResult(service_->Launches().back(), {900, 0}, 1000));
  LaunchAndHear();
}

bool ANameIsSaidToBeOwned() {
  const auto log = fake_platform::Log();
  return std::any_of(log.begin(), log.end(), [](const auto& line) {
    return line.text.rfind("on name acquired! org.kelvo.tv.corvane.launcherclient.", 0) == 0;
  });
}

TEST_F(RestartTest, TheNewListenerSaysWhenItOwnsItsName) {
  StartService();
  LaunchAndHear();
  RestartBus();
  fake_platform::Clear();
  LaunchAndHear();
  EXPECT_TRUE(WaitUntil(ANameIsSaidToBeOwned));
}

constexpr const char* kNoClientNames =
    "<policy context=\"mandatory\"><deny own_prefix=\"org.kelvo.tv.corvane.launcherclient\"/></policy>";

TEST_F(RestartTest, ANameThatTheNewListenerIsRefusedIsNotSaidToBeOwned) {
  PrivateBus strict(kNoClientNames);
  for (int i = 0; i < 2; ++i) {
    service_ = std::make_unique<RecordingService>(strict.address());
    ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_)) << WholeLog();
    EXPECT_FALSE(service_->SendResult(service_->Launches().back(), {900, 0}, 1000));
    service_.reset();
    strict.Restart();
  }
  EXPECT_FALSE(ANameIsSaidToBeOwned());
}

TEST_F(RestartTest, APolicyThatRefusesTheClientNameDelaysNothing) {
  const PrivateBus strict(kNoClientNames);
  service_ = std::make_unique<RecordingService>(strict.address());
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  EXPECT_FALSE(service_->SendResult(service_->Launches().front(), {900, 0}, 1000));
  EXPECT_TRUE(heard_.Texts().empty());
}

}  // namespace
