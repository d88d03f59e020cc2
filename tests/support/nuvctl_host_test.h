// nuvctl and the service on one machine: both see the same catalogue and the same running applications.
#pragma once

#include "nuvctl_run.h"

class NuvctlHostTest : public NuvctlOnBusTest {
 protected:
  // nuv-simulator, ready, with the catalogue. Once at most.
  void StartHost(const std::string& catalogue, const std::string& scenario = "[]", const Arguments& options = {}) {
    WriteFile(directory_ / "catalogue.json", catalogue);
    WriteFile(directory_ / "rules.json", scenario);
    Arguments command{NUV_BIN_DIR "/nuv-simulator",
                      "--dir",
                      state(),
                      "--seed",
                      directory_ / "catalogue.json",
                      "--scenario",
                      directory_ / "rules.json",
                      "--print-ready",
                      "--verbose"};
    command.insert(command.end(), options.begin(), options.end());
    host_ = std::make_unique<Process>(command, directory_.path());
    ASSERT_TRUE(WaitUntil([this] { return HostSaid("ready") || !host_->Running(); }));
    ASSERT_TRUE(host_->Running()) << host_->Errors();
  }

  pid_t host_pid() const { return host_->pid(); }

  // The catalogue stays.
  void StopHost() { host_->KillAndWait(); }

  bool HostSaid(const std::string& text) const { return host_->Output().find(text) != std::string::npos; }

  // Where nuvctl looks for what the platform knows.
  std::string state() const { return directory_ / "client"; }

  void ExpectLaunched(const std::string& app) const {
    const NuvctlRun run = Run({"launch", app, "--wait", "20"});
    EXPECT_EQ(run.status, 0) << run.errors;
  }

 private:
  std::unique_ptr<Process> host_;
};
