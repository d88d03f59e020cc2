// The link to the service: how it is made, probed, used and given back.
#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>

#include "faults.h"
#include "link_probe.h"
#include "link_test.h"

namespace {

// The one wait of a first call whose client object cannot be offered; a clock that is set back does not lengthen it.
void ExpectAWaitOfTenSeconds() {
  const auto waits = faults::TakeConditionWaits();
  ASSERT_EQ(1u, waits.size());
  EXPECT_EQ(CLOCK_MONOTONIC, waits[0].clock);
  EXPECT_NEAR(10.0, waits[0].seconds, 0.1);
}

std::vector<std::string> MainLog(bool (*wanted)(const std::string&)) {
  std::vector<std::string> texts;
  for (const fake_platform::LogLine& line : fake_platform::Log()) {
    if (wanted(line.prefix)) texts.push_back(line.text);
  }
  return texts;
}

TEST_F(LinkTest, SaysWhatItDoesWhileItIsMade) {
  StartService();
  ASSERT_EQ(1, Get());
  const auto log = MainLog([](const std::string& prefix) {
    return prefix.find("nuv_proxy.cpp") != std::string::npos && prefix.find("getProcessName") == std::string::npos;
  });
  const std::vector<std::string> expected = {"CNUVGdbus [launcher] constructor.",
                                             "CNUVGdbus [launcher] constructor end",
                                             "Start",
                                             "getting gdus connection.",
                                             "got gdus connection success",
                                             "getpid " + std::to_string(getpid()),
                                             "create Begin.",
                                             "create End.",
                                             "wait for create monitor success(10s timeout)",
                                             "take try Begin.",
                                             "take try End.",
                                             "create monitor success",
                                             "destroy Begin.",
                                             "destroy End.",
                                             "End"};
  EXPECT_EQ(expected, log);
}

TEST_F(LinkTest, ItsListenerSaysWhatItDoes) {
  StartService();
  ASSERT_EQ(1, Get());
  const std::string object = "obj" + std::to_string(getpid());
  const std::string name = "org.kelvo.tv.corvane.launcherclient." + object;
  ASSERT_TRUE(WaitUntil([&] { return fake_platform::Logged("on name acquired! " + name); }));
  auto log = MainLog([](const std::string& prefix) { return prefix.find("nuv_listener.cpp") != std::string::npos; });
  log.erase(
      std::remove_if(log.begin(), log.end(),
                     [](const std::string& line) { return line.find("acquired! connection") != std::string::npos; }),
      log.end());
  const std::vector<std::string> expected = {"Creating monitor " + object + ".",
                                             "owning name " + name + ".",
                                             "onbus acquired! " + name,
                                             "server is [litecorvane], client is [launcher]",
                                             "register object succeed,Created monitor!",
                                             "give Begin.",
                                             "give cond_signal start.",
                                             "give cond_signal end.",
                                             "give End.",
                                             "on name acquired! " + name};
  EXPECT_EQ(expected, log);
}

TEST_F(LinkTest, OwnsItsClientName) {
  StartService();
  ASSERT_EQ(1, Get());
  EXPECT_TRUE(bus_.WaitForName("org.kelvo.tv.corvane.launcherclient.obj" + std::to_string(getpid())));
}

TEST_F(LinkTest, ProbesTheServiceOnEveryLaterCall) {
  StartService();
  ASSERT_EQ(1, Get());
  EXPECT_EQ(0u, Heartbeats());
  ASSERT_EQ(1, Get());
  ASSERT_EQ(1, Get());
  EXPECT_EQ(2u, Heartbeats());
  EXPECT_EQ(4, fake_platform::LogPriority("Gdbus proxy has been created"));
  const RecordedCall probe = service_->CallsOf("heartbeat").front();
  EXPECT_EQ("org.kelvo.tv.litecorvane.server", probe.destination);
  EXPECT_EQ("/org/kelvo/tv/litecorvane/server", probe.path);
  EXPECT_EQ("org.kelvo.tv.litecorvane.server.interface", probe.interface);
  EXPECT_EQ("", probe.Text());
}

TEST_F(LinkTest, WithoutHeartbeatStaysUsableWhileItsConnectionIsOpen) {
  StartService();
  ASSERT_EQ(1, Get());
  const int32_t listener = link().ListenerId();
  service_->AnswerTo("heartbeat", {RecordingService::Answer::kError, "tired"});
  EXPECT_EQ(1, Get());
  EXPECT_EQ(4, fake_platform::LogPriority("g_dbus connection is not closed"));
  EXPECT_EQ(1, Get());
  EXPECT_EQ(1, Get());
  EXPECT_EQ(1u, Heartbeats());
  EXPECT_EQ(listener, link().ListenerId());
  EXPECT_EQ(1, Call("anything"));
}

TEST_F(LinkTest, ProbesForTenSecondsAtMostAndThenGoesOn) {
  StartService();
  ASSERT_EQ(1, Get());
  service_->AnswerTo("heartbeat", {RecordingService::Answer::kSilence, ""});
  faults::hurried_method = "heartbeat";
  faults::TakeBusCalls();
  EXPECT_EQ(0, nuv_launch_app("app", nullptr, nullptr, nullptr));
  EXPECT_EQ((std::vector<faults::BusCall>{{"heartbeat", 10000}, {"launch_app", 15000}}), faults::TakeBusCalls());
}

TEST_F(LinkTest, IsUsableWithoutAnyService) {
  ASSERT_EQ(1, Get());
  EXPECT_EQ(1, Get());
  EXPECT_EQ(0, Call("anything"));
}

TEST_F(LinkTest, IsUnusableWithoutBus) {
  bus_.Kill();
  EXPECT_EQ(0, Get());
  const auto log = fake_platform::Log();
  EXPECT_TRUE(std::any_of(log.begin(), log.end(), [](const fake_platform::LogLine& line) {
    return line.priority == 6 && line.text.rfind("get sync system bus error ", 0) == 0 &&
           line.text.find(", detail[message:") != std::string::npos && line.text.find(", code:") != std::string::npos;
  }));
  bus_.Start();
  StartService();
  EXPECT_EQ(1, Get());
}

TEST_F(LinkTest, WaitsForABusThatDoesNotAnswerUntilItDoes) {
  bus_.Pause();
  std::atomic<int> result{-1};
  static std::atomic<bool> asked{false};
  faults::before_bus_get = [] { asked = true; };
  std::thread connecting([&] { result = Get(); });
  EXPECT_TRUE(WaitUntil([] { return asked.load(); }));
  // That it does not end can only be waited for: there is no limit that could be read.
  EXPECT_FALSE(WaitUntil([&] { return result != -1; }, Milliseconds(500)));
  bus_.Resume();
  connecting.join();
  EXPECT_EQ(1, result);
}

TEST_F(LinkTest, IsUnusableWhenTheBusGivesNeitherConnectionNorError) {
  faults::bus_get_fails_without_error = true;
  EXPECT_EQ(0, Get());
  EXPECT_EQ(6, fake_platform::LogPriority("get sync system bus pConnection == NULL"));
  faults::bus_get_fails_without_error = false;
  EXPECT_EQ(1, Get());
}

TEST_F(LinkTest, IsGivenBackWhenItsListenerCannotStart) {
  // GLib's own threads are there already; the first one here is tried out.
  const GConnectionHandle shared(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
  ASSERT_NE(nullptr, shared);
  faults::Plan({"pthread_create", 2, 0, EAGAIN});
  EXPECT_EQ(0, Get());
  ASSERT_TRUE(faults::TakePlanned());
  const auto log = MainLog([](const std::string& prefix) { return prefix.find("nuv_proxy.cpp") != std::string::npos; });
  const auto failed = std::find(log.begin(), log.end(), "failed to create thread");
  ASSERT_NE(log.end(), failed);
  const std::vector<std::string> after(failed, log.end());
  const std::vector<std::string> expected = {
      "failed to create thread", "Start",       "release the nuv api gdbus connection.", "End",
      "destroy Begin.",          "destroy End."};
  EXPECT_EQ(expected, after);
  EXPECT_EQ(6, fake_platform::LogPriority("release the nuv api gdbus connection."));
  EXPECT_TRUE(fake_platform::Logged("Destroy Message Monitor"));
  EXPECT_EQ(0, Call("anything"));
  EXPECT_EQ(6, fake_platform::LogPriority("connection is NULL"));
  StartService();
  EXPECT_EQ(1, Get());
  EXPECT_EQ(1, Call("anything"));
}

TEST_F(LinkTest, StartsAfreshAfterItWasGivenBack) {
  StartService();
  ASSERT_EQ(1, Get());
  const std::string name = "org.kelvo.tv.corvane.launcherclient.obj" + std::to_string(getpid());
  ASSERT_TRUE(bus_.WaitForName(name));
  link().GiveProxy();
  EXPECT_TRUE(WaitUntil([&] { return !bus_.NameHasOwner(name); }));
  EXPECT_EQ(0, link().ListenerId());
  EXPECT_FALSE(fake_platform::Logged("failed to pthread_join"));
  EXPECT_EQ(0, Call("anything"));
  ASSERT_EQ(1, Get());
  EXPECT_EQ(0u, Heartbeats());
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  ASSERT_TRUE(service_->SendResult(service_->Launches().front(), {900, 0}));
  EXPECT_TRUE(heard_.WaitFor(1));
}

TEST_F(LinkTest, CanBeGivenBackTwice) {
  ASSERT_EQ(1, Get());
  link().GiveProxy();
  link().GiveProxy();
  EXPECT_EQ(1, Get());
}

TEST_F(LinkTest, WaitsTenSecondsForAListenerThatCannotRegisterAndThenGoesOn) {
  StartService();
  // Somebody in the process has an object with that interface at the client's path already.
  const std::string object = "obj" + std::to_string(getpid());
  GError* error = nullptr;
  const GConnectionHandle shared(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error));
  ASSERT_NE(nullptr, shared);
  std::string document = launcher_introspection_xml;
  document.replace(document.find("%s"), 2, object);
  const GNodeInfoHandle info(g_dbus_node_info_new_for_xml(document.c_str(), nullptr));
  const GDBusInterfaceVTable table = {nullptr, nullptr, nullptr, {}};
  ASSERT_NE(0u,
            g_dbus_connection_register_object(shared.get(), ("/org/kelvo/tv/corvane/launcherclient/" + object).c_str(),
                                              info->interfaces[0], &table, nullptr, nullptr, nullptr));
  faults::condition_waits_are_short = true;
  EXPECT_EQ(0, nuv_launch_app("app", nullptr, nullptr, nullptr));
  ExpectAWaitOfTenSeconds();
  EXPECT_EQ(1u, service_->Launches().size());
  const auto log = fake_platform::Log();
  EXPECT_TRUE(std::any_of(log.begin(), log.end(), [](const fake_platform::LogLine& line) {
    return line.priority == 6 && line.text.rfind("register object error ", 0) == 0;
  }));
}

TEST_F(LinkTest, WaitsTenSecondsForARegistrationWithoutIdAndThenGoesOn) {
  faults::register_object_returns_zero = true;
  faults::condition_waits_are_short = true;
  EXPECT_EQ(1, Get());
  ExpectAWaitOfTenSeconds();
  EXPECT_TRUE(fake_platform::Logged("TAKE_TRY timedwait start."));
  EXPECT_TRUE(fake_platform::Logged("TAKE_TRY timedwait end."));
  EXPECT_EQ(6, fake_platform::LogPriority("register id error"));
  link().GiveProxy();
  EXPECT_EQ(0, link().ListenerId());
}

TEST_F(LinkTest, WaitsTenSecondsForAListenerWithoutContextAndThenGoesOn) {
  // The connection is there already, so that only the listener asks for a context.
  const GConnectionHandle shared(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
  ASSERT_NE(nullptr, shared);
  faults::main_context_new_fails = true;
  faults::condition_waits_are_short = true;
  EXPECT_EQ(1, Get());
  faults::main_context_new_fails = false;
  ExpectAWaitOfTenSeconds();
  EXPECT_EQ(6, fake_platform::LogPriority("context == NULL"));
}

TEST_F(LinkTest, ADocumentThatIsNoXmlEndsTheListenerQuietly) {
  StartService();
  faults::condition_waits_are_short = true;
  CNUVGdbus other("launcher", "litecorvane", nullptr, nullptr);
  EXPECT_EQ(1, other.GetProxy("<node>  <interface name='broken", launcher_vtable));
  const auto log = fake_platform::Log();
  EXPECT_TRUE(std::any_of(log.begin(), log.end(), [](const fake_platform::LogLine& line) {
    return line.priority == 6 && line.text.rfind("error return ", 0) == 0;
  }));
  EXPECT_TRUE(std::none_of(log.begin(), log.end(),
                           [](const fake_platform::LogLine& line) { return line.text.rfind("owning name ", 0) == 0; }));
  other.GiveProxy();
}

std::atomic<bool> listener_may_start{false};
std::atomic<int> threads_held_up{0};
void HoldUpThread() {
  ++threads_held_up;
  WaitUntil([] { return listener_may_start.load(); }, Milliseconds(20000));
}

TEST_F(LinkTest, AListenerThatIsTooLateHarmsNobodyAndHearsWhatHasArrived) {
  StartService();
  const GConnectionHandle shared(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
  ASSERT_NE(nullptr, shared);
  faults::at_start_of_thread = [] {
    static std::atomic<int> threads{0};
    if (++threads == 2) HoldUpThread();  // the first is only tried out
  };
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  ASSERT_TRUE(WaitUntil([] { return threads_held_up == 1; }));
  EXPECT_TRUE(faults::TakeConditionWaits().empty());
  service_->SendToClient(service_->Launches().front(), {900, 0});
  service_->Flush();
  EXPECT_TRUE(heard_.Texts().empty());
  listener_may_start = true;
  EXPECT_TRUE(heard_.WaitFor(1));
  faults::at_start_of_thread = nullptr;
}

constexpr const char* kNoListener = "no listener: the results of launches cannot be heard";

TEST_F(LinkTest, WithoutAListenerSaysSoAtEveryLaunchAndTriesAgain) {
  StartService();
  faults::condition_waits_are_short = true;
  faults::register_object_returns_zero = true;
  for (int i = 0; i < 3; ++i) {
    fake_platform::Clear();
    EXPECT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
    EXPECT_EQ(6, fake_platform::LogPriority(kNoListener)) << i;
  }
  EXPECT_EQ(1u, faults::TakeConditionWaits().size());  // of the first call only
  faults::register_object_returns_zero = false;
  fake_platform::Clear();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  EXPECT_FALSE(fake_platform::Logged(kNoListener));
  ASSERT_TRUE(service_->SendResult(service_->Launches().back(), {900, 0}));
  EXPECT_TRUE(heard_.WaitFor(1));
}

TEST_F(LinkTest, NeedsNoThreadOfGlibsPool) {
  StartService();
  faults::threads_of_glib_fail = true;  // GLib's thread for connections is there already, for the service
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  EXPECT_TRUE(faults::TakeConditionWaits().empty());
  ASSERT_TRUE(service_->SendResult(service_->Launches().back(), {900, 0}));
  EXPECT_TRUE(heard_.WaitFor(1));
  faults::threads_of_glib_fail = false;
}

// Tasks that fill GLib's shared pool of threads until they are let go.
class FilledPool {
 public:
  FilledPool() {
    for (int i = 0; i < 60; ++i) {
      GTask* task = g_task_new(nullptr, nullptr, nullptr, nullptr);
      g_task_set_task_data(task, this, nullptr);
      g_task_run_in_thread(task, [](GTask*, gpointer, gpointer pool, GCancellable*) {
        auto* self = static_cast<FilledPool*>(pool);
        WaitUntil([self] { return self->empty_.load(); }, Milliseconds(60000));
        ++self->done_;
      });
      g_object_unref(task);
    }
  }
  ~FilledPool() {
    empty_ = true;
    WaitUntil([this] { return done_ == 60; }, Milliseconds(60000));
  }

 private:
  std::atomic<bool> empty_{false};
  std::atomic<int> done_{0};
};

TEST_F(LinkTest, IsMadeInAHostThatHasFilledGlibsPool) {
  StartService();
  const FilledPool pool;
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  EXPECT_TRUE(faults::TakeConditionWaits().empty());
  ASSERT_TRUE(service_->SendResult(service_->Launches().back(), {900, 0}));
  EXPECT_TRUE(heard_.WaitFor(1));
}

TEST_F(LinkTest, IsUnusableWhereNoThreadCanBeStartedForTheBus) {
  faults::pthread_create_fails = true;
  EXPECT_EQ(0, Get());
  faults::pthread_create_fails = false;
  EXPECT_EQ(6, fake_platform::LogPriority("no thread can be started for the bus: Resource temporarily unavailable"));
  StartService();
  EXPECT_EQ(1, Get());
  EXPECT_EQ(1, Call("anything"));
}

TEST_F(LinkTest, IsMadeOnceByTwoThreadsAndProbedFromThenOn) {
  StartService();
  std::vector<std::thread> threads;
  std::atomic<int> usable{0};
  for (int i = 0; i < 8; ++i) threads.emplace_back([&] { usable += Get(); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(8, usable);
  const auto log = fake_platform::Log();
  EXPECT_EQ(1, std::count_if(log.begin(), log.end(), [](const fake_platform::LogLine& line) {
              return line.text == "getting gdus connection.";
            }));
  const size_t before = Heartbeats();
  EXPECT_EQ(1, Get());
  EXPECT_EQ(before + 1, Heartbeats());
}

// A thread that comes while the client object is being offered, and what it had sent when it began to wait.
std::thread late_comer;
std::atomic<int> late_result{-1};
std::vector<faults::BusCall> sent_too_early;

TEST_F(LinkTest, IsUsedByNobodyBeforeItIsMade) {
  StartService();
  faults::before_registration = [](GDBusConnection*) {
    faults::before_registration = nullptr;
    faults::TakeBusCalls();
    late_comer = std::thread([] { late_result = Get(); });
    EXPECT_TRUE(WaitUntil([] { return LinkProbe::SomebodyWaitsForIt(link()); }));
    sent_too_early = faults::TakeBusCalls();
  };
  EXPECT_EQ(1, Get());
  late_comer.join();
  EXPECT_EQ(1, late_result);
  EXPECT_EQ(std::vector<faults::BusCall>{}, sent_too_early);
  EXPECT_EQ((std::vector<faults::BusCall>{{"heartbeat", 10000}}), faults::TakeBusCalls()) << "by the one that waited";
  EXPECT_EQ(1, Get());
  EXPECT_EQ(2u, Heartbeats());
}

TEST_F(LinkTest, NamesTheProcessByItsExecutable) {
  char path[1024] = {};
  ASSERT_GT(readlink("/proc/self/exe", path, sizeof path - 1), 0);
  EXPECT_EQ(path, getProcessName());
  EXPECT_EQ(4, fake_platform::LogPriority("the path name is " + std::string(path) + "."));
}

TEST_F(LinkTest, AProcessWithoutAnExecutableHasNoName) {
  faults::Plan({"readlink", 1, 0, ENOENT});
  EXPECT_EQ("", getProcessName());
  EXPECT_TRUE(faults::TakePlanned());
  EXPECT_EQ(6, fake_platform::LogPriority("error.  len < 0"));
}

TEST_F(LinkTest, ANameThatFillsItsPlaceIsCutThere) {
  const std::string name(1030, 'x');
  faults::link_target = name.c_str() + 7;
  EXPECT_EQ(name.substr(7), getProcessName());
  EXPECT_FALSE(fake_platform::Logged("error.  len == 1024"));
  faults::link_target = name.c_str();
  EXPECT_EQ(name.substr(0, 1024), getProcessName());
  EXPECT_EQ(6, fake_platform::LogPriority("error.  len == 1024"));
  faults::link_target = nullptr;
}

TEST_F(LinkTest, HandlersWithoutALinkOnlyLog) {
  EXPECT_EQ(nullptr, CNUVGdbus::m_Monitor(nullptr));
  EXPECT_EQ(6, fake_platform::LogPriority("pInstance == NULL"));
  CNUVGdbus::m_OnbusAcquired(nullptr, "name", nullptr);
  EXPECT_EQ(6, fake_platform::LogPriority("NULL == pInstance"));
}

TEST_F(LinkTest, GivesItsObjectBackWhenItIsDestroyed) {
  StartService();
  auto* other = new CNUVGdbus("launcher", "litecorvane", nullptr, nullptr);
  ASSERT_EQ(1, other->GetProxy(launcher_introspection_xml, launcher_vtable));
  other->ReleaseClientObject();
  EXPECT_EQ(4, fake_platform::LogPriority("CNUVGdbus [launcher] destructor..."));
  EXPECT_EQ(4, fake_platform::LogPriority("CNUVGdbus [launcher] destructor end"));
  GError* error = nullptr;
  EXPECT_EQ(nullptr,
            service_->CallClient("obj" + std::to_string(getpid()), "check_dbus_connection", nullptr, 2000, &error));
  ASSERT_NE(nullptr, error);
  EXPECT_TRUE(g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD)) << error->message;
  g_error_free(error);
}

}  // namespace
