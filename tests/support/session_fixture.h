// nuv-session as a real process, and what it leaves.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "process.h"
#include "temp_dir.h"

struct SessionRun {
  int status = -1;  // -1: it did not end
  std::string output;
  std::string errors;
};

class SessionTest : public testing::Test {
 protected:
  using Arguments = std::vector<std::string>;

  static constexpr const char* kSession = NUV_BIN_DIR "/nuv-session";

  // Nothing of any session of the test is left.
  ~SessionTest() override;

  std::unique_ptr<Process> Start(const Arguments& arguments, const Process::Environment& extra = {}) const;
  SessionRun Finish(Process& session) const;
  SessionRun Run(const Arguments& arguments, const Process::Environment& extra = {}) const;
  SessionRun RunScript(const std::string& script, Arguments options = {}) const;
  // A session that runs until it is ended; its command prints "ready".
  std::unique_ptr<Process> StartWaiting(Arguments options = {}) const;

  // File of an executable shell script.
  std::string WriteScript(const std::string& path, const std::string& text) const;

  // The directory of the sessions, in which they find each other.
  std::string Sessions() const { return runtime_ / "nuv-session"; }
  bool NothingIsLeft() const;

  // Processes that were started in this test with such a text in their command line.
  std::vector<pid_t> Processes(const std::string& text = "") const;
  // The one that keeps the only session; 0 where there is none.
  pid_t Keeper() const;
  bool WaitForText(const Process& process, const std::string& text) const;

  TempDir runtime_;
  TempDir files_;
};
