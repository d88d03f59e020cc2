// nuvctl ps, and status, terminate and terminate-all of what runs.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>

#include "nuvctl_host_test.h"
#include "recording_service.h"

using testing::HasSubstr;
using testing::MatchesRegex;
using Json = nlohmann::json;

namespace {

constexpr char kPlayer[] = "org.example.player";
constexpr char kClock[] = "org.example.clock";

}  // namespace

class NuvctlPs : public NuvctlHostTest {
 protected:
  void StartApps(const std::string& scenario = "[]") {
    std::filesystem::create_directories(program() + "/bin");
    WriteFile(program() + "/bin/run", "#!/bin/sh\nexec sleep 300\n");
    std::filesystem::permissions(program() + "/bin/run", std::filesystem::perms::owner_all);
    StartHost(R"({"apps": [{"id": "org.example.player", "kelvo_id": "kv.player", "run_title": "Player"},
                           {"id": "org.example.clock", "kelvo_id": "kv.clock", "install_path": ")" +
                  program() + R"("}]})",
              scenario);
  }

  std::string program() const { return directory_ / "clock"; }

  Json AppsThatRun() const {
    const Json json = Run({"ps", "--json"}).Json();
    Json by_id = Json::object();
    for (const Json& app : json["apps"]) by_id[app["app"].get<std::string>()] = app;
    return by_id;
  }
};

TEST_F(NuvctlPs, ShowsEachRunningApplicationInJson) {
  StartApps();
  EXPECT_EQ(AppsThatRun(), Json::object());
  EXPECT_EQ(Run({"launch", kPlayer, "--payload", "a=1&b=2"}).status, 0);
  EXPECT_EQ(Run({"launch", kClock}).status, 0);
  const Json apps = AppsThatRun();
  ASSERT_EQ(apps.size(), 2u);
  const Json& player = apps[kPlayer];
  EXPECT_EQ(player["platform_id"], "kv.player");
  EXPECT_EQ(player["state"], "background");
  EXPECT_EQ(player["front"], false);
  EXPECT_EQ(player["stand_in"], true);
  EXPECT_THAT(player["payload"].get<std::string>(), testing::StartsWith("a=1&b=2"));
  const Json& clock = apps[kClock];
  EXPECT_EQ(clock["state"], "visible");
  EXPECT_EQ(clock["front"], true);
  EXPECT_EQ(clock["stand_in"], false);
  EXPECT_TRUE(std::filesystem::exists("/proc/" + std::to_string(clock["pid"].get<int>())));
  EXPECT_GE(clock["uptime"], 0);
  EXPECT_LT(clock["uptime"], 300);
}

TEST_F(NuvctlPs, ShowsThePayloadOfTheLastLaunch) {
  StartApps();
  EXPECT_EQ(Run({"launch", kPlayer, "--payload", "first=1"}).status, 0);
  EXPECT_EQ(Run({"launch", kClock, "--payload", "other=1"}).status, 0);
  EXPECT_EQ(Run({"launch", kPlayer, "--payload", "last=1"}).status, 0);
  const Json apps = AppsThatRun();
  EXPECT_THAT(apps[kPlayer]["payload"].get<std::string>(), testing::StartsWith("last=1"));
  EXPECT_THAT(apps[kClock]["payload"].get<std::string>(), testing::StartsWith("other=1"));
}

// A service that knows nothing of payloads.
TEST_F(NuvctlPs, ShowsThePayloadOfTheStartWhereTheServiceDoesNotTell) {
  StartApps();
  StopHost();
  Process app({"env", "NUV_PAYLOAD=a=1", "sleep", "300"}, directory_.path());
  WriteFile(state() + "/running/org.example.stranger", "pid " + std::to_string(app.pid()) + "\nstatus 3\n");
  EXPECT_TRUE(WaitUntil([&] { return AppsThatRun()["org.example.stranger"]["payload"] == "a=1"; }));
}

TEST_F(NuvctlPs, ShowsARowForEachApplication) {
  StartApps();
  EXPECT_EQ(Run({"launch", kPlayer, "--payload", "x=1\n"}).status, 0);
  const NuvctlRun run = Run({"ps"});
  EXPECT_EQ(run.errors, "");
  EXPECT_THAT(run.output, MatchesRegex("ID +PID +STATE +PROGRAM +UPTIME +PAYLOAD\n"
                                       "org\\.example\\.player +[0-9]+ +front +stand-in +[0-9]+s +x=1.u000a.*\n"));
}

TEST_F(NuvctlPs, AnApplicationThatTheCatalogueDoesNotKnowHasItsPlatformId) {
  StartApps();
  StopHost();
  WriteFile(state() + "/running/org.example.stranger", "pid " + std::to_string(getpid()) + "\nstatus 3\n");
  const Json apps = AppsThatRun();
  ASSERT_TRUE(apps.contains("org.example.stranger")) << apps;
  EXPECT_EQ(apps["org.example.stranger"]["pid"], getpid());
  EXPECT_EQ(apps["org.example.stranger"]["front"], false);
  EXPECT_EQ(apps["org.example.stranger"]["stand_in"], nullptr);
}

TEST_F(NuvctlPs, StatusTakesSeveralApplications) {
  StartApps();
  EXPECT_EQ(Run({"launch", kPlayer}).status, 0);
  const NuvctlRun run = Run({"status", "Player", kClock});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "Player             running (stand-in)\norg.example.clock  stopped\n");
  const NuvctlRun unknown = Run({"status", kClock, "nosuch", "--json"});
  EXPECT_EQ(unknown.status, 3);
  EXPECT_EQ(unknown.Json()["apps"][0]["running"], false);
  EXPECT_EQ(unknown.Json()["apps"][0]["outcome"], "done");
  EXPECT_EQ(unknown.Json()["apps"][1]["outcome"], "not found");
}

TEST_F(NuvctlPs, TerminateEndsWhenTheApplicationHasGone) {
  StartApps();
  for (const Arguments& line :
       {Arguments{"terminate", kPlayer}, {"terminate", "--title", "Player"}, {"terminate-all"}}) {
    EXPECT_EQ(Run({"launch", kPlayer}).status, 0);
    Arguments as_json = line;
    as_json.emplace_back("--json");
    const NuvctlRun run = Run(as_json);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.Json()["gone"], true);
    EXPECT_EQ(AppsThatRun(), Json::object());
  }
}

// A service that accepts the request and leaves the application alone.
TEST_F(NuvctlPs, AnApplicationThatDoesNotGoIsATimeout) {
  StartApps();
  StopHost();
  const RecordingService service(bus_.address());
  WriteFile(state() + "/running/kv.player", "pid " + std::to_string(getpid()) + "\nstatus 3\n");
  for (Arguments line : {Arguments{"terminate", kPlayer}, {"terminate-all"}}) {
    line.insert(line.end(), {"--wait", "0.3"});
    const NuvctlRun run = Run(line);
    EXPECT_EQ(run.status, 4);
    EXPECT_THAT(run.errors, HasSubstr(" still runs after 0.3 s\n"));
    line.emplace_back("--json");
    EXPECT_EQ(Run(line).Json()["gone"], false);
  }
}

TEST_F(NuvctlPs, WithoutAWaitTerminateEndsWithTheServicesAnswer) {
  StartApps();
  EXPECT_EQ(Run({"launch", kPlayer}).status, 0);
  const NuvctlRun run = Run({"terminate", kPlayer, "--no-wait", "--json"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.Json()["gone"], nullptr);
}
