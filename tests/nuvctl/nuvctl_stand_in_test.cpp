// nuvctl and applications for which the service has found no program.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "nuvctl_host_test.h"

namespace {

using Json = nlohmann::json;

class NuvctlStandInTest : public NuvctlHostTest {
 protected:
  void StartApps(const Arguments& options = {}) {
    StartHost(R"({"apps": [{"id": "gone.app", "kelvo_id": "kv.gone", "install_path": "/no/such/place"},
                           {"id": "real.app", "install_path": "/bin/cat"}]})",
              "[]", options);
  }
};

TEST_F(NuvctlStandInTest, StatusAndShowingMarkIt) {
  StartApps();
  ExpectLaunched("gone.app");
  EXPECT_EQ(Run({"status", "gone.app"}).output, "running (stand-in)\n");
  EXPECT_EQ(Run({"status", "gone.app", "--json"}).Json().value("stand_in", Json()), true);
  EXPECT_EQ(Run({"showing"}).output, "gone.app (stand-in)\n");
  EXPECT_EQ(Run({"showing", "--json"}).Json().value("stand_in", Json()), true);
}

TEST_F(NuvctlStandInTest, AProgramIsNotMarked) {
  WriteFile(directory_ / "program", "#!/bin/sh\nexec sleep 1000\n");
  chmod((directory_ / "program").c_str(), 0755);
  StartHost(R"({"apps": [{"id": "real.app", "kelvo_id": "kv.real", "install_path": ")" + (directory_ / "program") +
            R"("}]})");
  ExpectLaunched("real.app");
  EXPECT_EQ(Run({"status", "real.app"}).output, "running\n");
  EXPECT_EQ(Run({"status", "real.app", "--json"}).Json().value("stand_in", Json()), false);
}

TEST_F(NuvctlStandInTest, ExplainNamesAMissingProgramAndWhatRunsInItsPlace) {
  StartApps();
  const Json missing = Run({"explain", "gone.app", "--json"}).Json();
  ASSERT_EQ(missing["reasons"].size(), 1U) << missing;
  EXPECT_EQ(missing["reasons"][0]["reason"], "no-program");
  EXPECT_EQ(missing["reasons"][0]["meaning"],
            "it has no program (none is in /no/such/place): a stand-in runs in its place");
  EXPECT_EQ(missing["launch"], true);
  EXPECT_EQ(Run({"explain", "real.app", "--json"}).Json()["reasons"], Json::array());
}

TEST_F(NuvctlStandInTest, ExplainSaysThatALaunchFailsWhereThereAreNoStandIns) {
  StartApps({"--no-stand-ins"});
  const Json missing = Run({"explain", "gone.app", "--json"}).Json();
  EXPECT_EQ(missing["reasons"][0]["meaning"], "it has no program (none is in /no/such/place): there are no stand-ins");
  EXPECT_EQ(missing["reasons"][0]["stops"], Json({"launch"}));
  EXPECT_EQ(missing["launch"], false);
  EXPECT_EQ(missing["status"], 1);
}

}  // namespace
