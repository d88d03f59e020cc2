// A forked child that has not exec'ed, and the end of the process.
#include <atomic>
#include <chrono>

#include "launch_test.h"
#include "link_probe.h"
#include "nuv_launcher_api/nuv_launcher_client.h"

namespace {

int AllCallsFailAtOnce() {
  int status = 0;
  std::string extra;
  const auto start = std::chrono::steady_clock::now();
  if (nuv_launch_app("app", nullptr, nullptr, nullptr) != -1) return 1;
  if (nuv_launch_webapp(nullptr, nullptr, nullptr, nullptr, nullptr) != -1) return 2;
  if (nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1) != -1) return 3;
  if (nuv_send_appexec_kpi_client(1, "a", "b", 2, "c") != -1) return 4;
  if (nuv_get_android_app_status_client("a", status) != -1) return 5;
  if (nuv_terminate_allApps_internal("a", "b") != -1) return 6;
  if (nuv_get_extra_app(extra) != -1) return 7;
  if (nuv_notify_extra_app_changed("a") != -1) return 8;
  GVariant* reply = nullptr;
  if (get_launcher_proxy()->MethodCall("x", nullptr, &reply, 1000, nullptr) != 0) return 9;
  if (get_launcher_proxy()->MethodCall("x", g_variant_new("(s)", "y"), &reply, 1000, nullptr) != 0) return 10;
  return std::chrono::steady_clock::now() - start < std::chrono::seconds(1) ? 0 : 11;
}

class ForkTest : public LaunchTest {};

TEST_F(ForkTest, CallsInTheChildFailAtOnceAndTheParentGoesOn) {
  WarmUp();
  EXPECT_EQ(0, InChild(AllCallsFailAtOnce));
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  EXPECT_EQ(1u, service_->Launches().size());
  ASSERT_TRUE(service_->SendResult(service_->Launches().front(), {900, 0}));
  EXPECT_TRUE(heard_.WaitFor(1));
}

TEST_F(ForkTest, TheChildSaysWhyAndRecordsAnUnusableLink) {
  WarmUp();
  EXPECT_EQ(0, InChild([this] {
              if (nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_) != -1) return 1;
              if (!heard_.Texts().empty()) return 2;
              const auto effects = fake_platform::Effects();
              if (std::find(effects.begin(), effects.end(), "vconf rtc/litenuv/webapp/launch_fail=app:102") ==
                  effects.end()) {
                return 3;
              }
              return fake_platform::LogPriority("process " + std::to_string(getpid()) + " was forked from " +
                                                std::to_string(getppid()) +
                                                ", which connected to the bus: exec first") == 6
                         ? 0
                         : 4;
            }));
}

TEST_F(ForkTest, TheChildDoesNotHangOnALaunchThatAnotherThreadHasInFlight) {
  WarmUp();
  service_->AnswerTo("launch_app", {RecordingService::Answer::kSilence, ""});
  std::thread launch([] { nuv_launch_app("app", nullptr, nullptr, nullptr); });
  ASSERT_TRUE(WaitUntil([this] { return service_->Launches().size() == 1; }));
  EXPECT_EQ(0, InChild(AllCallsFailAtOnce));
  service_.reset();
  launch.join();
}

TEST_F(ForkTest, AChildForkedInAFailureCallbackFailsAtOnce) {
  WarmUp();
  static int child_status = -2;
  EXPECT_EQ(-1,
            nuv_launch_webapp(
                nullptr, nullptr, nullptr,
                [](const char*, nuv_notify_event_e, int, int, void*) { child_status = InChild(AllCallsFailAtOnce); },
                nullptr));
  EXPECT_EQ(0, child_status);
  EXPECT_EQ(0, nuv_launch_app("app", nullptr, nullptr, nullptr));
}

TEST_F(ForkTest, AChildThatExitsTouchesNothingOfTheParent) {
  WarmUp();
  const std::string name = "org.kelvo.tv.corvane.launcherclient.obj" + std::to_string(getpid());
  ASSERT_TRUE(bus_.WaitForName(name));
  const pid_t child = fork();
  if (child == 0) {
    alarm(5);
    nuv_launch_app("app", nullptr, nullptr, nullptr);
    exit(0);  // runs the destructors
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status)) << status;
  EXPECT_TRUE(bus_.NameHasOwner(name));
  ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
  ASSERT_TRUE(service_->SendResult(service_->Launches().front(), {900, 0}));
  EXPECT_TRUE(heard_.WaitFor(1));
}

// What a child's exit() does with the link, which another thread of the parent was looking at when it was forked.
TEST_F(ForkTest, AChildThatExitsTakesNoLockOfTheLink) {
  WarmUp();
  std::atomic<bool> held{false};
  std::atomic<bool> go_on{false};
  std::thread holder([&] {
    const LeafLock lock(LinkProbe::StateMutex(*get_launcher_proxy()));
    held = true;
    WaitUntil([&] { return go_on.load(); });
  });
  ASSERT_TRUE(WaitUntil([&] { return held.load(); }));
  EXPECT_EQ(0, InChild([] {
              get_launcher_proxy()->ReleaseClientObject();
              return 0;
            }));
  go_on = true;
  holder.join();
}

TEST_F(ForkTest, TheChildConsumesTheParametersOfACall) {
  WarmUp();
  EXPECT_EQ(0, InChild([] {
              static const int32_t content = 4711;
              static bool released = false;
              GVariant* const parameters = g_variant_new_from_data(
                  G_VARIANT_TYPE("(i)"), &content, sizeof content, TRUE, [](gpointer) { released = true; }, nullptr);
              if (released) return 2;
              GVariant* reply = nullptr;
              get_launcher_proxy()->MethodCall("x", parameters, &reply, 1000, nullptr);
              return released ? 0 : 1;
            }));
}

TEST(ForkBeforeUse, AChildOfAProcessThatNeverConnectedWorks) {
  const PrivateBus bus;
  Process simulator({NUV_BIN_DIR "/nuv-simulator", "--print-ready", "--dir", bus.directory()}, bus.directory());
  // Asked of its output: this process must not use the bus itself before it forks.
  ASSERT_TRUE(WaitUntil([&] { return simulator.Output().find("ready") != std::string::npos; }));
  EXPECT_EQ(0, InChild([] { return nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1) == 0 ? 0 : 1; }));
}

// There were threads before the copy. ThreadSanitizer ends a child whose thread gets the id of one from before.
#ifndef __SANITIZE_THREAD__
// The thread that was making the link does not exist in the child.
TEST(ForkBeforeUse, AChildForkedWhileAnotherThreadMakesTheLinkMakesItsOwn) {
  const PrivateBus bus;
  Process simulator({NUV_BIN_DIR "/nuv-simulator", "--print-ready", "--dir", bus.directory()}, bus.directory());
  ASSERT_TRUE(WaitUntil([&] { return simulator.Output().find("ready") != std::string::npos; }));
  static std::atomic<bool> making{false};
  static std::atomic<bool> go_on{false};
  fake_platform::OnLogLine([] {
    if (go_on || !fake_platform::Logged("CNUVGdbus [launcher] constructor.")) return;
    making = true;
    WaitUntil([] { return go_on.load(); });
  });
  std::thread maker([] { EXPECT_EQ(0, nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1)); });
  ASSERT_TRUE(WaitUntil([] { return making.load(); }));
  EXPECT_EQ(0, InChild([] {
              go_on = true;
              return nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1) == 0 ? 0 : 1;
            }));
  go_on = true;
  maker.join();
}

TEST(ForkBeforeUse, AChildOfAProcessThatFoundNoBusWorks) {
  PrivateBus bus;
  bus.Kill();
  EXPECT_EQ(-1, nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1));
  bus.Start();
  Process simulator({NUV_BIN_DIR "/nuv-simulator", "--print-ready", "--dir", bus.directory()}, bus.directory());
  // Asked of its output: this process must not use the bus itself before it forks.
  ASSERT_TRUE(WaitUntil([&] { return simulator.Output().find("ready") != std::string::npos; }));
  EXPECT_EQ(0, InChild([] { return nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1) == 0 ? 0 : 1; }));
}
#endif

class ExitTest : public LaunchTest {
 protected:
  void SetUp() override {
    StartService();
    service_->Before("launch_app", [this](const RecordedCall& call) {
      for (int i = 0; i < 20; ++i) service_->SendToClient(UnpackLaunch(call), {900, i});
    });
  }
};

TEST_F(ExitTest, NoCallbackIsEnteredOnceTheHostsObjectsGo) {
  for (int i = 0; i < 200; ++i) {
    Process client({NUV_TEST_DIR "/exit_client"}, bus_.directory());
    ASSERT_EQ(0, client.Wait()) << "run " << i << "\n" << client.Errors();
  }
}

TEST_F(ExitTest, WaitsForNoCallbackThatDoesNotEnd) {
  Process client({NUV_TEST_DIR "/exit_client", "block"}, bus_.directory());
  EXPECT_EQ(0, client.Wait()) << client.Errors();
}

TEST_F(ExitTest, MayBeCalledInACallback) {
  Process client({NUV_TEST_DIR "/exit_client", "inside"}, bus_.directory());
  EXPECT_EQ(7, client.Wait()) << client.Errors();
}

}  // namespace
