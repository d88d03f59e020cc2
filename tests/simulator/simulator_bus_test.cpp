// Names, objects, methods and the life on the bus.
#include <gmock/gmock.h>
#include <unistd.h>

#include "simulator_fixture.h"

namespace {

using ::testing::HasSubstr;

using SimulatorBusTest = SimulatorTest;

// The arguments with which a method is called here, and the reply that it gives to them.
struct MethodCase {
  const char* method;
  const char* signature;
  const char* arguments;  // GVariant text; null for none
  const char* reply;
};

constexpr MethodCase kMethods[] = {
    {"heartbeat", "", nullptr, "()"},
    {"launch_app", "sisssssssisiiiiiiiiiiiaay",
     "('obj1', 1, 'no.app', '', '', '', '', '', '', 1, 'nuv_launch_app', 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, @aay [])",
     "()"},
    {"terminate_app", "siss", "('no.app', 0, 'caller', 'reason')", "()"},
    {"terminate_app_by_runtitle", "s", "('No App',)", "()"},
    {"terminate_allapp", "ss", "('caller', 'reason')", "()"},
    {"launch_systempopup", "i", "(4,)", "()"},
    {"send_appexec_kpi", "issis", "(1, 'no.app', 'caller', 0, 'pt')", "()"},
    {"get_android_app_status", "s", "('no.app',)", "(0,)"},
    {"get_extra_app", "", nullptr, "('',)"},
    {"notify_extra_app_changed", "s", "('extra.app',)", "()"},
    {"notify_app_launch_status", "s", "('no.app',)", "()"},
    {"notify_special_app", "s", "('no.app',)", "()"},
    {"nuv_update_app_count", "s", "('no.app',)", "(-2,)"},
    {"nuv_update_app_version", "ss", "('no.app', '2.0')", "(-2,)"},
    {"nuv_update_app_by_key", "si", "('no.app', 0)", "(-2,)"},
    {"nuv_command", "isss", "(7, 'no.app', '/path', 'data')", "()"},
};

GVariant* Parse(const char* text) {
  return text == nullptr ? nullptr : g_variant_new_parsed(text);
}

std::string InputSignature(const GDBusMethodInfo* method) {
  std::string signature;
  for (GDBusArgInfo** argument = method->in_args; argument != nullptr && *argument != nullptr; ++argument) {
    signature += (*argument)->signature;
  }
  return signature;
}

TEST_F(SimulatorBusTest, OwnsBothNamesWhenItSaysReady) {
  Start();
  EXPECT_TRUE(bus_.NameHasOwner("org.kelvo.tv.litecorvane.server"));
  EXPECT_TRUE(bus_.NameHasOwner("org.kelvo.tv.corvane.server"));
}

TEST_F(SimulatorBusTest, AnswersEveryMethodOnBothServers) {
  Start();
  for (const MethodCase& test : kMethods) {
    if (std::string(test.method) == "notify_extra_app_changed") continue;  // changes what get_extra_app says
    EXPECT_EQ(Call(test.method, Parse(test.arguments)).Text(), test.reply) << test.method;
    EXPECT_EQ(CallCorvane(test.method, Parse(test.arguments)).Text(), test.reply) << test.method;
  }
}

TEST_F(SimulatorBusTest, DeclaresExactlyTheMethodsWithTheirSignatures) {
  Start();
  for (const std::string server : {"litecorvane", "corvane"}) {
    const Reply xml = CallObject("org.kelvo.tv." + server + ".server", "/org/kelvo/tv/" + server + "/server",
                                 "org.freedesktop.DBus.Introspectable", "Introspect", nullptr);
    const char* text = nullptr;
    g_variant_get(xml.value.get(), "(&s)", &text);
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(text, nullptr);
    const GDBusInterfaceInfo* interface =
        g_dbus_node_info_lookup_interface(node, ("org.kelvo.tv." + server + ".server.interface").c_str());
    ASSERT_NE(interface, nullptr);
    std::size_t declared = 0;
    while (interface->methods[declared] != nullptr) ++declared;
    EXPECT_EQ(declared, std::size(kMethods));
    for (const MethodCase& test : kMethods) {
      const GDBusMethodInfo* method =
          g_dbus_interface_info_lookup_method(const_cast<GDBusInterfaceInfo*>(interface), test.method);
      ASSERT_NE(method, nullptr) << test.method;
      EXPECT_EQ(InputSignature(method), test.signature) << test.method;
    }
    g_dbus_node_info_unref(node);
  }
}

TEST_F(SimulatorBusTest, RefusesArgumentsOfAnotherType) {
  Start();
  EXPECT_EQ(Call("launch_systempopup", g_variant_new("(s)", "x")).error, "org.freedesktop.DBus.Error.InvalidArgs");
  EXPECT_EQ(Call("heartbeat").Text(), "()");
}

TEST_F(SimulatorBusTest, RemembersTheExtraApp) {
  Start();
  EXPECT_EQ(Call("notify_extra_app_changed", g_variant_new("(s)", "extra.app")).Text(), "()");
  EXPECT_EQ(CallCorvane("get_extra_app").Text(), "('extra.app',)");
}

TEST_F(SimulatorBusTest, PrintsTheDetailsOfPopupsKpiEventsAndCommands) {
  Start();
  Call("launch_systempopup", g_variant_new("(i)", 4));
  Call("send_appexec_kpi", g_variant_new("(issis)", 1, "an.app", "a caller", 2, "pt"));
  CallCorvane("nuv_command", g_variant_new("(isss)", 7, "an.app", "/path", "data"));
  EXPECT_TRUE(WaitForOutput("(4,)"));
  EXPECT_TRUE(WaitForOutput("(1, 'an.app', 'a caller', 2, 'pt')"));
  EXPECT_TRUE(WaitForOutput("(7, 'an.app', '/path', 'data')"));
}

TEST_F(SimulatorBusTest, EndsWithAMessageWhenANameIsTaken) {
  Start();
  TempDir other;
  Process second({NUV_BIN_DIR "/nuv-simulator", "--dir", other.path()}, files_.path());
  EXPECT_EQ(second.Wait(), 1);
  EXPECT_THAT(second.Errors(), HasSubstr("org.kelvo.tv.litecorvane.server is taken"));
  EXPECT_EQ(Call("heartbeat").Text(), "()");
}

TEST_F(SimulatorBusTest, ASecondOneLeavesTheStateDirectoryAlone) {
  Start({}, R"({"apps": [{"id": "an.app"}]})");
  EXPECT_EQ(OutcomeOf({"an.app"}), std::make_pair(900, 0));
  const std::string before = RunningFile("an.app");
  Process second({NUV_BIN_DIR "/nuv-simulator", "--dir", directory_.path()}, files_.path());
  EXPECT_EQ(second.Wait(), 1);
  EXPECT_EQ(RunningFile("an.app"), before);
}

TEST_F(SimulatorBusTest, EndsWithAMessageWhenThereIsNoBus) {
  bus_.Kill();
  StartPlain();
  EXPECT_EQ(simulator_->Wait(), 1);
  EXPECT_THAT(simulator_->Errors(), HasSubstr("the system bus cannot be reached"));
}

TEST_F(SimulatorBusTest, EndsWhenTheBusGoes) {
  Start();
  bus_.Kill();
  EXPECT_EQ(simulator_->Wait(), 1);
  EXPECT_THAT(simulator_->Errors(), HasSubstr("the bus is gone"));
}

TEST_F(SimulatorBusTest, ComesBackWithTheBusWhenToldToReconnect) {
  Start({"--reconnect"}, R"({"apps": [{"id": "an.app"}]})");
  EXPECT_EQ(OutcomeOf({"an.app"}), std::make_pair(900, 0));
  bus_.Restart();
  ASSERT_TRUE(bus_.WaitForName("org.kelvo.tv.corvane.server"));
  connection_ = ConnectTo(bus_);
  // The application has lived on.
  EXPECT_EQ(OutcomeOf({"an.app"}), std::make_pair(901, 0));
}

TEST_F(SimulatorBusTest, WaitsForABusThatIsNotThereYetWhenToldToReconnect) {
  bus_.Kill();
  StartPlain({"--reconnect"});
  ASSERT_TRUE(WaitForOutput("waiting: "));
  bus_.Start();
  EXPECT_TRUE(bus_.WaitForName("org.kelvo.tv.corvane.server"));
  EXPECT_EQ(End(), 0);
}

TEST_F(SimulatorBusTest, WritesReadyToTheGivenFile) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  StartPlain({"--ready-fd", std::to_string(ends[1])});
  close(ends[1]);
  char text[16] = {};
  EXPECT_EQ(read(ends[0], text, sizeof text - 1), 6);
  EXPECT_STREQ(text, "ready\n");
  EXPECT_EQ(read(ends[0], text, sizeof text), 0) << "it closes the file";
  close(ends[0]);
  EXPECT_TRUE(bus_.NameHasOwner("org.kelvo.tv.corvane.server"));
}

TEST_F(SimulatorBusTest, EndsWithSuccessOnSigterm) {
  Start();
  EXPECT_EQ(End(), 0);
  EXPECT_FALSE(bus_.NameHasOwner("org.kelvo.tv.corvane.server"));
}

TEST_F(SimulatorBusTest, TellsItsVersionAndRefusesUnknownOptions) {
  Process version({NUV_BIN_DIR "/nuv-simulator", "--version"}, files_.path());
  EXPECT_EQ(version.Wait(), 0);
  EXPECT_THAT(version.Output(), HasSubstr("nuv-simulator "));
  Process unknown({NUV_BIN_DIR "/nuv-simulator", "--no-such-option"}, files_.path());
  EXPECT_EQ(unknown.Wait(), 2);
  Process negative({NUV_BIN_DIR "/nuv-simulator", "--settle", "-1"}, files_.path());
  EXPECT_EQ(negative.Wait(), 2);
}

}  // namespace
