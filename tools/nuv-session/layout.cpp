#include "layout.h"

#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <sstream>

#include "bus_config.h"
#include "failure.h"

namespace session {
namespace {

constexpr std::size_t kLongestSocket = sizeof(sockaddr_un::sun_path) - 1;
constexpr std::size_t kLongestState = 127 - sizeof("/.corvane.db") + 1;  // the library cuts a longer path

std::string MakeKept() {
  const char* temporary = getenv("TMPDIR");
  std::string pattern =
      std::string(temporary != nullptr && temporary[0] == '/' ? temporary : "/tmp") + "/nuv-session-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw SystemFailure("cannot make " + pattern);
  return pattern;
}

// The service refuses more than this; what can be said here in this program's words is.
void CheckState(const std::string& path) {
  struct stat entry {};
  if (stat(path.c_str(), &entry) != 0) return;
  if (!S_ISDIR(entry.st_mode)) throw Failure("--state " + path + ": is not a directory");
  if (entry.st_uid != geteuid()) {
    throw Failure("--state " + path + ": belongs to user " + std::to_string(entry.st_uid) +
                  "; choose a directory of your own");
  }
}

void CheckLength(const std::string& path, std::size_t longest, const std::string& advice) {
  if (path.size() <= longest) return;
  throw Failure(path + ": longer than " + std::to_string(longest) + " characters; " + advice);
}

std::string NewMark() {
  std::random_device random;
  std::ostringstream mark;
  mark << "NUV_SESSION_ID=" << std::hex << random() << random() << "." << getpid();
  return mark.str();
}

}  // namespace

Layout LayOut(const std::string& name, const std::string& directory, const Options& options) {
  Layout layout;
  layout.name = name;
  layout.directory = directory;
  layout.mark = NewMark();
  CheckLength(layout.Socket(), kLongestSocket, "set XDG_RUNTIME_DIR to a shorter directory");
  layout.address = BusAddress(layout.Socket());
  layout.logs = directory;
  layout.state = directory + "/state";
  if (!options.state.empty()) {
    layout.state = std::filesystem::absolute(options.state).lexically_normal().string();
    CheckState(layout.state);
  }
  CheckLength(layout.state, kLongestState, "choose a shorter --state or XDG_RUNTIME_DIR");
  if (!options.keep) return layout;
  layout.kept = layout.logs = MakeKept();
  layout.state = layout.kept + "/state";
  return layout;
}

std::vector<std::string> VariablesOf(const Layout& layout) {
  std::vector<std::string> variables = {"DBUS_SYSTEM_BUS_ADDRESS=" + layout.address,
                                        "NUV_HOST_DIR=" + layout.state,
                                        "NUV_SESSION=" + layout.name,
                                        "NUV_SESSION_LOG=" + layout.ServiceLog(),
                                        layout.mark,
                                        "PATH=" + PathWithTools()};
  if (!layout.home.empty()) variables.push_back("NUV_SESSION_HOME=" + layout.home);
  return variables;
}

std::string PathWithTools() {
  const char* own = getenv("PATH");
  std::string path = own == nullptr ? "/usr/local/bin:/usr/bin:/bin" : own;
  const std::string tools = ToolsDirectory();
  // Where the tools are found already, the order of the others is the user's.
  std::istringstream directories(path);
  for (std::string directory; std::getline(directories, directory, ':');) {
    if (directory == tools) return path;
    if (access((directory + "/nuvctl").c_str(), X_OK) == 0) break;
  }
  return tools + ":" + path;
}

std::string ToolsDirectory() {
  char program[PATH_MAX] = {};
  if (readlink("/proc/self/exe", program, sizeof program - 1) < 0) throw SystemFailure("cannot find /proc/self/exe");
  return std::filesystem::path(program).parent_path().string();
}

}  // namespace session
