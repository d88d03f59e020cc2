// Running applications: one file per application below running/, kept by the service.
#include <dirent.h>
#include <errno.h>
#include <nuv_platform/platform_aul.h>
#include <signal.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

#include "host_file.h"
#include "host_guard.h"
#include "host_state.h"

namespace {

using nuv::host::Guarded;
using nuv::host::ParseDecimal;
using nuv::host::ReadSmallFile;

struct RunningApp {
  int pid = 0;
  int status = 0;
  unsigned long long start_time = 0;  // in clock ticks since boot, as the kernel shows it; 0: not noted
};

// The text up to the separator, which is taken off the rest with it.
std::string_view TakeField(std::string_view& rest, char separator) {
  const size_t end = rest.find(separator);
  const std::string_view field = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  return field;
}

// Lines of a name and a number, in any order; lines of other names are passed over.
RunningApp ParseRunningApp(std::string_view content) {
  RunningApp app;
  while (!content.empty()) {
    std::string_view value = TakeField(content, '\n');
    const std::string_view name = TakeField(value, ' ');
    if (name == "pid") app.pid = ParseDecimal<int>(value).value_or(0);
    if (name == "status") app.status = ParseDecimal<int>(value).value_or(0);
    if (name == "starttime") app.start_time = ParseDecimal<unsigned long long>(value).value_or(0);
  }
  return app;
}

// Whether the process lives and is the one that was started then.
bool ProcessLives(const RunningApp& app) {
  constexpr int kFieldsBeforeStartTime = 18;  // fields 4 to 21
  if (app.pid <= 0) return false;
  const auto stat = ReadSmallFile("/proc/" + std::to_string(app.pid) + "/stat");
  // Another user's process may be hidden from /proc, but not from kill().
  if (!stat) return kill(app.pid, 0) == 0 || errno == EPERM;
  const size_t name_end = stat->rfind(')');  // the name may contain anything, closing brackets too
  if (name_end == std::string::npos || name_end + 2 > stat->size()) return false;
  std::string_view rest = std::string_view(*stat).substr(name_end + 2);
  const std::string_view state = TakeField(rest, ' ');
  if (state == "Z" || state == "X") return false;
  if (app.start_time == 0) return true;
  for (int i = 0; i < kFieldsBeforeStartTime; ++i) TakeField(rest, ' ');
  return ParseDecimal<unsigned long long>(TakeField(rest, ' ')) == app.start_time;
}

// An id that can name a file below running/; a leading dot marks files that are being written.
bool IdIsPlain(std::string_view id) {
  return !id.empty() && id[0] != '.' && id.find('/') == std::string_view::npos;
}

std::optional<RunningApp> FindRunningApp(const std::string& id) {
  const auto content = ReadSmallFile(nuv::host::StatePath("running/" + id));
  if (!content) return std::nullopt;
  const RunningApp app = ParseRunningApp(*content);
  if (!ProcessLives(app)) return std::nullopt;
  return app;
}

// Ids with a file, by name; nothing when the directory is there but cannot be read.
std::optional<std::vector<std::string>> NotedIds() {
  const std::string path = nuv::host::StatePath("running");
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(path.c_str()), closedir);
  std::vector<std::string> ids;
  if (directory == nullptr) return errno == ENOENT ? std::make_optional(ids) : std::nullopt;
  while (const dirent* entry = readdir(directory.get())) {
    if (IdIsPlain(entry->d_name)) ids.emplace_back(entry->d_name);
  }
  std::sort(ids.begin(), ids.end());
  return ids;
}

}  // namespace

int aul_app_is_running(const char* app_id) {
  return Guarded(0, [&] { return app_id != nullptr && IdIsPlain(app_id) && FindRunningApp(app_id) ? 1 : 0; });
}

int aul_app_get_running_app_info(aul_app_info_iter_fn iter, void* data) {
  return Guarded(-1, [&] {
    if (iter == nullptr) return -1;
    const auto ids = NotedIds();
    if (!ids) return -1;
    for (const std::string& id : *ids) {
      const auto app = FindRunningApp(id);
      if (!app) continue;
      const aul_app_info info{app->pid, app->status, id.c_str()};
      if (iter(&info, data) < 0) break;
    }
    return 0;
  });
}
