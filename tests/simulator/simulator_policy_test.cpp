// The bus policy and the activation files that are installed with the service, on a bus that enforces what a system bus
// does, with peers of several users.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <map>

#include "bus_users.h"
#include "process.h"

namespace {

using ::testing::HasSubstr;

constexpr const char* kService = "org.kelvo.tv.corvane.server";
constexpr const char* kLightService = "org.kelvo.tv.litecorvane.server";
constexpr const char* kClient = "org.kelvo.tv.corvane.launcherclient.obj1";
constexpr const char* kClientPath = "/org/kelvo/tv/corvane/launcherclient/obj1";
constexpr const char* kClientInterface = "org.kelvo.tv.corvane.launcherclient.interface.obj1";
constexpr const char* kInnerClient = "org.kelvo.tv.corvane.innerdbclient.obj1";
constexpr const char* kControlInterface = "org.kelvo.tv.NuvSimulator1";

// The installed policy on a system bus.
class BusPolicyTest : public ::testing::Test {
 protected:
  explicit BusPolicyTest(const std::string& others_before = "", const std::string& others_after = "")
      : bus_(others_before + PolicyFor(kServiceUser) + others_after, "", kSystemBus) {
    chmod(bus_.directory().c_str(), 0755);  // the socket is in it
  }
  void SetUp() override {
    if (getuid() != 0) GTEST_SKIP() << "only root can be several users";
  }
  PrivateBus bus_;
};

TEST_F(BusPolicyTest, OnlyTheServiceCanHaveItsNames) {
  for (const char* name : {kService, kLightService}) {
    for (const uid_t user : {kUser, kOtherUser}) EXPECT_EQ(Peer(bus_, user).Own(name), kDenied) << name << user;
    for (const uid_t user : {kServiceUser, uid_t{0}}) EXPECT_EQ(Peer(bus_, user).Own(name), kOwned) << name << user;
  }
}

TEST_F(BusPolicyTest, AnybodyCanHaveAClientsNameAndNoOther) {
  for (const uid_t user : {kUser, kOtherUser, kServiceUser}) {
    const Peer peer(bus_, user);
    EXPECT_EQ(peer.Own(kClient + std::to_string(user)), kOwned);
    EXPECT_EQ(peer.Own(kInnerClient + std::to_string(user)), kOwned);
    for (const char* name : {"org.kelvo.tv.corvane.launcherclientx.obj1", "org.kelvo.tv.corvane.other",
                             "org.kelvo.tv.corvane.nuvinnerdbclient.obj1", "org.kelvo.tv.litecorvane.server.obj1"}) {
      EXPECT_EQ(peer.Own(name), kDenied) << name;
    }
  }
}

TEST_F(BusPolicyTest, AnybodyCanCallTheService) {
  const Peer service(bus_, kServiceUser);
  for (const std::string name : {kService, kLightService}) {
    ASSERT_EQ(service.Own(name), kOwned);
    for (const uid_t user : {kUser, kOtherUser, kServiceUser, uid_t{0}}) {
      EXPECT_EQ(Peer(bus_, user).Call(name, "/some/path", name + ".interface", "launch_app"), kArrived) << user;
      EXPECT_EQ(Peer(bus_, user).Call(name, "/some/path", kControlInterface, "LaunchRequest"), kArrived) << user;
    }
  }
}

TEST_F(BusPolicyTest, OnlyTheServiceCanAnswerThePinDialog) {
  const Peer service(bus_, kServiceUser);
  ASSERT_EQ(service.Own(kService), kOwned);
  ASSERT_EQ(service.Own(kLightService), kOwned);
  for (const std::string& name : {std::string(kService), std::string(kLightService), service.UniqueName()}) {
    for (const char* method : {"EnterPin", "CancelPin"}) {
      EXPECT_EQ(Peer(bus_, kUser).Call(name, "/some/path", kControlInterface, method), kDenied) << name << method;
    }
  }
  for (const char* method : {"EnterPin", "CancelPin"}) {
    EXPECT_EQ(Peer(bus_, kServiceUser).Call(kService, "/some/path", kControlInterface, method), kArrived) << method;
  }
}

TEST_F(BusPolicyTest, OnlyTheServicesUserCanAskForPinsOrMakeTheServiceMisbehave) {
  const Peer service(bus_, kServiceUser);
  ASSERT_EQ(service.Own(kService), kOwned);
  for (const char* method : {"AskForPins", "SetRules"}) {
    EXPECT_EQ(Peer(bus_, kUser).Call(kService, "/some/path", kControlInterface, method), kDenied) << method;
    EXPECT_EQ(Peer(bus_, kServiceUser).Call(kService, "/some/path", kControlInterface, method), kArrived) << method;
  }
}

TEST_F(BusPolicyTest, OnlyTheServiceCanReportAResult) {
  const auto object = ObjectOf(kUser, bus_, "obj1");
  for (const std::string& name : {std::string(kClient), object->UniqueName()}) {
    for (const uid_t user : {kUser, kOtherUser}) EXPECT_EQ(Peer(bus_, user).Report(name), kDenied) << name << user;
  }
  EXPECT_TRUE(object->results().empty());
  const Peer service(bus_, kServiceUser);
  g_dbus_connection_call(service.get(), kClient, kClientPath, kClientInterface, "app_launch_result", SomeResult(),
                         nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
  EXPECT_EQ(object->Outcome(), std::make_pair(900, 0));
}

TEST_F(BusPolicyTest, NobodyElseCanCallAnObjectOfAClientAtAll) {
  const Peer client(bus_, kUser);
  ASSERT_EQ(client.Own(kClient), kOwned);
  ASSERT_EQ(client.Own(kInnerClient), kOwned);
  for (const char* name : {kClient, kInnerClient}) {
    const Peer other(bus_, kOtherUser);
    EXPECT_EQ(other.Call(name, kClientPath, kClientInterface, "check_dbus_connection"), kDenied) << name;
    EXPECT_EQ(other.Call(name, kClientPath, "org.freedesktop.DBus.Introspectable", "Introspect"), kDenied) << name;
    EXPECT_EQ(other.Call(name, kClientPath, "org.freedesktop.DBus.Peer", "Ping"), kDenied) << name;
  }
}

TEST_F(BusPolicyTest, TheServiceCanBeAClientToo) {
  const Peer service(bus_, kServiceUser);
  ASSERT_EQ(service.Own(kService), kOwned);
  ASSERT_EQ(service.Own(kClient), kOwned);
  ASSERT_EQ(service.Own(kInnerClient), kOwned);
  EXPECT_EQ(Peer(bus_, kUser).Call(kService, "/some/path", "org.kelvo.tv.corvane.server.interface", "heartbeat"),
            kArrived);
  for (const char* name : {kService, kClient, kInnerClient}) EXPECT_EQ(Peer(bus_, kUser).Report(name), kDenied) << name;
}

// A client's process that offers something of its own on its connection, with a policy that is read before or after.
class OtherServicePolicyTest : public BusPolicyTest {
 protected:
  OtherServicePolicyTest()
      : BusPolicyTest(PolicyOf("default", "before"), PolicyOf("default", "after") + PolicyOf("user", "before.user")) {}
  static std::string PolicyOf(const std::string& context, const std::string& name) {
    const std::string who =
        context == "default" ? "context=\"default\"" : "user=\"" + std::to_string(kOtherUser) + "\"";
    return "<policy " + who + "><allow own_prefix=\"" + name + "\"/><allow send_destination=\"" + name +
           ".service\" send_interface=\"its.interface\"/></policy>";
  }
};

TEST_F(OtherServicePolicyTest, WhatAClientOffersItselfNeedsARuleThatWinsOverTheDenial) {
  const std::map<std::string, std::string> answers = {
      {"before.service", kDenied}, {"after.service", kArrived}, {"before.user.service", kArrived}};
  for (const auto& [name, answer] : answers) {
    const Peer client(bus_, kOtherUser);
    ASSERT_EQ(client.Own(kClient), kOwned);
    ASSERT_EQ(client.Own(name), kOwned);
    const Peer caller(bus_, kOtherUser);
    EXPECT_EQ(caller.Call(name, "/some/path", "its.interface", "Greet"), answer) << name;
    EXPECT_EQ(caller.Report(name), kDenied) << name;
    EXPECT_EQ(caller.Report(kClient), kDenied) << name;
  }
}

// Counts the calls of a method that a connection sees, whoever they are for.
class SeenCalls {
 public:
  SeenCalls(const Peer& peer, std::string method) : peer_(peer), method_(std::move(method)) {
    filter_ = g_dbus_connection_add_filter(peer.get(), See, this, nullptr);
  }
  ~SeenCalls() { g_dbus_connection_remove_filter(peer_.get(), filter_); }
  int count() const { return count_; }

 private:
  static GDBusMessage* See(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer self) {
    auto* seen = static_cast<SeenCalls*>(self);
    const char* member = g_dbus_message_get_member(message);
    if (incoming != FALSE && member != nullptr && seen->method_ == member) ++seen->count_;
    return message;
  }
  const Peer& peer_;
  std::string method_;
  std::atomic<int> count_{0};
  guint filter_ = 0;
};

// What becomes of a user's wish to listen, and how many calls of another user he sees.
std::pair<std::string, int> Eavesdrop(const PrivateBus& bus, uid_t user) {
  const Peer service(bus, kServiceUser);
  EXPECT_EQ(service.Own(kService), kOwned);
  const Peer listener(bus, user);
  const SeenCalls seen(listener, "launch_app");
  const std::string answer = listener.AskBus("AddMatch", g_variant_new("(s)", "eavesdrop=true"));
  EXPECT_EQ(Peer(bus, kUser).Call(kService, "/some/path", "org.kelvo.tv.corvane.server.interface", "launch_app"),
            kArrived);
  listener.Settle();
  return {answer, seen.count()};
}

TEST_F(BusPolicyTest, NobodyCanListenToOthers) {
  EXPECT_EQ(Eavesdrop(bus_, kOtherUser), std::make_pair(std::string(kDenied), 0));
  EXPECT_EQ(Eavesdrop(bus_, 0), std::make_pair(std::string("()"), 0)) << "root has to become a monitor for that";
  EXPECT_EQ(Peer(bus_, kOtherUser)
                .Call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.Monitoring",
                      "BecomeMonitor", g_variant_new("(asu)", nullptr, 0)),
            kDenied);
  PrivateBus open;
  chmod(open.directory().c_str(), 0755);
  EXPECT_EQ(Eavesdrop(open, 0), std::make_pair(std::string("()"), 1));
}

void Emit(const Peer& peer, const char* member) {
  g_dbus_connection_emit_signal(peer.get(), nullptr, "/org/kelvo/tv/NuvSimulator", kControlInterface, member,
                                g_variant_new("(s)", "an.app"), nullptr);
  peer.Settle();
}

TEST_F(BusPolicyTest, TheServicesSignalsReachAnybodyAndAreItsOwn) {
  const Peer listener(bus_, kUser);
  const SeenCalls genuine(listener, "ForegroundChanged");
  const SeenCalls forged(listener, "AppStarted");
  listener.AskBus("AddMatch", g_variant_new("(s)", "type='signal',interface='org.kelvo.tv.NuvSimulator1'"));
  const Peer service(bus_, kServiceUser);
  Emit(Peer(bus_, kOtherUser), "AppStarted");
  Emit(service, "ForegroundChanged");
  listener.Settle();
  EXPECT_EQ(forged.count(), 0);
  EXPECT_EQ(genuine.count(), 1);
}

// A bus on which the user of the test is the service's.
class ServicePolicyTest : public SimulatorTest {
 protected:
  ServicePolicyTest() : SimulatorTest(PolicyFor(getuid()), kSystemBus) { chmod(bus_.directory().c_str(), 0755); }
};

TEST_F(ServicePolicyTest, TheServiceServesAnybodyAndReportsToItsClients) {
  if (getuid() != 0) GTEST_SKIP() << "only root can be several users";
  Start({}, R"({"apps": [{"id": "a.app"}]})");
  for (const uid_t user : {kUser, kOtherUser}) {
    const Peer caller(bus_, user);
    for (const std::string server : {"litecorvane", "corvane"}) {
      EXPECT_EQ(caller.Call("org.kelvo.tv." + server + ".server", "/org/kelvo/tv/" + server + "/server",
                            "org.kelvo.tv." + server + ".server.interface", "heartbeat"),
                "()");
    }
    const std::string name = "obj" + std::to_string(user);
    const auto object = ObjectOf(user, bus_, name);
    caller.Call(kLightService, "/org/kelvo/tv/litecorvane/server", "org.kelvo.tv.litecorvane.server.interface",
                "launch_app", Launch("a.app", name).Arguments());
    ASSERT_TRUE(object->WaitFor(1));
    EXPECT_THAT(object->results()[0].event, ::testing::AnyOf(900, 901));
  }
}

// The files as they are installed, for the program of the build and with a directory of the test's own.
std::string InstallActivationFiles(const TempDir& prefix, const std::string& state) {
  Process install(
      {CMAKE_PROGRAM, "-DCMAKE_INSTALL_PREFIX=" + prefix.path(), "-DNUV_BINDIR=" NUV_BIN_DIR, "-DNUV_DATADIR=share",
       "-DNUV_SERVICE_TEMPLATE=" NUV_SOURCE_DIR "/data/org.kelvo.tv.nuv.server.service.in", "-P",
       NUV_SOURCE_DIR "/cmake/install/service_files.cmake"},
      prefix.path());
  EXPECT_EQ(install.Wait(), 0) << install.Errors();
  const std::string services = prefix / "share/dbus-1/system-services";
  for (const std::string name : {"org.kelvo.tv.litecorvane.server", "org.kelvo.tv.corvane.server"}) {
    const std::string file = services + "/" + name + ".service";
    const std::string installed = ReadFile(file);
    EXPECT_THAT(installed, HasSubstr("Name=" + name + "\n"));
    EXPECT_THAT(installed, HasSubstr("Exec=" NUV_BIN_DIR "/nuv-simulator --dir=/var/lib/nuv\n"));
    WriteFile(file, Replaced(installed, "/var/lib/nuv", state));
  }
  return services;
}

TEST(ActivationTest, TheFirstCallStartsTheService) {
  TempDir prefix;
  TempDir state;
  PrivateBus bus("", InstallActivationFiles(prefix, state.path()));
  const Connection connection = ConnectTo(bus);
  EXPECT_FALSE(bus.NameHasOwner("org.kelvo.tv.litecorvane.server"));
  const Variant reply(g_dbus_connection_call_sync(connection.get(), "org.kelvo.tv.litecorvane.server",
                                                  "/org/kelvo/tv/litecorvane/server",
                                                  "org.kelvo.tv.litecorvane.server.interface", "get_extra_app", nullptr,
                                                  nullptr, G_DBUS_CALL_FLAGS_NONE, 20000, nullptr, nullptr));
  EXPECT_TRUE(reply);
  EXPECT_TRUE(bus.NameHasOwner("org.kelvo.tv.corvane.server"));
  bus.Kill();  // which ends the service, too
}

}  // namespace
