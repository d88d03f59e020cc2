// The updates that clients forward: answered with any number, not at all, or with an error, on the real database.
#include <algorithm>

#include "simulator_fixture.h"

namespace {

// A forwarded update, and what it does to the database.
struct Update {
  const char* method;
  const char* arguments;  // GVariant text
  const char* query;
  const char* before;
  const char* after;
};

constexpr Update kCount = {"nuv_update_app_count", "('an.app',)", "select use_count from widgetinfo", "3", "4"};
constexpr Update kVersion = {"nuv_update_app_version", "('an.app', '2.0')", "select version from widgetinfo", "1.0",
                             "2.0"};
constexpr Update kKey = {"nuv_update_app_by_key", "('an.app', 0)", "select is_updated from widgetinfo", "1", "0"};
constexpr Update kCommand = {"nuv_command", "(7, 'an.app', '/a/package', 'the data')",
                             "select use_count || version || is_updated from widgetinfo", "31.01", "31.01"};

class SimulatorUpdateTest : public SimulatorTest, public ::testing::WithParamInterface<Update> {
 protected:
  void StartScenario(const std::string& rule) {
    WriteFile(files_ / "scenario.json", "[{\"method\": \"" + std::string(GetParam().method) + "\", " + rule + "}]");
    Start({"--scenario", files_ / "scenario.json"},
          R"({"apps": [{"id": "an.app", "use_count": 3, "version": "1.0", "is_updated": 1}]})");
  }
  Reply Send(int timeout_ms = 5000) const {
    return Call(GetParam().method, g_variant_new_parsed(GetParam().arguments), timeout_ms);
  }
};

TEST_P(SimulatorUpdateTest, AnyNumberCanBeTheAnswer) {
  for (const std::string number : {"0", "-1", "-2147483648", "2147483647"}) {
    StartScenario("\"reply\": \"(" + number + ",)\"");
    EXPECT_EQ(Send().Text(), "(" + number + ",)");
    EXPECT_EQ(Query(GetParam().query), GetParam().after) << "only the answer is another";
    EXPECT_EQ(End(), 0);
  }
}

TEST_P(SimulatorUpdateTest, SilenceLeavesTheDatabaseAlone) {
  StartScenario(R"("answer": "none")");
  EXPECT_EQ(Send(200).error, "local");
  EXPECT_TRUE(WaitForOutput("reply   " + std::string(GetParam().method) + " app=\"an.app\" none"));
  EXPECT_EQ(Query(GetParam().query), GetParam().before);
}

TEST_P(SimulatorUpdateTest, AnErrorLeavesTheDatabaseAlone) {
  StartScenario(R"("answer": "error", "error_name": "com.example.Full", "count": 1)");
  EXPECT_EQ(Send().error, "com.example.Full");
  EXPECT_EQ(Query(GetParam().query), GetParam().before);
  EXPECT_EQ(Send().error, "");
  EXPECT_EQ(Query(GetParam().query), GetParam().after);
}

std::string NameOf(const ::testing::TestParamInfo<Update>& update) {
  std::string name = update.param.method;
  name.erase(std::remove(name.begin(), name.end(), '_'), name.end());
  return name;
}

INSTANTIATE_TEST_SUITE_P(Each, SimulatorUpdateTest, ::testing::Values(kCount, kVersion, kKey, kCommand), NameOf);

}  // namespace
