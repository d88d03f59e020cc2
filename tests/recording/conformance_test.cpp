// What was recorded of a client and the service, replayed both ways: for the same client by a service that answers from
// the recording, and to a service of the same kind by what sends the recording again.
#include <gmock/gmock.h>

#include <filesystem>

#include "simulator_fixture.h"

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

using Words = std::vector<std::string>;

class Conformance : public SimulatorTest {
 protected:
  // What the clients do, one after the other, and the options of the service that they do it with.
  struct Scene {
    std::vector<Words> clients;
    Words options = {};
    std::string scenario = "[]";
  };

  std::string File() const { return files_ / "then.nuvrec"; }

  void StartService(const Scene& scene) {
    std::filesystem::remove_all(directory_.path());
    WriteFile(files_ / "scenario.json", scene.scenario);
    const std::string crash = WriteScript("crash", "exit 3\n");
    Words options = scene.options;
    options.insert(options.end(), {"--scenario", files_ / "scenario.json"});
    Start(options, R"({"apps": [
        {"id": "a.app", "kelvo_id": "kelvo.a"}, {"id": "b.app", "kelvo_id": "kelvo.b"},
        {"id": "droid.app", "app_type": 8}, {"id": "locked.app", "is_lock": 1},
        {"id": "absent.app", "install_state": 1}, {"id": "empty.app", "install_path": "/nowhere"},
        {"id": "crash.app", "install_path": ")" +
                       crash + R"("}]})");
  }

  // Runs the clients, one after the other.
  static std::string Script(const std::vector<Words>& clients) {
    std::string script = "set -e\n";
    for (const Words& words : clients) {
      script += NUV_TEST_DIR "/launch_client";
      for (const std::string& word : words) script.append(" '").append(word).append("'");
      script += '\n';
    }
    return script;
  }

  // The lines of the clients.
  std::string Run(const std::vector<Words>& clients) {
    Process shell({"/bin/sh", "-c", Script(clients)}, files_.path(),
                  Process::Environment{{"NUV_HOST_DIR", directory_.path()}});
    EXPECT_EQ(shell.Wait(Milliseconds(60000)), 0) << shell.Errors();
    return shell.Output();
  }

  std::string Record(const Scene& scene) {
    StartService(scene);
    Process record({NUV_BIN_DIR "/nuvctl", "record", "--force", File(), "--", "/bin/sh", "-c", Script(scene.clients)},
                   files_.path(), Process::Environment{{"NUV_HOST_DIR", directory_.path()}});
    EXPECT_EQ(record.Wait(Milliseconds(60000)), 0) << record.Errors();
    End();
    return record.Output();
  }

  // The exit status of nuvctl and what it said, of the recording sent to a service as in the scene.
  std::pair<std::optional<int>, std::string> Resend(const Scene& scene) {
    StartService(scene);
    Process nuvctl({NUV_BIN_DIR "/nuvctl", "replay", File()}, files_.path(),
                   Process::Environment{{"NUV_HOST_DIR", directory_.path()}});
    const std::optional<int> status = nuvctl.Wait(Milliseconds(60000));
    End();
    return {status, nuvctl.Output() + nuvctl.Errors()};
  }

  // The lines that the scene has each time.
  void HoldsBothWays(const Scene& scene, const std::string& lines) {
    ASSERT_EQ(Record(scene), lines);
    StartPlain({"--replay", File(), "--speed", "0"});
    ASSERT_TRUE(WaitForOutput("ready\n")) << simulator_->Errors();
    EXPECT_EQ(Run(scene.clients), lines);
    EXPECT_EQ(End(), 0);
    EXPECT_THAT(simulator_->Output(), HasSubstr("unmatched 0\n"));
    const auto [status, said] = Resend(scene);
    EXPECT_EQ(status, 0);
    EXPECT_THAT(said, StartsWith("as recorded: "));
  }
};

TEST_F(Conformance, OfLaunchesThatSucceed) {
  HoldsBothWays(
      {{{"webapp", "a.app", "launch", "b.app", "webapp", "a.app"}, {"background", "b.app", "preload", "a.app"}}},
      "notified a.app 900 0\nresult b.app 600\nnotified a.app 901 0\n"
      "notified b.app 902 0\nnotified a.app 904 0\n");
}

TEST_F(Conformance, OfADeepLinkIntoAnApplicationThatRuns) {
  HoldsBothWays({{{"webapp", "a.app", "deeplink", "a.app"}}}, "notified a.app 900 0\nnotified a.app 906 0\n");
}

TEST_F(Conformance, OfALockedApplicationWithTheRightPin) {
  HoldsBothWays({{{"webapp", "locked.app"}, {"pin", "locked.app"}}, {"--pin-answer", "right"}},
                "notified locked.app 900 0\nresult locked.app 601\n");
}

TEST_F(Conformance, OfALockedApplicationThatIsRefused) {
  for (const auto& [answer, status] : {std::pair("wrong", "403"), std::pair("cancelled", "405")}) {
    HoldsBothWays({{{"webapp", "locked.app", "pin_notify", "locked.app"}}, {"--pin-answer", answer}},
                  std::string("notified locked.app 903 ") + status + "\nnotified locked.app 903 " + status + "\n");
  }
}

TEST_F(Conformance, OfEachReasonNotToLaunch) {
  HoldsBothWays({{{"webapp", "nobody.app", "webapp", "absent.app", "webapp", "crash.app", "webapp", "empty.app"},
                  {"preload", "locked.app", "deeplink", "absent.app"}},
                 {"--no-stand-ins", "--settle", "2000"}},
                "notified nobody.app 903 400\nnotified absent.app 903 401\nnotified crash.app 903 406\n"
                "notified empty.app 903 404\nnotified locked.app 905 403\nnotified absent.app 907 401\n");
}

TEST_F(Conformance, OfTerminationAndStatus) {
  HoldsBothWays({{{"webapp", "droid.app", "status", "droid.app", "terminate", "droid.app"}, {"status", "droid.app"}}},
                "notified droid.app 900 0\nstatus droid.app 1\nterminate 0\nstatus droid.app 0\n");
}

TEST_F(Conformance, OfAServiceThatIsLateRefusesAndRepeatsItself) {
  HoldsBothWays({{{"webapp", "a.app", "terminate", "a.app", "webapp&", "b.app", "wait", "status", "droid.app"}},
                 {},
                 R"rules([{"method": "launch_app", "app": "a.app", "delay_ms": 300, "start": false,
                           "results": [{"event": 902, "res": 0, "delay_ms": 200}]},
                          {"method": "terminate_app", "answer": "error", "error_name": "org.example.Odd"},
                          {"method": "launch_app", "app": "b.app", "start": false,
                           "results": [{"event": 903, "res": 405, "before_reply": true}]},
                          {"method": "get_android_app_status", "reply": "(-7,)"}])rules"},
                "notified a.app 902 0\nterminate -1\nnotified b.app 903 405\nstatus droid.app -7\n");
}

TEST_F(Conformance, OfAServiceThatDiesInACall) {
  HoldsBothWays({{{"webapp", "a.app"}}, {}, R"([{"method": "launch_app", "answer": "exit"}])"},
                "notified a.app 903 404\nwebapp a.app failed\n");
}

TEST_F(Conformance, IsBrokenByOneOtherAnswer) {
  Scene scene = {{{"webapp", "a.app", "launch", "b.app"}}};
  ASSERT_EQ(Record(scene), "notified a.app 900 0\nresult b.app 600\n");
  scene.scenario = R"([{"method": "launch_app", "app": "b.app", "results": [{"event": 903, "res": 403}]}])";
  const auto [status, said] = Resend(scene);
  EXPECT_EQ(status, 1);
  EXPECT_THAT(said,
              AllOf(HasSubstr("launch_app app=\"b.app\" @@\n-result app=\"b.app\" event=900 "),
                    HasSubstr("\n+result app=\"b.app\" event=903 "), HasSubstr("not as recorded: 1 difference\n")));
}

}  // namespace
