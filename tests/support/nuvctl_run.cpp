#include "nuvctl_run.h"

nlohmann::json NuvctlRun::Json() const {
  const nlohmann::json json = nlohmann::json::parse(output, nullptr, false);
  EXPECT_TRUE(json.is_object()) << output << errors;
  EXPECT_EQ(output.find('\n'), output.size() - 1) << output;
  if (!json.is_object()) return nlohmann::json::object();
  EXPECT_EQ(json.value("status", -1), status) << output;
  EXPECT_EQ(json.contains("error"), status != 0) << output;
  return json;
}

std::unique_ptr<Process> NuvctlTest::Start(const Arguments& arguments, const Process::Environment& extra) const {
  Arguments line = {NUV_BIN_DIR "/nuvctl"};
  line.insert(line.end(), arguments.begin(), arguments.end());
  Process::Environment environment = extra;
  environment.insert({"NUV_HOST_DIR", directory_ / "client"});
  return std::make_unique<Process>(line, directory_.path(), environment);
}

NuvctlRun NuvctlTest::Finish(Process& nuvctl, Milliseconds limit) const {
  NuvctlRun run;
  run.status = nuvctl.Wait(limit).value_or(-1);
  run.output = nuvctl.Output();
  run.errors = nuvctl.Errors();
  EXPECT_NE(run.status, -1) << "still running; " << run.output << run.errors;
  return run;
}

NuvctlRun NuvctlTest::Run(const Arguments& arguments, const Process::Environment& extra) const {
  return Finish(*Start(arguments, extra));
}

void NuvctlTest::StartSimulator(const std::string& scenario) {
  WriteFile(directory_ / "seed.json", std::string(R"({"apps": [{"id": ")") + kApp + R"("}]})");
  WriteFile(directory_ / "scenario.json", scenario);
  simulator_.reset();  // one that has lost its bus may still be ending, and has the directory until then
  simulator_ = std::make_unique<Process>(
      Arguments{NUV_BIN_DIR "/nuv-simulator", "--dir", directory_ / "client", "--seed", directory_ / "seed.json",
                "--scenario", directory_ / "scenario.json", "--print-ready", "--verbose"},
      directory_.path());
  ASSERT_TRUE(WaitUntil([this] { return SimulatorSaid("ready") || !simulator_->Running(); }));
  ASSERT_TRUE(simulator_->Running()) << simulator_->Errors();
}

bool NuvctlTest::SimulatorSaid(const std::string& text) const {
  return simulator_->Output().find(text) != std::string::npos;
}
