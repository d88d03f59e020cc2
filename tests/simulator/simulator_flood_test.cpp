// What a peer on the bus can do to a client, with and without the policy. NUV_FLOOD_MESSAGES says how many messages a
// flood has; each test prints what it measured.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <sstream>

#include "bus_users.h"

namespace {

using Clock = std::chrono::steady_clock;

int Messages() {
  const char* given = getenv("NUV_FLOOD_MESSAGES");
  return given == nullptr ? 3000 : atoi(given);
}

// A message that looks like the service's report.
struct Forgery {
  int thread_id = 0;
  std::string app_id = "forged.app";
  int event_type = 900;
  int event_index = 0;
};

// A client of the simulated service, on a bus that is open or has the policy, and a peer who wishes it ill.
class FloodTest : public SimulatorTest {
 protected:
  explicit FloodTest(const std::string& policy = "", const std::string& base = PrivateBus::kEverythingAllowed)
      : SimulatorTest(policy, base) {
    chmod(bus_.directory().c_str(), 0755);
  }
  void SetUp() override {
    if (getuid() != 0) GTEST_SKIP() << "only root can be several users";
    Start({}, R"({"apps": [{"id": "a.app"}]})");
    attacker_ = std::make_unique<Peer>(bus_, kOtherUser);
  }
  // A client that has heard its first results. What GLib keeps of freed memory does not count as kept.
  void StartVictim(const std::string& seconds = "20") {
    victim_ = std::make_unique<Process>(
        std::vector<std::string>{NUV_TEST_DIR "/flood_client", "a.app", seconds}, files_.path(),
        Process::Environment{{"NUV_HOST_DIR", directory_.path()}, {"G_SLICE", "always-malloc"}});
    object_ = "obj" + std::to_string(victim_->pid());
    ASSERT_TRUE(WaitUntil([this] { return Number(victim_->Output(), "listening") != 0; })) << victim_->Errors();
    listener_ = Number(victim_->Output(), "listening");
  }
  static long Number(const std::string& text, const std::string& name) {
    std::istringstream words(text);
    for (std::string word; words >> word;) {
      if (word == name && words >> word) return std::stol(word);
    }
    return 0;
  }

  // A sanitizer has an allocator of its own, which keeps what is freed: its figures count for nothing.
  static long Kb(const std::string& report, const std::string& what) {
    return NUV_SANITIZED == 0 ? Number(report, what + "_kb") : 0;
  }

  std::string ClientName() const { return "org.kelvo.tv.corvane.launcherclient." + object_; }
  void Send(const Forgery& forgery) const {
    GDBusMessage* message = g_dbus_message_new_method_call(
        ClientName().c_str(), ("/org/kelvo/tv/corvane/launcherclient/" + object_).c_str(),
        ("org.kelvo.tv.corvane.launcherclient.interface." + object_).c_str(), "app_launch_result");
    g_dbus_message_set_flags(message, G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED);
    g_dbus_message_set_body(message, g_variant_new("(isiiiisi)", forgery.thread_id, forgery.app_id.c_str(), 0,
                                                   forgery.event_type, 0, forgery.event_index, "nuv_launch_app", 1));
    g_dbus_connection_send_message(attacker_->get(), message, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(message);
  }
  // Sends as fast as the bus takes it, each with an event number of its own; what the victim says afterwards.
  std::string Flood(Forgery forgery, int messages) {
    const auto start = Clock::now();
    for (int i = 0; i < messages; ++i) {
      forgery.event_index = 1000000 + i;
      Send(forgery);
      if (i % 64 == 63) g_dbus_connection_flush_sync(attacker_->get(), nullptr, nullptr);
    }
    attacker_->Settle();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const std::string report = Report();
    printf("%d messages in %.2f s, %.0f per second\n%s", messages, seconds, messages / seconds, report.c_str());
    return report;
  }
  // Ends the victim: it has lost no result.
  std::string Report() {
    victim_->Signal(SIGTERM);
    EXPECT_EQ(victim_->Wait(Milliseconds(60000)), 0) << victim_->Errors();
    const std::string report = victim_->Output();
    EXPECT_GT(Number(report, "launches"), 0) << report;
    EXPECT_EQ(Number(report, "lost"), 0) << report;
    return report;
  }

  std::unique_ptr<Peer> attacker_;
  std::unique_ptr<Process> victim_;
  std::string object_;
  long listener_ = 0;
};

TEST_F(FloodTest, NoneForComparison) {
  StartVictim();
  EXPECT_TRUE(WaitUntil([start = Clock::now()] { return Clock::now() - start > std::chrono::seconds(1); }));
  printf("no messages\n%s", Report().c_str());
}

TEST_F(FloodTest, OfResultsForOthersLosesNothingAndLeavesNothingBehind) {
  StartVictim();
  const std::string report = Flood({static_cast<int>(listener_ + 1)}, Messages());
  EXPECT_LT(Kb(report, "kept"), 500);
  EXPECT_EQ(Number(report, "forged"), 0);
}

TEST_F(FloodTest, OfUnknownEventsLosesNothingAndLeavesAnEmptyEntryEach) {
  StartVictim();
  const std::string report = Flood({static_cast<int>(listener_)}, Messages());
  EXPECT_LT(Kb(report, "kept"), 500 + Messages() / 10);
  EXPECT_EQ(Number(report, "forged"), 0);
}

TEST_F(FloodTest, OfHugeMessagesLosesNothingAndLeavesNothingBehind) {
  StartVictim();
  const std::string report = Flood({static_cast<int>(listener_ + 1), std::string(16 << 20, 'x')}, 8);
  EXPECT_LT(Kb(report, "kept"), 500 + (16 << 10)) << "the connection's buffer is as large as the largest";
  EXPECT_LT(Kb(report, "peak"), 6 * (16 << 10)) << "a few copies of one message, not of all";
}

TEST_F(FloodTest, OfForgedResultsIsHeardWhereThereIsNoPolicy) {
  StartVictim();
  for (int event = 0; event < 5; ++event) Send({static_cast<int>(listener_), "forged.app", 900, event});
  attacker_->Settle();
  EXPECT_EQ(Number(Report(), "forged"), 5);
}

// A name goes to who asks for it, policy or not.
TEST_F(FloodTest, WhoTakesAClientsNameTakesItsResultsUntilHeLeaves) {
  StartVictim("1");
  EXPECT_EQ(attacker_->AskBus("RequestName", g_variant_new("(su)", ClientName().c_str(), 2)), kOwned);
  ASSERT_TRUE(WaitForOutput("lost")) << simulator_->Output();
  const std::size_t results = simulator_->Output().size();
  // The victim is next in the queue for its name.
  EXPECT_EQ(attacker_->AskBus("ReleaseName", g_variant_new("(s)", ClientName().c_str())), kOwned);
  ASSERT_TRUE(WaitUntil([&] { return simulator_->Output().find("delivered", results) != std::string::npos; }));
  victim_->Signal(SIGTERM);
  EXPECT_EQ(victim_->Wait(), 1);
  EXPECT_GT(Number(victim_->Output(), "lost"), 0) << victim_->Output();
  EXPECT_GT(Number(victim_->Output(), "launches"), Number(victim_->Output(), "lost")) << victim_->Output();
  EXPECT_EQ(Number(victim_->Output(), "forged"), 0);
}

// What a client hears of a call that a service never answers, when a stranger answers in its place.
std::string AnswerOfAStranger(const PrivateBus& bus) {
  const Peer service(bus, getuid());
  EXPECT_EQ(service.Own("org.kelvo.tv.corvane.server"), kOwned);
  const guint silent = g_dbus_connection_add_filter(
      service.get(),
      [](GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer) -> GDBusMessage* {
        if (incoming == FALSE || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL) {
          return message;
        }
        g_object_unref(message);
        return nullptr;
      },
      nullptr, nullptr);
  const Peer client(bus, kUser);
  GDBusMessage* call = g_dbus_message_new_method_call("org.kelvo.tv.corvane.server", "/org/kelvo/tv/corvane/server",
                                                      "org.kelvo.tv.corvane.server.interface", "heartbeat");
  guint32 serial = 0;
  std::string answer;
  g_dbus_connection_send_message_with_reply(
      client.get(), call, G_DBUS_SEND_MESSAGE_FLAGS_NONE, 1000, &serial, nullptr,
      [](GObject* connection, GAsyncResult* result, gpointer text) {
        GDBusMessage* reply = g_dbus_connection_send_message_with_reply_finish(
            reinterpret_cast<GDBusConnection*>(connection), result, nullptr);
        *static_cast<std::string*>(text) = reply == nullptr ? "none" : g_dbus_message_get_error_name(reply);
        if (reply != nullptr) g_object_unref(reply);
      },
      &answer);
  g_object_unref(call);
  g_dbus_connection_flush_sync(client.get(), nullptr, nullptr);
  service.Settle();

  const Peer stranger(bus, kOtherUser);
  GDBusMessage* forged = g_dbus_message_new();
  g_dbus_message_set_message_type(forged, G_DBUS_MESSAGE_TYPE_ERROR);
  g_dbus_message_set_destination(forged, client.UniqueName().c_str());
  g_dbus_message_set_reply_serial(forged, serial);
  g_dbus_message_set_error_name(forged, "org.kelvo.Error.Forged");
  g_dbus_connection_send_message(stranger.get(), forged, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
  g_object_unref(forged);
  stranger.Settle();
  EXPECT_TRUE(RunUntil([&] { return !answer.empty(); }));
  g_dbus_connection_remove_filter(service.get(), silent);
  return answer;
}

// A bus that allows eavesdropping lets replies pass that nobody asked for, and the bus library knows them by their
// number alone.
TEST_F(FloodTest, AForgedReplyIsBelievedOnAnOpenBus) {
  const PrivateBus bus;
  chmod(bus.directory().c_str(), 0755);
  EXPECT_EQ(AnswerOfAStranger(bus), "org.kelvo.Error.Forged");
}

TEST_F(FloodTest, AForgedReplyIsStoppedByASystemBus) {
  const PrivateBus bus(PolicyFor(getuid()), "", kSystemBus);
  chmod(bus.directory().c_str(), 0755);
  EXPECT_EQ(AnswerOfAStranger(bus), "none");
}

class FloodWithPolicyTest : public FloodTest {
 protected:
  FloodWithPolicyTest() : FloodTest(PolicyFor(getuid()), kSystemBus) {}
};

TEST_F(FloodWithPolicyTest, DoesNotArrive) {
  StartVictim();
  for (int event = 0; event < 5; ++event) Send({static_cast<int>(listener_), "forged.app", 900, event});
  const std::string report = Flood({static_cast<int>(listener_)}, Messages());
  EXPECT_EQ(Number(report, "forged"), 0);
  EXPECT_LT(Kb(report, "kept"), 500);
}

}  // namespace
