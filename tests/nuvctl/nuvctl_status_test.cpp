// nuvctl status and nuvctl showing: which applications run.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>

#include "nuvctl_host_test.h"

using testing::HasSubstr;
using testing::StartsWith;
using Json = nlohmann::json;

namespace {

constexpr char kCatalogue[] = R"({"apps": [
    {"id": "org.example.player", "kelvo_id": "kv.player", "run_title": "Player"},
    {"id": "org.example.hybrid", "kelvo_id": "kv.hybrid", "hybrid_app": "hy.part"},
    {"id": "org.example.gone", "install_state": 1},
    {"id": "org.example.android", "app_type": 8},
    {"id": "org.example.channel", "kelvo_id": "kv.channel", "app_type": 16, "hbbTV": "1"}]})";

constexpr char kAndroidStatusIsMinus7[] = R"json([{"method": "get_android_app_status", "reply": "(-7,)"}])json";

constexpr char kServiceGone[] = "nuvctl: service gone: ";

}  // namespace

class NuvctlStatus : public NuvctlHostTest {
 protected:
  void ExpectStatus(const std::string& app, const std::string& says) const {
    const NuvctlRun run = Run({"status", app});
    EXPECT_EQ(run.status, 0) << app << run.errors;
    EXPECT_EQ(run.output, says + "\n") << app;
    EXPECT_EQ(run.errors, "");
  }
};

TEST_F(NuvctlStatus, TellsWhetherTheApplicationRuns) {
  StartHost(kCatalogue);
  ExpectStatus("org.example.player", "stopped");
  ExpectLaunched("org.example.player");
  ExpectStatus("org.example.player", "running (stand-in)");
  EXPECT_EQ(Run({"terminate-all"}).status, 0);
  EXPECT_TRUE(WaitUntil([this] { return Run({"status", "org.example.player"}).output == "stopped\n"; }));
}

TEST_F(NuvctlStatus, TakesTheKelvoIdAndTheRunTitle) {
  StartHost(kCatalogue);
  ExpectLaunched("org.example.player");
  ExpectStatus("kv.player", "running (stand-in)");
  ExpectStatus("Player", "running (stand-in)");
}

TEST_F(NuvctlStatus, AsksForTheHybridPartOfAHybridApplication) {
  StartHost(kCatalogue);
  ExpectLaunched("org.example.hybrid");
  ExpectStatus("org.example.hybrid", "running (stand-in)");
}

TEST_F(NuvctlStatus, AnApplicationBehindTheScreenRunsToo) {
  StartHost(kCatalogue);
  EXPECT_EQ(Run({"launch", "org.example.player", "--background", "--wait", "20"}).status, 0);
  ExpectStatus("org.example.player", "running (stand-in)");
}

TEST_F(NuvctlStatus, IsDescribedInJson) {
  StartHost(kCatalogue, kAndroidStatusIsMinus7);
  EXPECT_EQ(Run({"status", "org.example.player", "--json"}).Json(),
            Json::parse(R"({"verb": "status", "outcome": "done", "status": 0, "app": "org.example.player",
                            "state": 0, "running": false, "stand_in": null})"));
  ExpectLaunched("org.example.player");
  const Json running = Run({"status", "Player", "--json"}).Json();
  EXPECT_EQ(running["state"], 1);
  EXPECT_EQ(running["running"], true);
  EXPECT_EQ(running["app"], "Player");
  const Json android = Run({"status", "org.example.android", "--json"}).Json();
  EXPECT_EQ(android["state"], -7);
  EXPECT_EQ(android["running"], nullptr);
}

TEST_F(NuvctlStatus, ShowsTheServicesNumberOfAnAndroidApplication) {
  StartHost(kCatalogue, kAndroidStatusIsMinus7);
  ExpectStatus("org.example.android", "-7");
}

TEST_F(NuvctlStatus, AServiceThatDoesNotTellOfAnAndroidApplicationIsAFailure) {
  StartHost(kCatalogue, R"([{"method": "get_android_app_status", "answer": "error"}])");
  const NuvctlRun run = Run({"status", "org.example.android"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "nuvctl: failed: the service did not carry out the request "
            "(org.freedesktop.DBus.Error.Failed: The scenario says so)\n");
  EXPECT_EQ(Run({"status", "org.example.android", "--json"}).Json()["state"], nullptr);
}

TEST_F(NuvctlStatus, OnlyAnAndroidApplicationNeedsTheServiceAndTheBus) {
  StartHost(kCatalogue);
  StopHost();
  ExpectStatus("org.example.player", "stopped");
  const NuvctlRun without_service = Run({"status", "org.example.android"});
  EXPECT_EQ(without_service.status, 5);
  EXPECT_THAT(without_service.errors, StartsWith(kServiceGone));
  bus_.Kill();
  ExpectStatus("org.example.player", "stopped");
  const NuvctlRun without_bus = Run({"status", "org.example.android"});
  EXPECT_EQ(without_bus.status, 6);
  EXPECT_THAT(without_bus.errors, StartsWith("nuvctl: bus gone: "));
}

TEST_F(NuvctlStatus, AnApplicationThatTheCatalogueDoesNotHaveIsNotFound) {
  StartHost(kCatalogue);
  for (const char* app : {"org.example.nosuch", "org.example.gone", "", "' OR 1=1 --"}) {
    const NuvctlRun run = Run({"status", "--", app});
    EXPECT_EQ(run.status, 3) << app;
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors,
              std::string("nuvctl: not found: the catalogue has no usable application with the id or run title ") +
                  app + "\n");
  }
  EXPECT_EQ(Run({"status", "org.example.nosuch", "--json"}).Json(),
            Json::parse(R"({"verb": "status", "outcome": "not found", "status": 3, "app": "org.example.nosuch",
                            "state": null, "running": null, "stand_in": null, "error": {"message":
  "not found: the catalogue has no usable application with the id or run title org.example.nosuch"}})"));
}

TEST_F(NuvctlStatus, AnIdCannotControlTheTerminal) {
  StartHost(kCatalogue);
  EXPECT_THAT(Run({"status", "\x1b[2J\nx"}).errors, HasSubstr("\\u001b[2J\\u000ax"));
}

TEST_F(NuvctlStatus, WithoutACatalogueItFails) {
  const NuvctlRun run = Run({"status", "org.example.player"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, StartsWith("nuvctl: failed: the database cannot be read ("));
}

TEST_F(NuvctlStatus, NeedsAnId) {
  const NuvctlRun run = Run({"status"});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.errors, HasSubstr("ID is required"));
}

class NuvctlShowing : public NuvctlHostTest {
 protected:
  void ExpectShowing(const std::string& app) const {
    const NuvctlRun run = Run({"showing"});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, app + "\n");
    EXPECT_EQ(run.errors, "");
  }

  void ExpectNothingShows(const std::string& reason = "no application is showing") const {
    const NuvctlRun run = Run({"showing"});
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "nuvctl: not found: " + reason + "\n");
  }

  // As the platform notes an application that runs and is visible.
  void NoteVisible(const std::string& platform_id) const {
    std::filesystem::create_directories(state() + "/running");
    WriteFile(state() + "/running/" + platform_id, "pid " + std::to_string(getpid()) + "\nstatus 3\n");
  }
};

TEST_F(NuvctlShowing, ShowsTheApplicationOnTheScreen) {
  StartHost(kCatalogue);
  ExpectNothingShows();
  ExpectLaunched("org.example.player");
  ExpectShowing("org.example.player (stand-in)");
  ExpectLaunched("org.example.hybrid");
  ExpectShowing("org.example.hybrid (stand-in)");
  EXPECT_EQ(Run({"showing", "--json"}).Json(),
            Json::parse(R"({"verb": "showing", "outcome": "done", "status": 0, "app": "org.example.hybrid",
                            "stand_in": true})"));
}

TEST_F(NuvctlShowing, WhatRunsUnseenDoesNotShow) {
  StartHost(kCatalogue);
  EXPECT_EQ(Run({"launch", "org.example.player", "--background", "--wait", "20"}).status, 0);
  EXPECT_EQ(Run({"preload", "org.example.hybrid", "--wait", "20"}).status, 0);
  ExpectNothingShows();
  const NuvctlRun run = Run({"showing", "--json"});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.Json()["app"], nullptr);
  EXPECT_EQ(run.Json()["outcome"], "not found");
}

TEST_F(NuvctlShowing, AnHbbtvApplicationShowsUnderItsPlatformId) {
  StartHost(kCatalogue);
  ExpectLaunched("org.example.channel");
  ExpectShowing("kv.channel");
}

TEST_F(NuvctlShowing, AnApplicationThatTheCatalogueDoesNotKnowDoesNotShow) {
  StartHost(kCatalogue);
  NoteVisible("org.example.stranger");
  ExpectNothingShows("no application is showing that the catalogue knows");
}

TEST_F(NuvctlShowing, NeedsNeitherServiceNorBus) {
  StartHost(kCatalogue);
  StopHost();
  bus_.Kill();
  NoteVisible("kv.player");
  ExpectShowing("org.example.player");
}

TEST_F(NuvctlShowing, WithoutACatalogueOnlyAnEmptyScreenIsCertain) {
  ExpectNothingShows();
  NoteVisible("kv.player");
  const NuvctlRun run = Run({"showing"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, StartsWith("nuvctl: failed: the database cannot be read ("));
}

TEST_F(NuvctlShowing, AnIdCannotControlTheTerminal) {
  std::filesystem::create_directories(state());
  WriteFile(state() + "/hbbtv", "\x1b[2J\xff\n");
  ExpectShowing("\\u001b[2J\xef\xbf\xbd");
  EXPECT_EQ(Run({"showing", "--json"}).Json()["app"], "\x1b[2J\xef\xbf\xbd");
}

TEST_F(NuvctlShowing, TakesNoArguments) {
  const NuvctlRun run = Run({"showing", "org.example.player"});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.errors, HasSubstr("org.example.player"));
}
