// The bus and the service go and come back.
#include <dirent.h>
#include <gio/gio.h>
#include <malloc.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <map>

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
  // The launches that reached the service and were not heard once.
  std::string Unheard(const std::map<std::string, int>& heard) const {
    std::string text;
    for (const LaunchRequest& launch : service_->Launches()) {
      const auto found = heard.find("notify " + launch.texts[0] + " 900 0 0");
      const int times = found == heard.end() ? 0 : found->second;
      if (times == 1) continue;
      text += "\n" + launch.texts[0] + " of listener " + std::to_string(launch.thread_id) + ", event " +
              std::to_string(launch.event) + ": heard " + std::to_string(times) + " times";
    }
    return text;
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

// A name so long that keeping one text of it shows in the heap.
TEST_F(RestartTest, LeavesNoTextOfAClientNameBehind) {
  constexpr size_t kLong = 50000;
  const GConnectionHandle own(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));  // the link's are private
  CNUVGdbus link(std::string(kLong, 'x'), "litecorvane", nullptr, nullptr);
  const auto restart = [&] {
    bus_.Restart();
    ASSERT_EQ(1, link.GetProxy(launcher_introspection_xml, launcher_vtable));
    fake_platform::Clear();
  };
  for (int i = 0; i < 5; ++i) restart();
  const Footprint before;
  constexpr size_t kRestarts = 10;
  for (size_t i = 0; i < kRestarts; ++i) restart();
  EXPECT_TRUE(WaitUntil([&] { return Footprint().heap < before.heap + kRestarts * kLong / 2; }, Milliseconds(3000)))
      << (Footprint().heap - before.heap) / kRestarts << " bytes a restart";
  link.GiveProxy();
}

// A connection that closes is released when its context has been told. The bus goes while the listener of one, which
// could not register its object there, is about to be made anew: the listener ends between the two.
TEST_F(RestartTest, APrivateConnectionThatClosesWhileItsListenerEndsIsReleased) {
  static PrivateBus* const bus = &bus_;
  static std::atomic<GDBusConnection*> last{nullptr};
  static std::atomic<bool> told_late{false};
  static std::atomic<bool> released{false};
  const GConnectionHandle own(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
  StartService();
  LaunchAndHear();
  faults::before_registration = [](GDBusConnection* connection) {
    faults::before_registration = nullptr;
    g_object_weak_ref(
        G_OBJECT(connection), [](gpointer, GObject*) { released = true; }, nullptr);
    last = connection;
  };
  faults::register_object_returns_zero = true;
  service_.reset();
  bus_.Restart();
  StartService();
  nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_);
  ASSERT_NE(nullptr, last);
  faults::before_closing_is_told = [] {
    if (g_dbus_connection_is_closed(last) == FALSE) return;
    faults::before_closing_is_told = nullptr;
    poll(nullptr, 0, 500);  // long enough for the listener to end
    told_late = true;
  };
  faults::hurried_method = "heartbeat";
  faults::after_hurried_call = [] {
    faults::after_hurried_call = nullptr;
    bus->Kill();
    EXPECT_TRUE(WaitUntil([] { return g_dbus_connection_is_closed(last) != FALSE; }));
  };
  service_->AnswerTo("heartbeat", {Answer::kSilence, ""});
  nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_);
  EXPECT_EQ(nullptr, faults::after_hurried_call);
  EXPECT_TRUE(WaitUntil([] { return released.load(); }));
  EXPECT_TRUE(told_late);
  faults::hurried_method = nullptr;
  faults::register_object_returns_zero = false;
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

// What a connection that closes finds behind the library's own look at it: whether its end is to end the process.
std::atomic<int> exit_on_close_behind_the_library{-1};
gboolean NoteExitOnClose(GSignalInvocationHint*, guint, const GValue* values, gpointer) {
  exit_on_close_behind_the_library = g_dbus_connection_get_exit_on_close(G_DBUS_CONNECTION(g_value_get_object(values)));
  return FALSE;
}

// The host's loop hears of it before the library can say what a lost bus is to mean. The library goes on when that loop
// is held up, or was not.
TEST_F(RestartTest, ABusLostWhileItIsConnectedToEndsNoHost) {
  static pid_t bus = 0;
  bus = bus_.pid();
  signal(SIGTERM, [](int) {});
  const RunningMainLoop host;
  faults::after_bus_get = [] {
    faults::after_bus_get = nullptr;
    g_signal_add_emission_hook(g_signal_lookup("closed", G_TYPE_DBUS_CONNECTION), 0, NoteExitOnClose, nullptr, nullptr);
    kill(bus, SIGKILL);
    WaitUntil([] { return !faults::TakeConditionWaits().empty() || exit_on_close_behind_the_library != -1; },
              Milliseconds(500));  // less than the library's patience, where a sanitizer hides such waits
  };
  EXPECT_EQ(-1, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  EXPECT_EQ(nullptr, faults::after_bus_get);
  EXPECT_TRUE(WaitUntil([] { return exit_on_close_behind_the_library != -1; }));
  EXPECT_EQ(FALSE, exit_on_close_behind_the_library);
  bus_.Restart();
  StartService();
  LaunchAndHear();
}

// A bus of the host's own, whose end is to end it, goes while the library connects to another one.
TEST_F(RestartTest, AConnectionOfTheHostsOwnStillEndsIt) {
  static std::atomic<bool> told_to_end{false};
  signal(SIGTERM, [](int) { told_to_end = true; });
  auto own_bus = std::make_unique<PrivateBus>();
  GDBusConnection* own = g_dbus_connection_new_for_address_sync(
      own_bus->address().c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, nullptr);
  ASSERT_NE(nullptr, own);
  g_dbus_connection_set_exit_on_close(own, TRUE);
  setenv("DBUS_SYSTEM_BUS_ADDRESS", bus_.address().c_str(), 1);
  {
    const RunningMainLoop host;
    bus_.Pause();
    static std::atomic<bool> connecting{false};
    faults::before_bus_get = [] { connecting = true; };
    std::thread launch([] { nuv_launch_webapp("app", nullptr, nullptr, nullptr, nullptr); });
    EXPECT_TRUE(WaitUntil([] { return connecting.load(); }));
    own_bus->Kill();
    EXPECT_TRUE(WaitUntil([] { return told_to_end.load(); }));
    EXPECT_TRUE(g_dbus_connection_get_exit_on_close(own));
    bus_.Resume();
    launch.join();
  }
  g_object_unref(own);
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
  bus_.Kill();
  launch.join();
  EXPECT_EQ("notify app 903 0 404", heard_.Texts().back()) << "and not 412, as for one that ran out of time";
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

TEST_F(RestartTest, DropsAResultForAnyEarlierListenerHoweverManyThereWere) {
  StartService();
  std::vector<LaunchRequest> earlier;
  for (int i = 0; i < 10; ++i) {
    ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
    const LaunchRequest launch = service_->Launches().back();
    for (const LaunchRequest& old : earlier) {
      EXPECT_NE(old.thread_id, launch.thread_id) << i;
      ASSERT_TRUE(service_->SendResult(old, {904, 0}));
    }
    ASSERT_TRUE(service_->SendResult(launch, {900, 0}));
    ASSERT_TRUE(heard_.WaitFor(static_cast<size_t>(i) + 1));
    earlier.push_back(launch);
    RestartBus();
  }
  EXPECT_EQ(std::vector<std::string>(10, "notify app 900 0 0"), heard_.Texts());
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
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  EXPECT_TRUE(heard_.Texts().empty()) << "the callback still runs";
  may_leave = true;
  ASSERT_TRUE(WaitUntil([this] { return service_->SendResult(service_->Launches().back(), {901, 0}); }));
  ASSERT_TRUE(heard_.WaitFor(2));
  EXPECT_EQ((std::vector<std::string>{"notify slow 900 0 0", "notify app 901 0 0"}), heard_.Texts());
}

// The service answers as soon as it has accepted, while the callback of the old listener still runs.
TEST_F(RestartTest, ALaunchThatIsAcceptedWhileAnOldCallbackRunsHearsItsResultInTurn) {
  StartService();
  ASSERT_EQ(0, nuv_launch_webapp("slow", nullptr, nullptr, BlockingCallback, &heard_));
  service_->SendToClient(service_->Launches().back(), {900, 0});
  ASSERT_TRUE(WaitUntil([] { return in_callback.load(); }));
  RestartBus();
  service_->Before("launch_app", [this](const RecordedCall& call) {
    service_->SendToClient(UnpackLaunch(call), {901, 0});
  });
  faults::TakeConditionWaits();
  ASSERT_EQ(0, nuv_launch_webapp("first", nullptr, nullptr, OnNotify, &heard_));
  ASSERT_EQ(0, nuv_launch_webapp("second", nullptr, nullptr, OnNotify, &heard_));
  EXPECT_TRUE(faults::TakeConditionWaits().empty());
  service_->Flush();
  EXPECT_TRUE(heard_.Texts().empty());
  may_leave = true;
  ASSERT_TRUE(heard_.WaitFor(3));
  EXPECT_EQ((std::vector<std::string>{"notify slow 900 0 0", "notify first 901 0 0", "notify second 901 0 0"}),
            heard_.Texts());
}

TEST_F(RestartTest, TwoOfThemDuringOneCallbackLeaveTheLastLaunchHeard) {
  StartService();
  ASSERT_EQ(0, nuv_launch_webapp("slow", nullptr, nullptr, BlockingCallback, &heard_));
  service_->SendToClient(service_->Launches().back(), {900, 0});
  ASSERT_TRUE(WaitUntil([] { return in_callback.load(); }));
  for (const char* app : {"first", "second"}) {
    RestartBus();
    ASSERT_EQ(0, nuv_launch_webapp(app, nullptr, nullptr, OnNotify, &heard_));
    service_->SendToClient(service_->Launches().back(), {901, 0});
    service_->Flush();
  }
  may_leave = true;
  ASSERT_TRUE(heard_.WaitFor(2));
  EXPECT_EQ((std::vector<std::string>{"notify slow 900 0 0", "notify second 901 0 0"}), heard_.Texts());
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

class ResultInHaste : public RestartTest, public ::testing::WithParamInterface<int> {};

TEST_P(ResultInHaste, OfALaunchThatACallbackMadeAfterALostBusIsHeard) {
  StartService();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, RelaunchAcrossRestart, &heard_));
  service_->SendToClient(service_->Launches().back(), {900, 0});
  ASSERT_TRUE(WaitUntil([] { return in_callback.load(); }));
  RestartBus();
  std::optional<LaunchRequest> launch;
  service_->Before("launch_app", [&](const RecordedCall& call) {
    launch = UnpackLaunch(call);
    if (GetParam() == 0) service_->SendToClient(*launch, {901, 0});
  });
  may_leave = true;
  ASSERT_TRUE(WaitUntil([] { return launched_in_callback != -7; }));
  ASSERT_EQ(0, launched_in_callback);
  if (GetParam() != 0) {
    std::this_thread::sleep_for(Milliseconds(GetParam()));
    service_->SendToClient(*launch, {901, 0});
  }
  ASSERT_TRUE(heard_.WaitFor(2));
  EXPECT_EQ((std::vector<std::string>{"notify app 900 0 0", "notify again 901 0 0"}), heard_.Texts());
}

INSTANTIATE_TEST_SUITE_P(Milliseconds, ResultInHaste, ::testing::Values(0, 2, 5, 20, 100));

// What GLib has in hand when a callback ends its thread is lost: nothing that LeakSanitizer should report.
std::atomic<bool> thread_was_ended{false};

void EndThread(const char*, nuv_notify_event_e, int, int, void* heard) {
  thread_was_ended = true;
  static_cast<Heard*>(heard)->Add("ends the thread");
  pthread_exit(nullptr);
}

TEST_F(RestartTest, OfAListenerThatACallbackEndedComesWithTheNextLaunch) {
  StartService();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, EndThread, &heard_));
  ASSERT_TRUE(service_->SendResult(service_->Launches().back(), {900, 0}));
  ASSERT_TRUE(heard_.WaitFor(1));
  ASSERT_TRUE(WaitUntil([this] {
    const size_t before = heard_.Texts().size();
    return nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_) == 0 &&
           service_->SendResult(service_->Launches().back(), {900, 0}, 500) && heard_.WaitFor(before + 1);
  }));
}

// Threads that launch an application of another name each time, and can be let rest between two launches.
class LaunchingThreads {
 public:
  explicit LaunchingThreads(Heard& heard) {
    for (std::thread& thread : threads_) thread = std::thread([this, &heard] { Launch(heard); });
  }
  ~LaunchingThreads() {
    stop_ = true;
    for (std::thread& thread : threads_) thread.join();
  }
  LaunchingThreads(const LaunchingThreads&) = delete;
  LaunchingThreads& operator=(const LaunchingThreads&) = delete;

  int accepted() const { return accepted_; }
  bool Rest() {
    rest_ = true;
    return WaitUntil([this] { return inside_ == 0; }, Milliseconds(30000));
  }
  void GoOn() { rest_ = false; }

 private:
  void Launch(Heard& heard) {
    while (!stop_) {
      ++inside_;
      if (!rest_) {
        const std::string app = "app" + std::to_string(++launches_);
        if (nuv_launch_webapp(app.c_str(), nullptr, nullptr, OnNotify, &heard) == 0) ++accepted_;
      }
      --inside_;
      if (rest_) std::this_thread::sleep_for(Milliseconds(1));
    }
  }

  std::atomic<bool> stop_{false};
  std::atomic<bool> rest_{false};
  std::atomic<int> inside_{0};
  std::atomic<int> launches_{0};
  std::atomic<int> accepted_{0};
  std::array<std::thread, 4> threads_;
};

TEST_F(RestartTest, ThreadsLaunchAcrossRestartsAndNothingIsLost) {
  const auto serve = [this] {
    StartService();
    service_->OnAnswered([service = service_.get()](const RecordedCall& call) {
      if (call.method == "launch_app") service->SendToClient(UnpackLaunch(call), {900, 0});
    });
  };
  serve();
  LaunchingThreads threads(heard_);
  const auto launch_and_hear = [&](int restarts) {
    const int before = threads.accepted();
    EXPECT_TRUE(WaitUntil([&] { return threads.accepted() > before + 20; })) << restarts << " restarts";
    // Whatever reached the service on a bus that lives is heard; what was on its way when a bus ended, at most once.
    EXPECT_TRUE(threads.Rest());
    std::map<std::string, int> heard;
    const auto all_heard = [&] {
      heard.clear();
      for (const std::string& text : heard_.Texts()) ++heard[text];
      const std::vector<LaunchRequest> launches = service_->Launches();
      return std::all_of(launches.begin(), launches.end(), [&](const LaunchRequest& launch) {
        return heard["notify " + launch.texts[0] + " 900 0 0"] == 1;
      });
    };
    EXPECT_TRUE(WaitUntil(all_heard)) << restarts << " restarts" << Unheard(heard);
    for (const auto& [text, times] : heard) EXPECT_LE(times, 1) << text;
  };
  launch_and_hear(0);
  for (int restarts = 1; restarts <= 10; ++restarts) {
    threads.GoOn();
    service_.reset();
    bus_.Restart();
    ASSERT_TRUE(threads.Rest());
    serve();
    threads.GoOn();
    // Ends with threads that rest and nothing on its way, which could come when what it is told to has gone.
    launch_and_hear(restarts);
  }
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
  faults::TakeBusCalls();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  EXPECT_TRUE(faults::TakeConditionWaits().empty());
  EXPECT_EQ((std::vector<faults::BusCall>{{"launch_app", 15000}, {"heartbeat", 10000}, {"launch_app", 15000}}),
            faults::TakeBusCalls());
  EXPECT_FALSE(service_->SendResult(service_->Launches().front(), {900, 0}, 1000));
  EXPECT_TRUE(heard_.Texts().empty());
}

}  // namespace

// LeakSanitizer asks whether it is wanted when it is about to look.
extern "C" int __lsan_is_turned_off() {
  return thread_was_ended ? 1 : 0;
}
