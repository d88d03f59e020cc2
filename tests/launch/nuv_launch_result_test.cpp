// Results that the service delivers on the client object.
#include "nuv_launcher_api/nuv_launch_result.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <optional>
#include <ostream>
#include <set>
#include <stdexcept>

#include "fake_apps.h"
#include "launch_test.h"
#include "log_notation.h"
#include "negative_threads.h"
#include "nuv_launcher_api/nuv_launch_callbacks.h"
#include "nuv_launcher_api/nuv_launcher_client.h"
#include "nuv_launcher_api/nuv_launcher_data.h"

namespace {

class ResultTest : public LaunchTest {
 protected:
  // A launch that was accepted; its request, for the result.
  LaunchRequest Launch(int shape) {
    if (service_ == nullptr) WarmUp();
    service_->Forget();
    EXPECT_EQ(0, shape == 1 ? nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_)
                            : nuv_launch_app("app", nullptr, OnResult, &heard_));
    fake_platform::Clear();
    return service_->Launches().at(0);
  }
  // Everything that one result does, once it has been handled.
  std::vector<std::string> EffectsOf(const LaunchRequest& launch, const SentResult& result) {
    EXPECT_TRUE(service_->SendResult(launch, result));
    // Handled in order: when the second result's line is there, the first one is done.
    EXPECT_TRUE(service_->SendResult(launch, {900, 0, 1, 1}));
    EXPECT_TRUE(WaitUntil([] { return fake_platform::Logged("thread != manager_thread_id"); }));
    return fake_platform::Effects();
  }
};

struct Row {
  int event;
  int res;
  int code;  // 0: not called
};
void PrintTo(const Row& row, std::ostream* out) {
  *out << row.event << "_" << row.res;
}

class CodeTable : public ResultTest, public ::testing::WithParamInterface<Row> {};

TEST_P(CodeTable, GivesAResultCallbackItsCode) {
  const LaunchRequest launch = Launch(0);
  const auto effects = EffectsOf(launch, {GetParam().event, GetParam().res, 0});
  if (GetParam().code == 0) {
    EXPECT_TRUE(heard_.Texts().empty());
  } else {
    EXPECT_EQ(std::vector<std::string>{"result 0 app " + std::to_string(GetParam().code)}, heard_.Texts());
  }
  EXPECT_EQ(4, fake_platform::LogPriority("Notify callback"));
}

TEST_P(CodeTable, ReachesANotifyCallbackUnchanged) {
  const LaunchRequest launch = Launch(1);
  EffectsOf(launch, {GetParam().event, GetParam().res, 1});
  EXPECT_EQ(std::vector<std::string>{"notify app " + std::to_string(GetParam().event) + " 0 " +
                                     std::to_string(GetParam().res)},
            heard_.Texts());
}

std::vector<Row> AllRows() {
  std::vector<Row> rows;
  const Row any[] = {{900, 0, 600}, {901, 0, 601}, {902, 0, 602}, {904, 0, 603}, {906, 0, 612}};
  for (const Row& row : any) {
    for (const int res : {0, 404, 412, -1, 604}) rows.push_back({row.event, res, row.code});
  }
  const Row failures[] = {{0, 400, 604}, {0, 401, 605}, {0, 402, 0}, {0, 403, 609}, {0, 404, 610}, {0, 405, 611},
                          {0, 406, 610}, {0, 407, 0},   {0, 399, 0}, {0, 412, 0},   {0, 0, 0},     {0, -404, 0}};
  for (const int event : {903, 905, 907}) {
    for (const Row& row : failures) rows.push_back({event, row.res, row.code});
  }
  for (const int event : {0, -1, 899, 908, 1000000}) rows.push_back({event, 404, 0});
  return rows;
}

INSTANTIATE_TEST_SUITE_P(Rows, CodeTable, ::testing::ValuesIn(AllRows()), [](const auto& row) {
  std::string name = std::to_string(row.param.event) + "_" + std::to_string(row.param.res);
  for (char& letter : name) letter = letter == '-' ? 'm' : letter;
  return name;
});

const std::vector<std::string> kClosing = {"running? org.kelvo.corvane-commui",
                                           "operation http://nuv/appcontrol/operation/default",
                                           "extra MethodName=kill",
                                           "extra UIType=0",
                                           "extra Index=0",
                                           "launch request org.kelvo.corvane-commui",
                                           "app_control destroyed"};

TEST_F(ResultTest, ClosesThePinPopupAfterTheCallback) {
  const LaunchRequest launch = Launch(1);
  fake_platform::SetCommonUiRunning(true);
  std::vector<std::string> expected = {"callback notify app 903 0 403"};
  expected.insert(expected.end(), kClosing.begin(), kClosing.end());
  EXPECT_EQ(expected, EffectsOf(launch, {903, 403, 1}));
  EXPECT_EQ(4, fake_platform::LogPriority(Yellow("launch commui App success")));
}

TEST_F(ResultTest, DoesNotCloseAPinPopupThatIsGone) {
  const LaunchRequest launch = Launch(1);
  EXPECT_EQ((std::vector<std::string>{"callback notify app 903 0 403", "running? org.kelvo.corvane-commui"}),
            EffectsOf(launch, {903, 403, 1}));
  EXPECT_EQ(5, fake_platform::LogPriority(Green("commui already killed!")));
}

TEST_F(ResultTest, ClosesThePinPopupForNotifyCallbacksFrom400To406) {
  for (const int res : {399, 400, 401, 402, 403, 404, 405, 406, 407, 412, 604, 611, 0}) {
    const LaunchRequest launch = Launch(1);
    const bool closes = EffectsOf(launch, {900, res, 1}).size() > 1;
    EXPECT_EQ(res >= 400 && res <= 406, closes) << res;
  }
}

TEST_F(ResultTest, ClosesThePinPopupForResultCallbacksFrom604To611OfTheStatus) {
  for (const int res : {603, 604, 605, 608, 611, 612, 400, 404, 406, 0}) {
    const LaunchRequest launch = Launch(0);
    const auto effects = EffectsOf(launch, {908, res, 0});
    EXPECT_EQ((res >= 604 && res <= 611) ? 1u : 0u, effects.size()) << res;
  }
  EXPECT_TRUE(heard_.Texts().empty());
}

TEST_F(ResultTest, AnyShapeButOneIsAResultCallback) {
  for (const int shape : {0, 2, -1, 77}) {
    const LaunchRequest launch = Launch(0);
    EffectsOf(launch, {900, 0, shape});
  }
  EXPECT_EQ(std::vector<std::string>(4, "result 0 app 600"), heard_.Texts());
}

TEST_F(ResultTest, ReachesTheSameCallbackAgain) {
  const LaunchRequest launch = Launch(1);
  ASSERT_TRUE(service_->SendResult(launch, {902, 0}));
  ASSERT_TRUE(service_->SendResult(launch, {900, 0}));
  ASSERT_TRUE(heard_.WaitFor(2));
  EXPECT_EQ((std::vector<std::string>{"notify app 902 0 0", "notify app 900 0 0"}), heard_.Texts());
}

TEST_F(ResultTest, MayArriveBeforeTheReply) {
  WarmUp();
  service_->Before("launch_app", [this](const RecordedCall& call) {
    service_->SendToClient(UnpackLaunch(call), {900, 0});
    service_->SendToClient(UnpackLaunch(call), {906, 0});
  });
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  ASSERT_TRUE(heard_.WaitFor(2));
  EXPECT_EQ((std::vector<std::string>{"notify app 900 0 0", "notify app 906 0 0"}), heard_.Texts());
}

TEST_F(ResultTest, OfAnotherListenerIsAnsweredAndDropped) {
  const LaunchRequest launch = Launch(1);
  ASSERT_TRUE(service_->SendResult(launch, {900, 0, 1, 12345}));
  ASSERT_TRUE(WaitUntil([] { return fake_platform::Logged("thread != manager_thread_id"); }));
  EXPECT_EQ(6, fake_platform::LogPriority("thread != manager_thread_id"));
  EXPECT_TRUE(heard_.Texts().empty());
}

TEST_F(ResultTest, OfAnEarlierListenerIsDropped) {
  const LaunchRequest launch = Launch(1);
  get_launcher_proxy()->GiveProxy();
  const pthread_t keep_stack = [] {
    // Something takes the place of the listener that has ended, so that the next one is another thread.
    pthread_t thread{};
    pthread_create(
        &thread, nullptr,
        [](void*) -> void* {
          pause();
          return nullptr;
        },
        nullptr);
    return thread;
  }();
  ASSERT_EQ(0, nuv_launch_app("second", nullptr, nullptr, nullptr));
  ASSERT_NE(launch.thread_id, service_->Launches().at(1).thread_id);
  ASSERT_TRUE(service_->SendResult(launch, {900, 0}));
  ASSERT_TRUE(WaitUntil([] { return fake_platform::Logged("thread != manager_thread_id"); }));
  EXPECT_TRUE(heard_.Texts().empty());
  pthread_detach(keep_stack);
}

TEST_F(ResultTest, ReachesAListenerWhoseIdIsNegative) {
  const StacksOfNegativeThreads stacks;
  const LaunchRequest launch = Launch(1);
  ASSERT_GT(0, launch.thread_id);
  ASSERT_TRUE(service_->SendResult(launch, {900, 0}));
  EXPECT_TRUE(heard_.WaitFor(1));
}

TEST_F(ResultTest, FindsItsCallbackWhereEventNumbersWrap) {
  LaunchEvents events{static_cast<uint32_t>(INT32_MAX) - 1};
  for (const int32_t expected : {INT32_MAX - 1, INT32_MAX, INT32_MIN, INT32_MIN + 1})
    EXPECT_EQ(expected, events.Take());
  events.next = UINT32_MAX;
  for (const int32_t expected : {-1, 0}) EXPECT_EQ(expected, events.Take());

  LaunchRequest launch = Launch(1);
  const nuv_launcher_user_callback callback = FindLaunchCallback(launch.event);
  ForgetLaunchCallback(launch.event);
  for (const int32_t event : {INT32_MAX, INT32_MIN, -1}) {
    launch.event = event;
    KeepLaunchCallback(event, callback);
    ASSERT_TRUE(service_->SendResult(launch, {901, 0}));
  }
  ASSERT_TRUE(heard_.WaitFor(3));
  EXPECT_EQ((std::vector<std::string>(3, "notify app 901 0 0")), heard_.Texts());
}

TEST_F(ResultTest, ForAnUnknownEventIsAnsweredAndLeavesAnEmptyEntry) {
  const LaunchRequest launch = Launch(1);
  ASSERT_TRUE(service_->SendResult(launch, {900, 0, 1, 0, 500}));
  EXPECT_TRUE(service_->SendResult(launch, {900, 0, 1, 0, -500}));
  ASSERT_TRUE(service_->SendResult(launch, {901, 0}));
  ASSERT_TRUE(heard_.WaitFor(1));
  EXPECT_EQ(std::vector<std::string>{"notify app 901 0 0"}, heard_.Texts());
}

TEST_F(ResultTest, WithoutACallbackDoesNothingNotEvenCloseThePopup) {
  WarmUp();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, nullptr, nullptr));
  fake_platform::Clear();
  EXPECT_TRUE(EffectsOf(service_->Launches().at(0), {903, 404, 1}).empty());
  EXPECT_FALSE(fake_platform::Logged("Notify callback"));
}

TEST_F(ResultTest, IsAMilestoneInTheLog) {
  const LaunchRequest launch = Launch(1);
  EffectsOf(launch, {900, 0});
  const auto log = fake_platform::Log();
  EXPECT_EQ(2, std::count_if(log.begin(), log.end(), [](const fake_platform::LogLine& line) {
              return line.text == "RECEIVED  app_launch_result " && line.buffer == 2 && line.priority == 4;
            }));
}

TEST_F(ResultTest, ConnectionCheckGetsNoReplyAndKeepsNothing) {
  const LaunchRequest launch = Launch(1);
  const GConnectionHandle shared(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
  const auto references = [&] { return G_OBJECT(shared.get())->ref_count; };
  const guint before = references();
  for (int i = 0; i < 5; ++i) {
    GError* error = nullptr;
    EXPECT_EQ(nullptr, service_->CallClient(launch.object_name, "check_dbus_connection", nullptr, 100, &error));
    EXPECT_TRUE(g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT));
    g_clear_error(&error);
  }
  EXPECT_TRUE(WaitUntil([&] { return references() <= before; })) << references() << " after " << before;
  EXPECT_TRUE(service_->SendResult(launch, {900, 0}));
}

TEST_F(ResultTest, OfAnotherTypeIsRefusedByTheBusInterface) {
  const LaunchRequest launch = Launch(1);
  for (const char* arguments : {"()", "('x',)", "(1, 'a', 2, 3, 4, 5, 'b', 6, 7)", "(1, 2, 3, 4, 5, 6, 7, 8)"}) {
    GError* error = nullptr;
    EXPECT_EQ(nullptr,
              service_->CallClient(launch.object_name, "app_launch_result",
                                   g_variant_parse(nullptr, arguments, nullptr, nullptr, nullptr), 2000, &error));
    EXPECT_NE(nullptr, error) << arguments;
    g_clear_error(&error);
  }
  EXPECT_TRUE(heard_.Texts().empty());
  ASSERT_TRUE(service_->SendResult(launch, {900, 0}));
  EXPECT_TRUE(heard_.WaitFor(1));
}

TEST_F(ResultTest, ClientObjectHasTheDocumentedInterface) {
  EXPECT_STREQ(
      "<node>  <interface name='org.kelvo.tv.corvane.launcherclient.interface.%s'>        <method "
      "name='check_dbus_connection'>            <arg name='result' direction='out' type='s'/>        </method>        "
      "<method name='app_launch_result'>            <arg name='thread_id' direction='in' type='i'/>            <arg "
      "name='app_id' direction='in' type='s'/>            <arg name='Res' direction='in' type='i'/>            <arg "
      "name='eventtype' direction='in' type='i'/>            <arg name='iData' direction='in' type='i'/>            "
      "<arg "
      "name='event_index' direction='in' type='i'/>            <arg name='method_call' direction='in' type='s'/>       "
      "  "
      "   <arg name='cbtype' direction='in' type='i'/>        </method>  </interface></node>",
      launcher_introspection_xml);
}

void ThrowOnNotify(const char* app_id, nuv_notify_event_e event, int reserved, int result, void* heard) {
  OnNotify(app_id, event, reserved, result, heard);
  throw std::runtime_error("from the listener");
}
void ThrowNumber(const char* app_id, nuv_notify_event_e event, int reserved, int result, void* heard) {
  OnNotify(app_id, event, reserved, result, heard);
  throw 5;
}

TEST_F(ResultTest, ACallbackThatThrowsEndsAtTheEdge) {
  WarmUp();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, ThrowOnNotify, &heard_));
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, ThrowNumber, &heard_));
  ASSERT_TRUE(service_->SendResult(service_->Launches().at(0), {903, 404}));
  ASSERT_TRUE(service_->SendResult(service_->Launches().at(1), {903, 404}));
  ASSERT_TRUE(service_->SendResult(service_->Launches().at(0), {900, 0}));
  ASSERT_TRUE(heard_.WaitFor(3));
  EXPECT_EQ(6, fake_platform::LogPriority("a callback threw: from the listener"));
  EXPECT_EQ(6, fake_platform::LogPriority("a callback threw"));
  const auto effects = fake_platform::Effects();
  EXPECT_NE(effects.end(), std::find(effects.begin(), effects.end(), "running? org.kelvo.corvane-commui"));
}

void EndThread(const char* app_id, nuv_notify_event_e event, int reserved, int result, void* heard) {
  OnNotify(app_id, event, reserved, result, heard);
  pthread_exit(heard);
}

TEST_F(ResultTest, ACallbackMayEndItsThread) {
  WarmUp();
  pthread_t thread{};
  const auto refused_launch = [](void* heard) -> void* {
    nuv_launch_webapp(nullptr, nullptr, nullptr, EndThread, heard);
    return nullptr;
  };
  ASSERT_EQ(0, pthread_create(&thread, nullptr, refused_launch, &heard_));
  void* result = nullptr;
  ASSERT_EQ(0, pthread_join(thread, &result));
  EXPECT_EQ(&heard_, result);
  EXPECT_EQ(1u, heard_.Texts().size());
  EXPECT_FALSE(fake_platform::Logged("a callback threw"));
  EXPECT_EQ(0, nuv_launch_app("app", nullptr, nullptr, nullptr));  // no lock went with it
}

// The client object as somebody might register it who has no interface that GLib checks arguments by.
TEST_F(ResultTest, OfAnotherTypeIsAnsweredAndDropped) {
  WarmUp();
  const PrivateConnection connection(bus_.address());
  GMainContext* const context = g_main_context_new();
  g_main_context_push_thread_default(context);
  GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(
      "<node><interface name='org.kelvo.Any'><method name='app_launch_result'>"
      "<arg direction='in' type='s'/></method></interface></node>",
      nullptr);
  const guint id = g_dbus_connection_register_object(connection.get(), "/any", node->interfaces[0], &launcher_vtable,
                                                     nullptr, nullptr, nullptr);
  ASSERT_NE(0u, id);
  std::shared_ptr<GVariant> answer;
  g_dbus_connection_call(
      connection.get(), g_dbus_connection_get_unique_name(connection.get()), "/any", "org.kelvo.Any",
      "app_launch_result", g_variant_new("(s)", "text"), nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr,
      [](GObject* source, GAsyncResult* result, gpointer place) {
        GVariant* reply = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr);
        if (reply != nullptr) static_cast<std::shared_ptr<GVariant>*>(place)->reset(reply, g_variant_unref);
      },
      &answer);
  EXPECT_TRUE(WaitUntil([&] {
    while (g_main_context_iteration(context, FALSE)) {
    }
    return answer != nullptr;
  }));
  EXPECT_EQ(6, fake_platform::LogPriority("a result of type (s) is dropped"));
  EXPECT_FALSE(fake_platform::Logged("thread != manager_thread_id"));
  g_dbus_connection_unregister_object(connection.get(), id);
  g_dbus_node_info_unref(node);
  g_main_context_pop_thread_default(context);
  g_main_context_unref(context);
}

std::optional<sigset_t> listener_mask;
void RecordMask(const char* app_id, nuv_notify_event_e event, int reserved, int result, void* heard) {
  sigset_t mask;
  pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  listener_mask = mask;
  OnNotify(app_id, event, reserved, result, heard);
}

// But for the two that nobody can block, and those that the C library keeps for itself.
std::set<int> BlockableSignals() {
  std::set<int> signals;
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    const bool reserved = signal >= __SIGRTMIN && signal < SIGRTMIN;
    if (signal != SIGKILL && signal != SIGSTOP && !reserved) signals.insert(signal);
  }
  return signals;
}

std::set<int> SignalsIn(const sigset_t& mask) {
  std::set<int> signals;
  for (const int signal : BlockableSignals()) {
    if (sigismember(&mask, signal) == 1) signals.insert(signal);
  }
  return signals;
}

TEST_F(ResultTest, ListenerTakesNoSignalsOfTheHost) {
  sigset_t before;
  pthread_sigmask(SIG_SETMASK, nullptr, &before);
  WarmUp();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, RecordMask, &heard_));
  ASSERT_TRUE(service_->SendResult(service_->Launches().at(0), {900, 0}));
  ASSERT_TRUE(heard_.WaitFor(1));
  EXPECT_EQ(BlockableSignals(), SignalsIn(*listener_mask));
  sigset_t own;
  pthread_sigmask(SIG_SETMASK, nullptr, &own);
  EXPECT_EQ(SignalsIn(before), SignalsIn(own));
}

void LaunchFromCallback(const char* app_id, nuv_notify_event_e event, int reserved, int result, void* heard) {
  EXPECT_EQ(0, nuv_launch_webapp("from-callback", nullptr, nullptr, OnNotify, heard));
  OnNotify(app_id, event, reserved, result, heard);
}

TEST_F(ResultTest, ACallbackMayLaunchFromTheListenerThread) {
  WarmUp();
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, LaunchFromCallback, &heard_));
  ASSERT_TRUE(service_->SendResult(service_->Launches().at(0), {900, 0}));
  ASSERT_TRUE(heard_.WaitFor(1));
  ASSERT_EQ(2u, service_->Launches().size());
  ASSERT_TRUE(service_->SendResult(service_->Launches().at(1), {901, 0}));
  ASSERT_TRUE(heard_.WaitFor(2));
  EXPECT_EQ("notify from-callback 901 0 0", heard_.Texts().back());
}

TEST_F(ResultTest, CallbacksRunOneAtATimeOnOneThread) {
  const LaunchRequest launch = Launch(1);
  for (int i = 0; i < 50; ++i) service_->SendToClient(launch, {900, i});
  ASSERT_TRUE(heard_.WaitFor(50));
  for (int i = 0; i < 50; ++i) EXPECT_EQ("notify app 900 0 " + std::to_string(i), heard_.Texts()[i]);
  for (const std::thread::id id : heard_.Threads()) EXPECT_EQ(heard_.Threads().front(), id);
}

std::atomic<bool> in_callback{false};
std::atomic<bool> may_leave{false};
void WaitInCallback(const char* app_id, nuv_notify_event_e event, int reserved, int result, void* heard) {
  in_callback = true;
  WaitUntil([] { return may_leave.load(); });
  OnNotify(app_id, event, reserved, result, heard);
}

TEST_F(ResultTest, IsAnsweredWhileItsCallbackStillRuns) {
  WarmUp();
  ASSERT_EQ(0, nuv_launch_webapp("slow", nullptr, nullptr, WaitInCallback, &heard_));
  EXPECT_TRUE(service_->SendResult(service_->Launches().at(0), {900, 0}));
  ASSERT_TRUE(WaitUntil([] { return in_callback.load(); }));
  EXPECT_TRUE(heard_.Texts().empty());
  may_leave = true;
  EXPECT_TRUE(heard_.WaitFor(1));
}

TEST_F(ResultTest, ACallbackThatBlocksHoldsUpResultsAndNoLaunch) {
  WarmUp();
  ASSERT_EQ(0, nuv_launch_webapp("slow", nullptr, nullptr, WaitInCallback, &heard_));
  service_->SendToClient(service_->Launches().at(0), {900, 0});
  ASSERT_TRUE(WaitUntil([] { return in_callback.load(); }));
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  EXPECT_FALSE(service_->SendResult(service_->Launches().at(1), {900, 0}, 300));
  EXPECT_TRUE(heard_.Texts().empty());
  may_leave = true;
  ASSERT_TRUE(heard_.WaitFor(2));
  EXPECT_EQ((std::vector<std::string>{"notify slow 900 0 0", "notify app 900 0 0"}), heard_.Texts());
}

}  // namespace
