// Launch requests over a real bus; the service's side is played here.
#include <dlfcn.h>
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <nuv_platform/platform_app_control.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "private_bus.h"
#include "real_call.h"

namespace {

// The clock as the host's calls see it while this lives: it stands at each of the times, in microseconds behind the
// first look, until many have looked, and at the last one for good; until the moment that it goes from, at the first
// look. What looks by itself, looks often. Whoever waits in vain for later is freed by the real clock, at another time.
class Clock {
 public:
  static constexpr gint64 kInVain = gint64{3600} * G_USEC_PER_SEC;

  explicit Clock(
      std::vector<gint64> times, std::function<bool()> goes = [] { return true; })
      : times_(std::move(times)), goes_(std::move(goes)) {
    current_ = this;
  }
  ~Clock() { current_ = nullptr; }
  Clock(const Clock&) = delete;
  Clock& operator=(const Clock&) = delete;

  static Clock* Current() { return current_; }
  // Where it stands.
  gint64 time() const { return time_; }
  gint64 Look(gint64 real) {
    constexpr size_t kMany = 100;
    if (first_ == 0) {
      first_ = real;
    } else if (goes_()) {
      time_ = times_.at(std::min(looks_++ / kMany, times_.size() - 1));
    }
    if (real > first_ + 20 * G_USEC_PER_SEC) time_ = kInVain;
    return first_ + time_;
  }

 private:
  static inline std::atomic<Clock*> current_{nullptr};
  const std::vector<gint64> times_;
  const std::function<bool()> goes_;
  size_t looks_ = 0;
  gint64 first_ = 0;
  gint64 time_ = 0;
};

constexpr gint64 kFiveSeconds = 5 * G_USEC_PER_SEC;

bool IsHost(const void* code) {
  Dl_info info{};
  return dladdr(code, &info) != 0 && info.dli_fname != nullptr &&
         strstr(info.dli_fname, "libnuv_platform_host") != nullptr;
}

}  // namespace

extern "C" gint64 g_get_monotonic_time() {
  static auto* const real = Real(g_get_monotonic_time, "g_get_monotonic_time");
  Clock* const clock = Clock::Current();
  return clock != nullptr && IsHost(__builtin_return_address(0)) ? clock->Look(real()) : real();
}

extern "C" GSource* g_timeout_source_new(guint interval) {
  static auto* const real = Real(g_timeout_source_new, "g_timeout_source_new");
  return real(Clock::Current() != nullptr && IsHost(__builtin_return_address(0)) ? 1 : interval);
}

namespace {

constexpr char kName[] = "org.kelvo.tv.corvane.server";
constexpr char kPath[] = "/org/kelvo/tv/NuvSimulator";
constexpr char kXml[] =
    "<node><interface name='org.kelvo.tv.NuvSimulator1'><method name='LaunchRequest'>"
    "<arg type='s' direction='in'/><arg type='s' direction='in'/><arg type='s' direction='in'/>"
    "<arg type='a(ss)' direction='in'/><arg type='i' direction='out'/></method></interface></node>";

// Owns the service's name on a thread of its own and answers each request in the way it is told to.
class Service {
 public:
  enum class Answer { kPid, kZero, kError, kNothing };

  explicit Service(Answer answer) : answer_(answer) {
    thread_ = std::thread([this] { Run(); });
    while (!serving_) std::this_thread::yield();
  }
  ~Service() {
    g_main_loop_quit(loop_);
    thread_.join();
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
  }

  int calls() const { return calls_; }
  std::string last() {
    const std::lock_guard<std::mutex> guard(mutex_);
    return last_;
  }

 private:
  void Run() {
    g_main_context_push_thread_default(context_);
    GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(kXml, nullptr);
    GDBusConnection* const bus = g_dbus_connection_new_for_address_sync(
        getenv("DBUS_SYSTEM_BUS_ADDRESS"),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
    const GDBusInterfaceVTable table = {OnCall, nullptr, nullptr, {}};
    g_dbus_connection_register_object(bus, kPath, node->interfaces[0], &table, this, nullptr, nullptr);
    GVariant* const reply = g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", kName, 0), G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
    if (reply != nullptr) g_variant_unref(reply);
    GSource* const started = g_idle_source_new();
    g_source_set_callback(started, OnStarted, this, nullptr);
    g_source_attach(started, context_);
    g_source_unref(started);
    g_main_loop_run(loop_);
    g_dbus_connection_close_sync(bus, nullptr, nullptr);
    g_object_unref(bus);
    g_dbus_node_info_unref(node);
    g_main_context_pop_thread_default(context_);
  }

  static gboolean OnStarted(gpointer data) {
    static_cast<Service*>(data)->serving_ = true;
    return G_SOURCE_REMOVE;
  }

  static void OnCall(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant* arguments,
                     GDBusMethodInvocation* invocation, gpointer data) {
    auto* const self = static_cast<Service*>(data);
    gchar* const text = g_variant_print(arguments, FALSE);
    {
      const std::lock_guard<std::mutex> guard(self->mutex_);
      self->last_ = text;
    }
    g_free(text);
    ++self->calls_;
    switch (self->answer_) {
      case Answer::kPid:
        return g_dbus_method_invocation_return_value(invocation, g_variant_new("(i)", 4711));
      case Answer::kZero:
        return g_dbus_method_invocation_return_value(invocation, g_variant_new("(i)", 0));
      case Answer::kError:
        return g_dbus_method_invocation_return_dbus_error(invocation, "org.kelvo.Error", "no such application");
      case Answer::kNothing:
        return g_object_unref(invocation);
    }
  }

  const Answer answer_;
  GMainContext* const context_ = g_main_context_new();
  GMainLoop* const loop_ = g_main_loop_new(context_, FALSE);
  std::atomic<bool> serving_{false};
  std::atomic<int> calls_{0};
  std::mutex mutex_;
  std::string last_;
  std::thread thread_;
};

struct Reply {
  int calls = 0;
  app_control_h request = nullptr;
  app_control_h reply = nullptr;
  int result = -1;
  std::thread::id thread;
};

void OnReply(app_control_h request, app_control_h reply, int result, void* data) {
  auto* const seen = static_cast<Reply*>(data);
  *seen = {seen->calls + 1, request, reply, result, std::this_thread::get_id()};
}

size_t OpenDescriptors() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

class HostLaunchRequestTest : public testing::Test {
 protected:
  HostLaunchRequestTest() {
    app_control_create(&request_);
    app_control_set_app_id(request_, "org.kelvo.app");
  }
  ~HostLaunchRequestTest() override { app_control_destroy(request_); }

  int Send() { return app_control_send_launch_request(request_, OnReply, &reply_); }

  PrivateBus bus_;
  app_control_h request_ = nullptr;
  Reply reply_;
};

TEST_F(HostLaunchRequestTest, CarriesEverythingToTheServiceAndTellsTheCallerAtOnce) {
  Service service(Service::Answer::kPid);
  app_control_set_operation(request_, "view");
  app_control_set_uri(request_, "app://x?y=z");
  app_control_add_extra_data(request_, "b", "1");
  app_control_add_extra_data(request_, "a", "Größe");
  EXPECT_EQ(Send(), 0);
  EXPECT_EQ(service.last(), "('org.kelvo.app', 'view', 'app://x?y=z', [('b', '1'), ('a', 'Größe')])");
  EXPECT_EQ(reply_.calls, 1);
  EXPECT_EQ(reply_.request, request_);
  EXPECT_EQ(reply_.reply, nullptr);
  EXPECT_EQ(reply_.result, 0);
  EXPECT_EQ(reply_.thread, std::this_thread::get_id());
}

TEST_F(HostLaunchRequestTest, HasTheDefaultOperationAndNeedsNoCallback) {
  Service service(Service::Answer::kPid);
  EXPECT_EQ(app_control_send_launch_request(request_, nullptr, nullptr), 0);
  EXPECT_EQ(service.last(), std::string("('org.kelvo.app', '") + APP_CONTROL_OPERATION_DEFAULT + "', '', [])");
}

TEST_F(HostLaunchRequestTest, IsRefusedWithoutAnApplicationId) {
  Service service(Service::Answer::kPid);
  app_control_h other = nullptr;
  app_control_create(&other);
  EXPECT_LT(app_control_send_launch_request(other, OnReply, &reply_), 0);
  app_control_set_app_id(other, "");
  EXPECT_LT(app_control_send_launch_request(other, OnReply, &reply_), 0);
  app_control_destroy(other);
  EXPECT_EQ(service.calls(), 0);
  EXPECT_EQ(reply_.calls, 0);
}

TEST_F(HostLaunchRequestTest, IsRefusedWithTextThatIsNotUtf8) {
  Service service(Service::Answer::kPid);
  using Setter = int (*)(app_control_h, const char*);
  for (const Setter set : {app_control_set_app_id, app_control_set_operation, app_control_set_uri}) {
    set(request_, "bad \xff");
    EXPECT_LT(Send(), 0);
    set(request_, "good");
  }
  EXPECT_EQ(Send(), 0);
  app_control_add_extra_data(request_, "key", "bad \xc3");
  EXPECT_LT(Send(), 0);
  app_control_add_extra_data(request_, "key", "good");
  EXPECT_EQ(Send(), 0);
  app_control_add_extra_data(request_, "bad \xc3", "good");
  EXPECT_LT(Send(), 0);
  EXPECT_EQ(service.calls(), 2);
  EXPECT_EQ(reply_.calls, 2);
}

TEST_F(HostLaunchRequestTest, FailsWhenTheServiceSaysNo) {
  {
    Service service(Service::Answer::kError);
    EXPECT_LT(Send(), 0);
    EXPECT_EQ(service.calls(), 1);
  }
  Service service(Service::Answer::kZero);
  EXPECT_LT(Send(), 0);
  EXPECT_EQ(service.calls(), 1);
  EXPECT_EQ(reply_.calls, 0);
}

TEST_F(HostLaunchRequestTest, FailsAtOnceWithoutAServiceOrABus) {
  const Clock standing({0});
  EXPECT_LT(Send(), 0);
  bus_.Kill();
  EXPECT_LT(Send(), 0);
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "nonsense", 1);
  EXPECT_LT(Send(), 0);
  EXPECT_EQ(standing.time(), 0);
  EXPECT_EQ(reply_.calls, 0);
}

TEST_F(HostLaunchRequestTest, WaitsFiveSecondsForASilentService) {
  Service service(Service::Answer::kNothing);
  const Clock clock({kFiveSeconds - 1, kFiveSeconds}, [&] { return service.calls() == 1; });
  EXPECT_LT(Send(), 0);
  EXPECT_EQ(clock.time(), kFiveSeconds);
  EXPECT_EQ(service.calls(), 1);
}

TEST_F(HostLaunchRequestTest, WaitsFiveSecondsForASilentBus) {
  bus_.Pause();
  const Clock clock({kFiveSeconds - 1, kFiveSeconds});
  EXPECT_LT(Send(), 0);
  bus_.Resume();
  EXPECT_EQ(clock.time(), kFiveSeconds);
}

TEST_F(HostLaunchRequestTest, FailsAtOnceWhenTheBusDiesMeanwhile) {
  Service service(Service::Answer::kNothing);
  const Clock standing({0});
  std::thread killer([&] {
    WaitUntil([&] { return service.calls() == 1; });
    bus_.Kill();
  });
  EXPECT_LT(Send(), 0);
  EXPECT_EQ(standing.time(), 0);
  killer.join();
}

TEST_F(HostLaunchRequestTest, LeavesNoDescriptorAndNothingInTheDefaultContext) {
  Service service(Service::Answer::kPid);
  ASSERT_EQ(Send(), 0);  // whatever the bus library starts once is there now
  const size_t before = OpenDescriptors();
  for (int i = 0; i < 50; ++i) ASSERT_EQ(Send(), 0);
  EXPECT_TRUE(WaitUntil([&] { return OpenDescriptors() <= before; })) << before << " and now " << OpenDescriptors();
  EXPECT_FALSE(g_main_context_pending(nullptr));
  EXPECT_EQ(g_main_context_get_thread_default(), nullptr);
}

TEST_F(HostLaunchRequestTest, SeveralThreadsSendAtTheSameTime) {
  Service service(Service::Answer::kPid);
  std::atomic<int> sent{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      app_control_h request = nullptr;
      app_control_create(&request);
      app_control_set_app_id(request, "org.kelvo.app");
      for (int i = 0; i < 20; ++i) sent += app_control_send_launch_request(request, nullptr, nullptr) == 0;
      app_control_destroy(request);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(sent, 80);
  EXPECT_EQ(service.calls(), 80);
}

// GLib ends a process whose main context cannot be made.
TEST_F(HostLaunchRequestTest, FailsWhereNoDescriptorsAreFree) {
  for (size_t free = 0; free <= 16; ++free) {
    // A member function of the fixture's would have UndefinedBehaviorSanitizer ask for descriptors of its own.
    EXPECT_EQ(0, InChild([request = request_, free] {
                const rlimit few = {64, 64};
                setrlimit(RLIMIT_NOFILE, &few);
                std::vector<int> taken;
                for (int fd = dup(0); fd >= 0; fd = dup(0)) taken.push_back(fd);
                for (size_t i = 0; i < free; ++i) close(taken.at(i));
                // There is no service.
                return app_control_send_launch_request(request, nullptr, nullptr) == 0 ? 1 : 0;
              }))
        << free << " free";
  }
}

TEST_F(HostLaunchRequestTest, FailsWhereNoThreadCanBeStarted) {
  EXPECT_EQ(0, InChild([this] {
              pthread_attr_t attributes;
              pthread_attr_init(&attributes);
              pthread_attr_setstacksize(&attributes, SIZE_MAX / 2 & ~size_t{0xffff});  // no thread finds that much
              pthread_setattr_default_np(&attributes);
              return Send() == 0 ? 1 : 0;
            }));
}

// ThreadSanitizer still has the parent's threads in a forked child, and ends it where a new thread gets the id of one.
#ifndef __SANITIZE_THREAD__
// Nobody answers there, not even when the call is cancelled: that is given another second.
TEST_F(HostLaunchRequestTest, AForkedChildIsNotHeldForEver) {
  Service service(Service::Answer::kPid);
  ASSERT_EQ(Send(), 0);
  EXPECT_EQ(0, InChild(
                   [this] {
                     constexpr gint64 kGivenUp = kFiveSeconds + G_USEC_PER_SEC;
                     const Clock clock({kFiveSeconds - 1, kFiveSeconds, kGivenUp - 1, kGivenUp});
                     Send();
                     return clock.time() == kGivenUp ? 0 : 1;
                   },
                   Milliseconds(60000)));
}
#endif

}  // namespace
