#include "program.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <filesystem>

#include "glib_ptr.h"
#include "journal.h"
#include "json.h"
#include "pin/terminal.h"
#include "stand_in.h"

namespace simulator {
namespace {

namespace fs = std::filesystem;

// The kernel takes 128 KiB per variable, its name included.
constexpr std::size_t kLongestValue = std::size_t{127} * 1024;

struct StrvFree {
  void operator()(char** strings) const { g_strfreev(strings); }
};
using StrvPtr = std::unique_ptr<char*, StrvFree>;

void SetVariable(StrvPtr& environment, const char* name, const std::string& value) {
  if (value.size() > kLongestValue) {
    Warn(std::string(name) + " of " + std::to_string(value.size()) + " bytes is too long for an environment");
    return;
  }
  environment.reset(g_environ_setenv(environment.release(), name, value.c_str(), TRUE));
}

StrvPtr MakeEnvironment(const ProgramInput& input) {
  StrvPtr environment(g_get_environ());
  SetVariable(environment, "NUV_APP_ID", input.app_id);
  SetVariable(environment, "NUV_PAYLOAD", input.payload);
  SetVariable(environment, "NUV_CALLER_ID", input.caller_id);
  SetVariable(environment, "NUV_OPERATION", input.operation);
  SetVariable(environment, "NUV_URI", input.uri);
  SetVariable(environment, "NUV_EXTRA_DATA", ToJson(input.extra_data));
  for (const auto& [name, value] : input.variables) SetVariable(environment, name.c_str(), value);
  return environment;
}

struct Parent {
  pid_t pid;
  bool lends_terminal;
  bool waits_for_signals;
};

// Runs in the child, between fork and exec: async-signal-safe calls only. Standard output belongs to whoever reads
// this process's lines, so the application's goes to standard error.
void PrepareChild(gpointer data) {
  const auto* parent = static_cast<const Parent*>(data);
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent->pid) _exit(127);
  dup2(STDERR_FILENO, STDOUT_FILENO);
  if (parent->waits_for_signals) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
  }
  if (!parent->lends_terminal) return;
  const int terminal = open("/dev/tty", O_RDWR | O_CLOEXEC);
  if (terminal >= 0) ComeToForeground(terminal);
}

std::vector<std::string> CommandLine(const std::string& path, const ProgramInput& input) {
  if (!path.empty()) return {path, path};
  return input.built_in.empty() ? StandInCommand(input.app_id) : input.built_in;
}

}  // namespace

std::string FindProgram(const std::string& install_path, const std::string& app_id) {
  if (install_path.empty()) return "";
  std::error_code ignored;
  const fs::path root(install_path);
  const bool plain_id = app_id.find('/') == std::string::npos;
  for (const fs::path& candidate : {root, plain_id ? root / "bin" / app_id : root, root / "bin" / "run"}) {
    if (fs::is_regular_file(candidate, ignored)) return candidate.string();
  }
  return "";
}

std::string WhyNoProgram(const std::string& install_path) {
  if (install_path.empty()) return "it has no program: the catalogue gives no install_path";
  return "it has no program: none is in its install_path " + install_path;
}

pid_t StartProgram(const std::string& path, const ProgramInput& input, std::string* error) {
  std::vector<std::string> words = CommandLine(path, input);
  std::vector<char*> command;
  command.reserve(words.size() + 1);
  for (std::string& word : words) command.push_back(word.data());
  command.push_back(nullptr);
  const StrvPtr environment = MakeEnvironment(input);
  constexpr auto kSpawnFlags = static_cast<GSpawnFlags>(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_FILE_AND_ARGV_ZERO);
  const bool built_in = path.empty() && !input.built_in.empty();
  Parent parent{getpid(), input.on_terminal, built_in};
  GPid pid = 0;
  Error failure;
  if (!g_spawn_async(nullptr, command.data(), environment.get(), kSpawnFlags, PrepareChild, &parent, &pid,
                     failure.out())) {
    *error = failure.message();
    return 0;
  }
  return pid;
}

}  // namespace simulator
