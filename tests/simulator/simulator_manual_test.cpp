// The examples of the manual page.
#include <gmock/gmock.h>

#include <sstream>

#include "simulator_fixture.h"

namespace {

// The literal blocks that are JSON: a block starts and ends with a line of three back quotes.
std::vector<std::string> JsonExamples() {
  std::istringstream lines(ReadFile(NUV_SOURCE_DIR "/doc/nuv-simulator.1.scd"));
  std::vector<std::string> examples;
  std::string line;
  bool inside = false;
  while (std::getline(lines, line)) {
    const bool fence = line == "```";
    if (fence) inside = !inside;
    if (!inside) continue;
    // A line of its own that is a whole list is an example of its own.
    if (fence || line.rfind("[{", 0) == 0) examples.emplace_back();
    if (!fence) examples.back() += line + "\n";
  }
  std::vector<std::string> json;
  for (const std::string& example : examples) {
    if (example.rfind('{', 0) == 0 || example.rfind('[', 0) == 0) json.push_back(example);
  }
  return json;
}

using SimulatorManualTest = SimulatorTest;

TEST_F(SimulatorManualTest, EveryExampleCanBeUsedAsItIs) {
  int catalogues = 0;
  int scenarios = 0;
  for (const std::string& example : JsonExamples()) {
    const bool catalogue = example[0] == '{';
    ++(catalogue ? catalogues : scenarios);
    WriteFile(files_ / "example.json", example);
    StartPlain({catalogue ? "--seed" : "--scenario", files_ / "example.json"});
    EXPECT_TRUE(WaitForOutput("ready")) << example << simulator_->Errors();
    EXPECT_EQ(End(), 0);
  }
  EXPECT_EQ(catalogues, 1);
  EXPECT_EQ(scenarios, 6);
}

}  // namespace
