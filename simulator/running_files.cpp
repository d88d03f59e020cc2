#include "running_files.h"

#include <climits>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace simulator {
namespace {

namespace fs = std::filesystem;

// An id out of a catalogue may be any text; only a plain name becomes a file.
bool IsFileName(const std::string& name) {
  return !name.empty() && name[0] != '.' && name.size() <= NAME_MAX && name.find('/') == name.npos;
}

}  // namespace

RunningFiles::RunningFiles(const std::string& directory) : directory_(directory) {
  fs::remove_all(directory_ + "/running");
  fs::create_directories(directory_ + "/running");
  SetHbbtv("");
}

std::string RunningFiles::PathOf(const std::string& platform_id) const {
  return directory_ + "/running/" + platform_id;
}

void RunningFiles::Write(const std::string& platform_id, pid_t pid, AppStatus status) const {
  if (!IsFileName(platform_id)) {
    std::fprintf(stderr, "nuv-simulator: \"%s\" cannot be a file name: the platform will not see it run\n",
                 platform_id.c_str());
    return;
  }
  std::ostringstream content;
  content << "pid " << pid << "\nstatus " << static_cast<int>(status) << "\nstarttime " << StartTime(pid) << "\n";
  Replace(PathOf(platform_id), content.str());
}

void RunningFiles::Remove(const std::string& platform_id) const {
  std::error_code ignored;
  if (IsFileName(platform_id)) fs::remove(PathOf(platform_id), ignored);
}

void RunningFiles::SetHbbtv(const std::string& platform_id) const {
  const std::string path = directory_ + "/hbbtv";
  std::error_code ignored;
  if (platform_id.empty()) {
    fs::remove(path, ignored);
  } else {
    Replace(path, platform_id + "\n");
  }
}

// The new file is made outside running/, where every file counts as an application.
void RunningFiles::Replace(const std::string& path, const std::string& content) const {
  const std::string fresh = directory_ + "/.nuv-simulator.new";
  std::error_code error;
  std::ofstream out(fresh, std::ios::trunc);
  out << content;
  out.close();
  if (out.good()) fs::rename(fresh, path, error);
  if (!out.good() || error) std::fprintf(stderr, "nuv-simulator: %s cannot be written\n", path.c_str());
}

unsigned long long StartTime(pid_t pid) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
  const std::string stat{std::istreambuf_iterator<char>(in), {}};
  const std::size_t name_end = stat.rfind(')');  // the name may hold anything
  if (name_end == std::string::npos) return 0;
  constexpr int kFieldsBetween = 19;  // state, field 3, follows the name; the start time is field 22
  std::istringstream fields(stat.substr(name_end + 1));
  std::string skipped;
  for (int i = 0; i < kFieldsBetween; ++i) fields >> skipped;
  unsigned long long start_time = 0;
  fields >> start_time;
  return start_time;
}

}  // namespace simulator
