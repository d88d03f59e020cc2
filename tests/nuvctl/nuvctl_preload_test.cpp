// nuvctl preload: what it asks for, and what becomes of it.
#include <gmock/gmock.h>

#include "nuvctl_host_test.h"
#include "recording_service.h"

using testing::HasSubstr;
using testing::StartsWith;
using Json = nlohmann::json;

namespace {

constexpr char kCatalogue[] = R"({"apps": [{"id": "org.example.player", "kelvo_id": "kv.player"},
                                           {"id": "org.example.locked", "is_lock": 1}]})";

}  // namespace

class NuvctlPreload : public NuvctlHostTest {
 protected:
  NuvctlRun Preload(Arguments arguments) const {
    arguments.insert(arguments.begin(), "preload");
    arguments.insert(arguments.end(), {"--wait", "20"});
    return Run(arguments);
  }
};

TEST_F(NuvctlPreload, EndsInPreloaded) {
  StartHost(kCatalogue);
  const NuvctlRun run = Preload({"org.example.player"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output, "launched: 904 NUV_NOTIFY_PRELOADED: the application was started without being shown\n");
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(Run({"status", "org.example.player"}).output, "running (stand-in)\n");
  EXPECT_EQ(Run({"showing"}).status, 3);
}

TEST_F(NuvctlPreload, IsDescribedInJson) {
  StartHost(kCatalogue);
  EXPECT_EQ(Preload({"kv.player", "--json"}).Json(), Json::parse(R"({
      "verb": "preload", "outcome": "launched", "status": 0, "app": "kv.player",
      "function": "nuv_launch_webapp_for_preload", "code": 904, "name": "NUV_NOTIFY_PRELOADED",
      "meaning": "the application was started without being shown",
      "events": [{"app": "org.example.player", "code": 904, "name": "NUV_NOTIFY_PRELOADED",
                  "meaning": "the application was started without being shown", "result": 0}]})"));
}

TEST_F(NuvctlPreload, AsksForTheApplicationThatTheCatalogueHas) {
  StartHost(kCatalogue);
  StopHost();
  RecordingService service(bus_.address());
  const NuvctlRun run = Run({"preload", "kv.player", "--no-wait", "--payload", "[x]=\"1\"&y=ä"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "accepted\n");
  ASSERT_EQ(service.Launches().size(), 1u);
  const LaunchRequest request = service.Launches().front();
  EXPECT_EQ(request.texts[0], "org.example.player");
  EXPECT_EQ(request.texts[1], "[x]=\"1\"&y=ä");
  EXPECT_EQ(request.flags[0], 0);
  EXPECT_EQ(request.flags[1], 1);
  service.Forget();
  EXPECT_EQ(Run({"preload", "org.example.player", "--no-wait"}).status, 0);
  EXPECT_EQ(service.Launches().at(0).texts[1], "");
}

TEST_F(NuvctlPreload, AnApplicationThatTheCatalogueDoesNotHaveIsNotFound) {
  StartHost(kCatalogue);
  const NuvctlRun run = Preload({"\x1b[2Jx"});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.errors, "nuvctl: not found: the catalogue has no usable application with the id \\u001b[2Jx\n");
  const NuvctlRun at_once = Run({"preload", "org.example.nosuch", "--json"});
  EXPECT_EQ(at_once.status, 3);
  EXPECT_EQ(at_once.Json()["events"], Json::array());
}

TEST_F(NuvctlPreload, AnApplicationThatIsLockedFailsWithItsReason) {
  StartHost(kCatalogue, R"([{"method": "launch_app", "results": [{"event": 905, "res": 403}]}])");
  const NuvctlRun run = Preload({"org.example.locked"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, StartsWith("nuvctl: failed: 403 NUV_LAUNCH_STATUS_REFUSED: "));
}

TEST_F(NuvctlPreload, ARequestThatTheServiceRefusesIsAFailure) {
  StartHost(kCatalogue, R"([{"method": "launch_app", "answer": "error"}])");
  const NuvctlRun run = Preload({"org.example.player"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "nuvctl: failed: the service did not carry out the request "
            "(org.freedesktop.DBus.Error.Failed: The scenario says so)\n");
}

TEST_F(NuvctlPreload, AResultThatDoesNotComeIsATimeout) {
  StartHost(kCatalogue, R"([{"method": "launch_app", "results": []}])");
  const NuvctlRun run = Run({"preload", "org.example.player", "--wait", "0.5"});
  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(run.errors, StartsWith("nuvctl: timed out: "));
}

TEST_F(NuvctlPreload, WithoutServiceOrBusItSaysWhichIsGone) {
  StartHost(kCatalogue);
  StopHost();
  EXPECT_EQ(Preload({"org.example.player"}).status, 5);
  EXPECT_EQ(Run({"preload", "org.example.player"}).status, 5);
  bus_.Kill();
  EXPECT_EQ(Preload({"org.example.player"}).status, 6);
  EXPECT_EQ(Run({"preload", "org.example.player", "--json"}).Json()["outcome"], "bus gone");
}

TEST_F(NuvctlPreload, RefusesWhatTheLibraryHasNoPreloadFor) {
  for (const Arguments& wrong : {Arguments{"preload"},
                                 {"preload", "a", "--force"},
                                 {"preload", "a", "--caller", "me"},
                                 {"preload", "a", "--wait", "0"},
                                 {"preload", "--title", "a"}}) {
    EXPECT_EQ(Run(wrong).status, 2) << wrong.back();
  }
}
