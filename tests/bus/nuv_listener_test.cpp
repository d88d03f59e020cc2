// The moments of a listener's life at which the order of things counts: how it is offered, and how it ends.
#include <errno.h>
#include <unistd.h>

#include <atomic>

#include "faults.h"
#include "hosts_connection.h"
#include "launch_test.h"
#include "left_behind.h"
#include "link_probe.h"
#include "nuv_launcher_api/nuv_launcher_client.h"

namespace {

using Lines = std::vector<std::string>;

class ListenerTest : public LaunchTest {
 protected:
  static CNUVGdbus& link() { return *get_launcher_proxy(); }
  static int Get() { return link().GetProxy(launcher_introspection_xml, launcher_vtable); }
  static std::string ClientName() { return "org.kelvo.tv.corvane.launcherclient.obj" + std::to_string(getpid()); }
};

// Whether the client's name had an owner when its object was about to be registered, as the registering connection is
// told behind everything that it has sent.
Lines owned_at_registration;

void AskForTheNameBefore(GDBusConnection* connection, const std::string& name) {
  const GVariantHandle reply(g_dbus_connection_call_sync(
      connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
      g_variant_new("(s)", name.c_str()), nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr));
  ASSERT_NE(nullptr, reply);
  const GTextHandle text(g_variant_print(reply.get(), FALSE));
  owned_at_registration.emplace_back(text.get());
}

class ObjectTest : public ListenerTest {
 protected:
  void SetUp() override {
    faults::before_registration = [](GDBusConnection* connection) { AskForTheNameBefore(connection, ClientName()); };
  }
};

// Whoever sees the name may call the object at once.
TEST_F(ObjectTest, IsOfferedBeforeItsNameIsAskedFor) {
  ASSERT_EQ(1, Get());
  EXPECT_EQ(Lines{"(false,)"}, owned_at_registration);
  EXPECT_TRUE(bus_.WaitForName(ClientName()));
}

TEST_F(ObjectTest, IsOfferedBeforeItsNameIsAskedForOnAPrivateConnection) {
  const HostsConnection hosts;
  ASSERT_EQ(1, Get());
  bus_.Restart();
  ASSERT_EQ(1, Get());
  ASSERT_NE(nullptr, LinkProbe::CurrentRun(link())->privateConnection);
  EXPECT_EQ((Lines{"(false,)", "(false,)"}), owned_at_registration);
  EXPECT_TRUE(bus_.WaitForName(ClientName()));
}

class EndOfListener : public ListenerTest {
 protected:
  // GLib's threads, and what the library keeps by design, are there.
  void SetUp() override {
    ASSERT_EQ(1, Get());
    link().GiveProxy();
    ASSERT_TRUE(hosts_.IsLetGo());
  }

  void LaunchAndSendResult() {
    ASSERT_EQ(0, nuv_launch_webapp("app", nullptr, nullptr, OnNotify, &heard_));
    service_->SendToClient(service_->Launches().back(), {900, 0});
  }

  HostsConnection hosts_;
};

std::atomic<bool> may_go_on{false};

// The thread is held until nothing is left to be done but to wait for it.
TEST_F(EndOfListener, ThatComesToItsLoopAfterItsLinkWasGivenBackLeavesNothing) {
  const LeftBehind before;
  faults::at_start_of_thread = [] { ASSERT_TRUE(WaitUntil([] { return may_go_on.load(); })); };
  faults::before_join = [] { may_go_on = true; };
  ASSERT_EQ(1, Get());
  ASSERT_FALSE(may_go_on);
  link().GiveProxy();
  faults::at_start_of_thread = nullptr;
  faults::before_join = nullptr;
  ASSERT_TRUE(may_go_on);
  EXPECT_TRUE(hosts_.IsLetGo());
  EXPECT_EQ(Lines{}, before.Now());
  EXPECT_FALSE(bus_.NameHasOwner(ClientName()));
}

// The first of three threads is held at its start, and the others find nothing that keeps them from going ahead.
TEST_F(EndOfListener, OfEarlierOnesComesBeforeALaterOneServes) {
  static std::atomic<pid_t> first;
  first = 0;
  may_go_on = false;
  faults::at_start_of_thread = [] {
    pid_t none = 0;
    if (first.compare_exchange_strong(none, gettid())) {
      ASSERT_TRUE(WaitUntil([] { return may_go_on.load(); }));
    }
  };
  StartService();
  ASSERT_EQ(1, Get());
  ASSERT_TRUE(WaitUntil([] { return first != 0; }));
  for (int restarts = 0; restarts < 2; ++restarts) {
    service_.reset();
    bus_.Restart();
    StartService();
    LaunchAndSendResult();
  }
  EXPECT_FALSE(WaitUntil([] { return LinkProbe::ListenerServes(link()); }, Milliseconds(300)));
  EXPECT_EQ(Lines{}, heard_.Texts());
  may_go_on = true;
  EXPECT_TRUE(WaitUntil([] { return access(("/proc/self/task/" + std::to_string(first)).c_str(), F_OK) != 0; }));
  EXPECT_TRUE(heard_.WaitFor(1));
  faults::at_start_of_thread = nullptr;
}

// A source that runs behind everything else in the listener's context, and whether its loop was still meant to go on.
std::shared_ptr<ListenerRun> run;
std::atomic<bool> source_ran{false};
std::atomic<bool> loop_was_running{false};

TEST_F(EndOfListener, ComesLastOfWhatIsGivenBack) {
  ASSERT_EQ(1, Get());
  ASSERT_TRUE(bus_.WaitForName(ClientName()));
  run = LinkProbe::CurrentRun(link());
  faults::before_unowning = [] {
    GSource* const source = g_idle_source_new();
    g_source_set_callback(
        source,
        [](gpointer) -> gboolean {
          loop_was_running = g_main_loop_is_running(run->loop.get()) != FALSE;
          source_ran = true;
          return G_SOURCE_REMOVE;
        },
        nullptr, nullptr);
    g_source_attach(source, run->context.get());
    g_source_unref(source);
    EXPECT_TRUE(WaitUntil([] { return source_ran.load(); }));
  };
  link().GiveProxy();
  faults::before_unowning = nullptr;
  ASSERT_TRUE(source_ran);
  EXPECT_TRUE(loop_was_running);
  run.reset();
}

TEST_F(EndOfListener, WhoseThreadCannotBeStartedLeavesNothing) {
  const LeftBehind before;
  faults::Plan({"pthread_create", 1, 0, EAGAIN});
  EXPECT_EQ(0, Get());
  ASSERT_TRUE(faults::TakePlanned());
  EXPECT_TRUE(hosts_.IsLetGo());
  EXPECT_EQ(Lines{}, before.Now());
  EXPECT_FALSE(bus_.NameHasOwner(ClientName()));
}

// The bus answers nothing any more from the registration on: what is under way on the connection ends with it.
TEST_F(EndOfListener, OfAPrivateConnectionWhoseThreadCannotBeStartedLeavesNothing) {
  static const PrivateBus& bus = bus_;
  bus_.Restart();
  const LeftBehind before;
  faults::before_registration = [](GDBusConnection*) { bus.Pause(); };
  faults::Plan({"pthread_create", 1, 0, EAGAIN});
  EXPECT_EQ(0, Get());
  faults::before_registration = nullptr;
  bus_.Resume();
  ASSERT_TRUE(faults::TakePlanned());
  EXPECT_EQ(Lines{}, before.Now());
  EXPECT_FALSE(bus_.NameHasOwner(ClientName()));
}

}  // namespace
