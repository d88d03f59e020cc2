// How the verbs of nuvctl name an application, and what they say of a name that is not there.
#include <gmock/gmock.h>

#include "nuvctl_host_test.h"

using testing::HasSubstr;

namespace {

constexpr char kCatalogue[] = R"({"apps": [
    {"id": "org.example.player", "kelvo_id": "kv.player", "pkgname": "pkg.player", "title": "The Great Player",
     "run_title": "Player", "is_lock": 0},
    {"id": "org.example.vault", "kelvo_id": "kv.vault", "pkgname": "pkg.vault", "title": "Safe", "run_title": "Vault",
     "is_lock": 1}]})";

}  // namespace

class NuvctlNames : public NuvctlHostTest {
 protected:
  void SetUp() override { StartHost(kCatalogue); }

  void ExpectError(const Arguments& line, int status, const std::string& says) const {
    const NuvctlRun run = Run(line);
    EXPECT_EQ(run.status, status) << testing::PrintToString(line);
    EXPECT_THAT(run.errors, HasSubstr(says)) << testing::PrintToString(line);
  }
};

TEST_F(NuvctlNames, EachKindOfNameIsTakenByEachVerb) {
  for (const char* player : {"org.example.player", "kv.player", "pkg.player", "Player"}) {
    EXPECT_EQ(Run({"launch", player}).status, 0) << player;
    EXPECT_EQ(Run({"status", player}).output, "running (stand-in)\n") << player;
    EXPECT_THAT(Run({"show", player}).output, HasSubstr("org.example.player")) << player;
    EXPECT_THAT(Run({"show", player, "--service"}).output, HasSubstr("org.example.player")) << player;
    EXPECT_EQ(Run({"locked", player}).output, "no\n") << player;
    const NuvctlRun gone = Run({"terminate", player, "--json"});
    EXPECT_EQ(gone.Json()["gone"], true) << player;
    EXPECT_EQ(gone.Json()["app"], player);
    EXPECT_EQ(Run({"status", player}).output, "stopped\n") << player;
    EXPECT_EQ(Run({"preload", player}).status, 0) << player;
    EXPECT_EQ(Run({"terminate-all"}).status, 0);
  }
  for (const char* vault : {"org.example.vault", "kv.vault", "pkg.vault", "Vault"}) {
    EXPECT_EQ(Run({"locked", "org.example.player", vault}).output, "yes\n") << vault;
  }
}

TEST_F(NuvctlNames, AnIdThatIsNearlyOneIsAnsweredWithIt) {
  for (const char* verb : {"status", "show", "terminate", "preload", "pin", "android-status", "count"}) {
    ExpectError({verb, "org.example.playr"}, 3, "; did you mean org.example.player?");
  }
  ExpectError({"launch", "org.example.playr"}, 1, "; did you mean org.example.player?");
  ExpectError({"used", "--check", "kv.playr"}, 3, "; did you mean kv.player?");
}

TEST_F(NuvctlNames, ATitleThatIsNoRunTitleIsAnsweredWithTheRunTitle) {
  for (const char* verb : {"launch", "show", "terminate"}) {
    ExpectError({verb, "--title", "The Great Player"}, 3, "; the application with this title has the run title Player");
    ExpectError({verb, "--title", "Playre"}, 3, "; did you mean Player?");
  }
}
