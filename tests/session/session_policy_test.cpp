// The rules of the session's bus, for root and for an ordinary user.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "session_fixture.h"

namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr const char* kCall = "dbus-send --system --print-reply --dest=";

class SessionPolicyTest : public SessionTest {
 protected:
  // The status of a request for the name: 1 is that of a name that is owned.
  static std::string Own(const std::string& name) {
    return std::string(kCall) +
           "org.freedesktop.DBus /org/freedesktop/DBus org.freedesktop.DBus.RequestName string:" + name +
           " uint32:4 2>&1";
  }
};

TEST_F(SessionPolicyTest, TheBusRefusesWhatASystemBusRefuses) {
  const SessionRun run = RunScript(Own("org.example.component"));
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, HasSubstr("org.freedesktop.DBus.Error.AccessDenied"));
}

TEST_F(SessionPolicyTest, AClientCanHaveItsNameAndCallTheService) {
  EXPECT_THAT(RunScript(Own("org.kelvo.tv.corvane.launcherclient.some")).output, HasSubstr("uint32 1"));
  EXPECT_EQ(RunScript(std::string(kCall) + "org.kelvo.tv.corvane.server /org/kelvo/tv/corvane/server"
                                           " org.kelvo.tv.corvane.server.interface.heartbeat")
                .status,
            0);
}

TEST_F(SessionPolicyTest, WhoeverHasStartedTheBusMayWatchIt) {
  const SessionRun run = RunScript(
      "dbus-monitor --system >$NUV_HOST_DIR/seen & until grep -q NameAcquired $NUV_HOST_DIR/seen; do sleep 0.05; done;"
      "nuvctl launch org.kelvo.app.clock --wait 20 >/dev/null;"
      "until grep -q member=launch_app $NUV_HOST_DIR/seen; do sleep 0.05; done");
  EXPECT_EQ(run.status, 0) << run.errors;
}

TEST_F(SessionPolicyTest, WithoutThePolicyEverythingIsLetThrough) {
  const SessionRun run = RunScript(Own("org.example.component"), {"--no-policy"});
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_EQ(RunScript(Own("org.example.component"), {"--policy"}).status, 1);
}

// Copied, so that the user finds them wherever the build stands; as itself where the test is an ordinary user.
TEST_F(SessionPolicyTest, AnOrdinaryUserHasASession) {
  constexpr uid_t kUser = 65534;
  for (const char* program : {"nuv-session", "nuv-simulator"}) {
    fs::copy_file(std::string(NUV_BIN_DIR "/") + program, files_ / program);
  }
  fs::copy_file(NUV_SOURCE_DIR "/data/catalogue.json", files_ / "seed.json");
  chmod(files_.path().c_str(), 0755);
  chmod((files_ / "seed.json").c_str(), 0644);
  Arguments command = {"setpriv", "--reuid=65534", "--clear-groups", "--"};
  if (geteuid() != 0 || chown(runtime_.path().c_str(), kUser, kUser) != 0) command.clear();
  const std::string script =
      "id -u; stat -c %u $NUV_HOST_DIR; " + Own("org.example.component") + "; " + Own("org.kelvo.tv.corvane.server");
  command.insert(command.end(), {files_ / "nuv-session", "--seed", files_ / "seed.json", "--", "sh", "-c", script});
  Process session(command, files_.path(), {{"XDG_RUNTIME_DIR", runtime_.path()}});
  const SessionRun run = Finish(session);
  const std::string user = std::to_string(geteuid() == 0 ? kUser : geteuid());
  EXPECT_EQ(run.output.rfind(user + "\n" + user + "\n", 0), 0U) << run.output << run.errors;
  EXPECT_THAT(run.output, HasSubstr("AccessDenied"));
  EXPECT_THAT(run.output, HasSubstr("uint32 3")) << "the service has its name, and this user may queue for none";
}

}  // namespace
