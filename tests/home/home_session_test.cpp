// The home screen of a private TV.
#include <libsoup/soup.h>
#include <signal.h>

#include <filesystem>

#include "session_fixture.h"

namespace {

using testing::HasSubstr;

class HomeSession : public SessionTest {};

unsigned StatusOf(const std::string& url) {
  SoupSession* session = soup_session_new();
  SoupMessage* message = soup_message_new("GET", url.c_str());
  unsigned status = 0;
  if (message != nullptr) {
    GBytes* bytes = soup_session_send_and_read(session, message, nullptr, nullptr);
    if (bytes != nullptr) status = soup_message_get_status(message);
    g_clear_pointer(&bytes, g_bytes_unref);
  }
  g_clear_object(&message);
  g_object_unref(session);
  return status;
}

TEST_F(HomeSession, SaysWhereItIsAndEndsWithTheSession) {
  const auto session = StartWaiting({"--home"});
  ASSERT_TRUE(WaitUntil([&] { return session->Errors().find("the home screen is at http://") != std::string::npos; }));
  const std::string said = session->Errors();
  const std::string url = said.substr(said.find("http://"), said.find('\n') - said.find("http://"));
  EXPECT_EQ(StatusOf(url), 200U);
  session->Signal(SIGTERM);
  Finish(*session);
  EXPECT_EQ(StatusOf(url), 0U);
}

TEST_F(HomeSession, TellsItsCommandWhereItIs) {
  const SessionRun run = RunScript("echo \"$NUV_SESSION_HOME\"", {"--home"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, testing::StartsWith("http://127.0.0.1:"));
  EXPECT_EQ(RunScript("echo \"${NUV_SESSION_HOME-none}\"").output, "none\n");
}

TEST_F(HomeSession, IsNoMatterOfAttaching) {
  const SessionRun run = Run({"--attach", "none", "--home", "--", "true"});
  EXPECT_EQ(run.status, 125);
  EXPECT_THAT(run.errors, HasSubstr("--home"));
}

TEST_F(HomeSession, SaysThatTheHomeScreenEndedBeforeTheCommand) {
  const auto session = StartWaiting({"--home"});
  const std::vector<pid_t> home = Processes("nuv-home");
  ASSERT_EQ(home.size(), 1U);
  kill(home[0], SIGKILL);
  EXPECT_TRUE(WaitUntil([this] { return Processes("nuv-home").empty(); }));
  session->Signal(SIGTERM);
  EXPECT_THAT(Finish(*session).errors, HasSubstr("nuv-home ended before the command did, with signal 9"));
}

// Its death comes to the keeper's ears only when all is being ended.
TEST_F(HomeSession, SaysThatTheHomeScreenDiedWhileTheSessionEnded) {
  std::filesystem::copy_file(kSession, files_ / "nuv-session");
  WriteScript(files_ / "nuv-simulator", "exec " NUV_BIN_DIR "/nuv-simulator \"$@\"");
  WriteScript(files_ / "nuv-home",
              "trap 'exit 70' TERM\necho http://nowhere >/proc/self/fd/${1#--address-fd=}\nsleep 60 &\nwait");
  Process session({files_ / "nuv-session", "--home", "true"}, files_.path(), {{"XDG_RUNTIME_DIR", runtime_.path()}});
  const SessionRun run = Finish(session);
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.errors, HasSubstr("nuv-home ended before the command did, with status 70"));
}

}  // namespace
