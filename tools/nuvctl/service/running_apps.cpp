#include "service/running_apps.h"

#include <nuv_platform/platform_aul.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

constexpr char kPayloadVariable[] = "NUV_PAYLOAD=";
constexpr int kFieldsBeforeStart = 19;  // of /proc/PID/stat, behind the name of the program

std::optional<std::string> ReadProc(int pid, const char* name) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/" + name, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

std::vector<RunningApp> RunningApps() {
  std::vector<RunningApp> apps;
  aul_app_get_running_app_info(
      [](const aul_app_info* info, void* found) {
        static_cast<std::vector<RunningApp>*>(found)->push_back(
            {info->appid, info->pid, info->status == NUV_AUL_STATUS_VISIBLE});
        return 0;
      },
      &apps);
  return apps;
}

// The name of the program may hold anything, so what follows is counted from its closing bracket.
std::optional<int> UptimeOf(int pid) {
  const std::string stat = ReadProc(pid, "stat").value_or("");
  const size_t name_end = stat.rfind(')');
  if (name_end == std::string::npos) return std::nullopt;
  std::istringstream rest(stat.substr(name_end + 1));
  std::string skipped;
  for (int i = 0; i < kFieldsBeforeStart; ++i) rest >> skipped;
  double start_ticks = 0;
  double now = 0;
  if (!(rest >> start_ticks) || !(std::ifstream("/proc/uptime") >> now)) return std::nullopt;
  return std::max(0, static_cast<int>(now - start_ticks / static_cast<double>(sysconf(_SC_CLK_TCK))));
}

std::optional<std::string> StartPayloadOf(int pid) {
  const auto environment = ReadProc(pid, "environ");
  if (!environment) return std::nullopt;
  std::istringstream variables(*environment);
  for (std::string variable; std::getline(variables, variable, '\0');) {
    if (variable.rfind(kPayloadVariable, 0) == 0) return variable.substr(sizeof kPayloadVariable - 1);
  }
  return std::nullopt;
}
