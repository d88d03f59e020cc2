#include "session_fixture.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

constexpr Milliseconds kLimit(60000);

std::string Spaced(std::string text) {
  std::replace(text.begin(), text.end(), '\0', ' ');
  return text;
}

// Empty where the process ends while it is read, which ReadFile() would throw for.
std::string ReadProcFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

// A process that has ended and was not waited for has no command line.
bool BelongsTo(const std::string& process, const std::string& directory, const std::string& text) {
  const std::string command = Spaced(ReadProcFile(process + "/cmdline"));
  return !command.empty() && command.find(text) != std::string::npos &&
         ReadProcFile(process + "/environ").find(directory) != std::string::npos;
}

}  // namespace

SessionTest::~SessionTest() {
  EXPECT_TRUE(WaitUntil([this] { return NothingIsLeft(); }, kLimit)) << Processes().size() << " processes are left";
}

std::unique_ptr<Process> SessionTest::Start(const Arguments& arguments, const Process::Environment& extra) const {
  Process::Environment environment = {{"XDG_RUNTIME_DIR", runtime_.path()}, {"TMPDIR", files_.path()}};
  for (const auto& [name, value] : extra) environment[name] = value;
  Arguments command = {kSession};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return std::make_unique<Process>(command, files_.path(), environment);
}

SessionRun SessionTest::Finish(Process& session) const {
  SessionRun run;
  run.status = session.Wait(kLimit).value_or(-1);
  run.output = session.Output();
  run.errors = session.Errors();
  return run;
}

SessionRun SessionTest::Run(const Arguments& arguments, const Process::Environment& extra) const {
  const auto session = Start(arguments, extra);
  return Finish(*session);
}

SessionRun SessionTest::RunScript(const std::string& script, Arguments options) const {
  options.insert(options.end(), {"--", "sh", "-c", script});
  return Run(options);
}

std::unique_ptr<Process> SessionTest::StartWaiting(Arguments options) const {
  options.insert(options.end(), {"--", "sh", "-c", "echo ready; while :; do sleep 0.05; done"});
  auto session = Start(options);
  EXPECT_TRUE(WaitForText(*session, "ready")) << session->Errors();
  return session;
}

std::string SessionTest::WriteScript(const std::string& path, const std::string& text) const {
  WriteFile(path, "#!/bin/sh\n" + text + "\n");
  chmod(path.c_str(), 0755);
  return path;
}

bool SessionTest::NothingIsLeft() const {
  return Processes().empty() && !std::filesystem::exists(Sessions());
}

std::vector<pid_t> SessionTest::Processes(const std::string& text) const {
  std::vector<pid_t> found;
  std::error_code error;
  for (std::filesystem::directory_iterator at("/proc", error), end; !error && at != end; at.increment(error)) {
    const auto pid = static_cast<pid_t>(std::strtol(at->path().filename().c_str(), nullptr, 10));
    if (pid > 0 && pid != getpid() && BelongsTo(at->path().string(), runtime_.path(), text)) found.push_back(pid);
  }
  return found;
}

pid_t SessionTest::Keeper() const {
  for (const pid_t pid : Processes(kSession)) {
    if (ReadProcFile("/proc/" + std::to_string(pid) + "/comm") == "nuv-keeper\n") return pid;
  }
  return 0;
}

bool SessionTest::WaitForText(const Process& process, const std::string& text) const {
  return WaitUntil([&] { return (process.Output() + process.Errors()).find(text) != std::string::npos; }, kLimit);
}
