// What a live watcher hears.
#include <gmock/gmock.h>
#include <signal.h>

#include "simulator_fixture.h"

namespace {

using ::testing::Contains;
using ::testing::Not;

class SimulatorWatchTest : public SimulatorTest {
 protected:
  void SetUp() override {
    Start({}, R"({"apps": [{"id": "a.app"}]})");
    g_dbus_connection_signal_subscribe(connection_.get(), nullptr, "org.kelvo.tv.NuvSimulator1", nullptr,
                                       "/org/kelvo/tv/NuvSimulator", nullptr, G_DBUS_SIGNAL_FLAGS_NONE, Heard, this,
                                       nullptr);
  }
  static void Heard(GDBusConnection*, const char*, const char*, const char*, const char* name, GVariant* arguments,
                    gpointer self) {
    char* text = g_variant_print(arguments, FALSE);
    static_cast<SimulatorWatchTest*>(self)->heard_.push_back(std::string(name) + text);
    g_free(text);
  }
  bool Hears(const std::string& signal) {
    return RunUntil([&] { return std::find(heard_.begin(), heard_.end(), signal) != heard_.end(); });
  }
  std::vector<std::string> heard_;
};

TEST_F(SimulatorWatchTest, ALaunchIsSeenFromTheRequestToTheResult) {
  Launch launch{"a.app"};
  launch.caller = "the.caller";
  launch.event_index = 5;
  const ResultObject object(bus_, "obj1");
  ASSERT_TRUE(SendLaunch(launch));
  EXPECT_EQ(object.Outcome(), std::make_pair(900, 0));
  const std::string pid = std::to_string(RunningNumber("a.app", "pid"));
  EXPECT_TRUE(Hears("Request('launch_app', 'a.app', 'the.caller')"));
  EXPECT_TRUE(Hears("Reply('launch_app', 'a.app', 'reply')"));
  EXPECT_TRUE(Hears("AppStarted('a.app', " + pid + ", true)"));
  EXPECT_TRUE(Hears("ForegroundChanged('a.app',)"));
  EXPECT_TRUE(Hears("Result('a.app', 900, 0, 5, 'delivered')"));
}

TEST_F(SimulatorWatchTest, AnEndIsSeenWithItsStatus) {
  OutcomeOf({"a.app"});
  const std::string pid = std::to_string(RunningNumber("a.app", "pid"));
  kill(std::stoi(pid), SIGKILL);
  EXPECT_TRUE(Hears("AppStopped('a.app', " + pid + ", 137)"));
  EXPECT_TRUE(Hears("ForegroundChanged('',)"));
}

TEST_F(SimulatorWatchTest, ALaunchOfARunningApplicationIsSeenWithWhatItIsTold) {
  OutcomeOf({"a.app"});
  const std::string pid = std::to_string(RunningNumber("a.app", "pid"));
  Launch launch{"a.app"};
  launch.deep_link = 1;
  launch.payload = "the payload";
  launch.caller = "the.caller";
  launch.uri = "the:uri";
  launch.blocks = {ExtraBlock("key", "cut \xEC\x84")};
  EXPECT_EQ(OutcomeOf(launch), std::make_pair(906, 0));
  EXPECT_TRUE(Hears("LaunchDelivered('a.app', " + pid +
                    ", 'the payload', 'the.caller', 'the:uri', '{\"key\":\"cut \xEF\xBF\xBD\"}')"));
}

TEST_F(SimulatorWatchTest, TheProbeIsNotWorthASignal) {
  Call("heartbeat");
  Call("get_extra_app");
  EXPECT_TRUE(Hears("Reply('get_extra_app', '', 'reply')"));
  EXPECT_THAT(heard_, Not(Contains("Request('heartbeat', '', '')")));
}

}  // namespace
