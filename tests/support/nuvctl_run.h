// nuvctl as a real process, and what it said.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "private_bus.h"
#include "process.h"

struct NuvctlRun {
  int status = -1;  // -1: it did not end
  std::string output;
  std::string errors;

  // The one JSON object of the output; the test fails when it is anything else.
  nlohmann::json Json() const;
};

class NuvctlTest : public testing::Test {
 protected:
  using Arguments = std::vector<std::string>;

  static constexpr char kApp[] = "org.example.player";

  // Start() returns at once; Finish() and Run() wait for nuvctl to end.
  std::unique_ptr<Process> Start(const Arguments& arguments, const Process::Environment& extra = {}) const;
  NuvctlRun Finish(Process& nuvctl, Milliseconds limit = Milliseconds(30000)) const;
  NuvctlRun Run(const Arguments& arguments, const Process::Environment& extra = {}) const;

  // nuv-simulator, ready, with one installed application (kApp) and the scenario's rules.
  void StartSimulator(const std::string& scenario = "[]");
  Process& simulator() const { return *simulator_; }
  // What the simulator did so far, a line each.
  bool SimulatorSaid(const std::string& text) const;

  TempDir directory_;

 private:
  std::unique_ptr<Process> simulator_;
};

// With a bus and nothing on it.
class NuvctlOnBusTest : public NuvctlTest {
 protected:
  PrivateBus bus_;
};
