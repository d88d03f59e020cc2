// nuvctl and a service that works in another state directory than nuvctl looks into.
#include <gmock/gmock.h>

#include <filesystem>

#include "nuvctl_run.h"
#include "recording_service.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class NuvctlDirectoryTest : public NuvctlOnBusTest {
 protected:
  std::string Service() const { return directory_ / "client"; }
  Process::Environment Elsewhere() const { return {{"NUV_HOST_DIR", directory_ / "elsewhere"}}; }
  std::string Warning() const {
    return "the service works in " + Service() + ", and nuvctl in " + (directory_ / "elsewhere") +
           ": set NUV_HOST_DIR to the service's directory";
  }
};

TEST_F(NuvctlDirectoryTest, AVerbOfBothSidesWarnsWhereTheServiceWorksInAnotherDirectory) {
  StartSimulator();
  const Arguments kVerbs[] = {{"status", kApp},
                              {"showing"},
                              {"launch", kApp},
                              {"terminate", kApp},
                              {"preload", kApp},
                              {"explain", kApp},
                              {"set-version", kApp, "2.0"},
                              {"count", kApp}};
  for (const Arguments& verb : kVerbs) {
    EXPECT_THAT(Run(verb, Elsewhere()).errors, HasSubstr("nuvctl: warning: " + Warning() + "\n")) << verb.front();
    Arguments as_json = verb;
    as_json.emplace_back("--json");
    EXPECT_EQ(Run(as_json, Elsewhere()).Json().value("warnings", nlohmann::json()), nlohmann::json({Warning()}))
        << verb.front();
  }
}

TEST_F(NuvctlDirectoryTest, AVerbOfOneSideDoesNotWarn) {
  StartSimulator();
  const Arguments kVerbs[] = {{"list"}, {"show", kApp}, {"extra-app"}, {"kpi", "--type", "1", "--app", kApp}};
  for (const Arguments& verb : kVerbs)
    EXPECT_THAT(Run(verb, Elsewhere()).errors, Not(HasSubstr("warning"))) << verb.front();
}

TEST_F(NuvctlDirectoryTest, TheServicesOwnDirectoryIsTheSameByAnyPath) {
  StartSimulator();
  std::filesystem::create_directory_symlink(Service(), directory_ / "link");
  for (const std::string& path : {Service(), directory_ / "link"}) {
    const NuvctlRun run = Run({"status", kApp, "--json"}, {{"NUV_HOST_DIR", path}});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_FALSE(run.Json().contains("warnings")) << run.output;
    EXPECT_EQ(run.errors, "");
  }
}

TEST_F(NuvctlDirectoryTest, AServiceThatDoesNotTellItsDirectoryGetsNoWarning) {
  const RecordingService service(bus_.address());
  const NuvctlRun run = Run({"explain", kApp, "--json"}, Elsewhere());
  EXPECT_FALSE(run.Json().contains("warnings")) << run.output;
  EXPECT_THAT(run.errors, Not(HasSubstr("warning")));
}

}  // namespace
