// A second terminal in a running session.
#include <signal.h>

#include "session_fixture.h"

namespace {

using testing::HasSubstr;

using SessionAttachTest = SessionTest;

TEST_F(SessionAttachTest, TheCommandRunsInTheSessionAndLeavesItRunning) {
  const auto session = StartWaiting({"--name", "tv"});
  EXPECT_EQ(Run({"--attach", "tv", "--", "nuvctl", "launch", "org.kelvo.app.clock", "--wait", "20"}).status, 0);
  const SessionRun run =
      Run({"--attach", "tv", "--", "sh", "-c", "ls $NUV_HOST_DIR/running; echo $NUV_SESSION; exit 8"});
  EXPECT_EQ(run.status, 8);
  EXPECT_EQ(run.output, "org.kelvo.app.clock\ntv\n");
  EXPECT_TRUE(session->Running());
  session->Signal(SIGTERM);
  Finish(*session);
}

TEST_F(SessionAttachTest, ASessionThatIsNotThereIsSaidWithThoseThatAre) {
  const SessionRun none = Run({"--attach", "tv", "--", "true"});
  EXPECT_EQ(none.status, 125);
  EXPECT_EQ(none.errors, "nuv-session: no session with the name tv runs\n");
  const auto session = StartWaiting({"--name", "other"});
  EXPECT_EQ(Run({"--attach", "tv", "--", "true"}).errors,
            "nuv-session: no session with the name tv runs; there are: other\n");
  session->Signal(SIGTERM);
  Finish(*session);
}

TEST_F(SessionAttachTest, ItEndsWithTheSession) {
  const auto session = StartWaiting({"--name", "tv"});
  const auto attached = Start({"--attach", "tv", "--", "sh", "-c", "echo ready; while :; do sleep 0.05; done"});
  ASSERT_TRUE(WaitForText(*attached, "ready")) << attached->Errors();
  session->Signal(SIGTERM);
  EXPECT_EQ(Finish(*session).status, 128 + SIGTERM);
  EXPECT_THAT(Finish(*attached).status, testing::AnyOf(128 + SIGTERM, 128 + SIGHUP));
  EXPECT_THAT(attached->Errors(), HasSubstr("the session tv has ended"));
}

TEST_F(SessionAttachTest, ItsOwnStatusesAreThoseOfASession) {
  const auto session = StartWaiting({"--name", "tv"});
  EXPECT_EQ(Run({"--attach", "tv", "--", "no-such-command"}).status, 127);
  EXPECT_EQ(Run({"--attach", "tv", "--", files_.path()}).status, 126);
  EXPECT_EQ(Run({"--attach", "tv", "--", "sh", "-c", "kill -KILL $$"}).status, 128 + SIGKILL);
  session->Signal(SIGTERM);
  Finish(*session);
}

}  // namespace
