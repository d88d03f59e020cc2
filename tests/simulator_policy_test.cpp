// The bus policy and the activation files that are installed with the service.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "simulator_fixture.h"

namespace {

using ::testing::HasSubstr;

constexpr const char* kPolicyFile = NUV_SOURCE_DIR "/data/org.kelvo.tv.corvane.conf";

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// Runs a call as a user without privileges: the test's own where that is not root.
std::string CallAsNobody(const std::string& directory, const std::vector<std::string>& call) {
  std::vector<std::string> command;
  if (getuid() == 0) command = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
  command.insert(command.end(), {"gdbus", "call", "--system"});
  command.insert(command.end(), call.begin(), call.end());
  Process process(command, directory);
  process.Wait();
  return process.Output() + process.Errors();
}

// A bus with the policy as it is installed.
class BusPolicyTest : public ::testing::Test {
 protected:
  BusPolicyTest() : bus_("<include>" + std::string(kPolicyFile) + "</include>") {
    chmod(bus_.directory().c_str(), 0755);  // the socket is in it
  }
  std::string RequestName(const std::string& name) {
    return CallAsNobody(files_.path(), {"-d", "org.freedesktop.DBus", "-o", "/org/freedesktop/DBus", "-m",
                                        "org.freedesktop.DBus.RequestName", name, "4"});
  }
  PrivateBus bus_;
  TempDir files_;
};

TEST_F(BusPolicyTest, AnOrdinaryUserCannotBeTheService) {
  EXPECT_THAT(RequestName("org.kelvo.tv.litecorvane.server"), HasSubstr("AccessDenied"));
  EXPECT_THAT(RequestName("org.kelvo.tv.corvane.server"), HasSubstr("AccessDenied"));
}

TEST_F(BusPolicyTest, AnOrdinaryUserCanBeAClient) {
  EXPECT_THAT(RequestName("org.kelvo.tv.corvane.launcherclient.obj1"), HasSubstr("(uint32 1,)"));
  EXPECT_THAT(RequestName("org.kelvo.tv.corvane.innerdbclient.obj1"), HasSubstr("(uint32 1,)"));
}

TEST_F(BusPolicyTest, AnOrdinaryUserCannotReportAResult) {
  const ResultObject object(bus_, "obj1");
  const std::string answer =
      CallAsNobody(files_.path(),
                   {"-d", "org.kelvo.tv.corvane.launcherclient.obj1", "-o", "/org/kelvo/tv/corvane/launcherclient/obj1",
                    "-m", "org.kelvo.tv.corvane.launcherclient.interface.obj1.app_launch_result", "--", "1", "an.app",
                    "0", "900", "0", "1", "nuv_launch_app", "1"});
  EXPECT_THAT(answer, HasSubstr("AccessDenied"));
  EXPECT_TRUE(object.results().empty());
}

// A bus on which the user of the test is the service's.
class ServicePolicyTest : public SimulatorTest {
 protected:
  ServicePolicyTest() : SimulatorTest(PolicyForMe()) {}
  static std::string PolicyForMe() {
    const std::string policy = ReadFile(kPolicyFile);
    const std::string rules =
        policy.substr(policy.find("<policy "), policy.rfind("</busconfig>") - policy.find("<policy "));
    return Replaced(rules, "user=\"nuv\"", "user=\"" + std::to_string(getuid()) + "\"");
  }
};

TEST_F(ServicePolicyTest, TheServiceServesAnybodyAndReportsToItsClients) {
  Start({}, R"({"apps": [{"id": "a.app"}]})");
  chmod(bus_.directory().c_str(), 0755);
  for (const std::string server : {"litecorvane", "corvane"}) {
    EXPECT_EQ(CallAsNobody(files_.path(),
                           {"-d", "org.kelvo.tv." + server + ".server", "-o", "/org/kelvo/tv/" + server + "/server",
                            "-m", "org.kelvo.tv." + server + ".server.interface.heartbeat"}),
              "()\n");
  }
  EXPECT_EQ(OutcomeOf({"a.app"}), std::make_pair(900, 0));
}

TEST(ActivationTest, TheFirstCallStartsTheService) {
  TempDir services;
  TempDir state;
  for (const std::string name : {"org.kelvo.tv.litecorvane.server", "org.kelvo.tv.corvane.server"}) {
    const std::string installed = ReadFile(NUV_BINARY_DIR "/data/" + name + ".service");
    ASSERT_THAT(installed, HasSubstr("Name=" + name + "\n"));
    ASSERT_THAT(installed, HasSubstr("/nuv-simulator --dir=/var/lib/nuv\n"));
    // The program of the build, and a directory of the test's own.
    const std::size_t program = installed.find("Exec=") + 5;
    const std::size_t options = installed.find(" --dir=", program);
    std::string local = installed;
    local.replace(program, options - program, NUV_BIN_DIR "/nuv-simulator");
    WriteFile(services / (name + ".service"), Replaced(local, "/var/lib/nuv", state.path()));
  }
  PrivateBus bus("", services.path());
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
