#include "running_files.h"

#include <glib.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <sstream>

#include "journal.h"
#include "processes.h"

namespace simulator {
namespace {

constexpr const char* kDatabase = ".corvane.db";
constexpr const char* kHbbtv = "hbbtv";
constexpr const char* kFresh = ".nuv-simulator.new";
constexpr std::size_t kLongest = 4096;  // what is longer was not written here

// An id out of a catalogue may be any text; only a plain name becomes a file.
bool IsFileName(const std::string& name) {
  return !name.empty() && name[0] != '.' && name.size() <= NAME_MAX && name.find('/') == name.npos;
}

bool IsRunningFile(const std::string& content) {
  constexpr const char* kForm = "^pid [0-9]{1,20}\nstatus [0-9]{1,20}\nstarttime [0-9]{1,20}\n\\z";
  return content.find('\0') == std::string::npos &&
         g_regex_match_simple(kForm, content.c_str(), G_REGEX_RAW, static_cast<GRegexMatchFlags>(0)) != FALSE;
}

bool IsLine(const std::string& content) {
  return content.size() > 1 && content.size() <= kLongest && content.find('\n') == content.size() - 1;
}

// The process that wrote it may have been killed before it had written all.
bool IsFresh(const std::string& content) {
  return content.empty() || IsLine(content) || IsRunningFile(content);
}

// On another bus, a second one would find the names free and remove the files of the first.
Directory Locked(const std::string& path) {
  Directory directory(path);
  if (directory.Lock()) return directory;
  const pid_t holder = directory.Holder();
  throw DirectoryError(path + " is in use by another nuv-simulator" +
                       (holder == 0 ? "" : " (process " + std::to_string(holder) + ")") +
                       ": end that one, or choose another directory with --dir");
}

}  // namespace

RunningFiles::RunningFiles(const std::string& directory)
    : state_(Locked(directory)), running_(state_.Make("running")) {}

void RunningFiles::Clear() const {
  for (const std::string& name : running_.Names()) RemoveRunning(name);
  RemoveOwn(state_, kFresh, IsFresh);
  RemoveOwn(state_, kHbbtv, IsLine);
}

// SQLite would create the file as well, but would follow a link of that name.
std::string RunningFiles::DatabasePath() const {
  const int error = state_.Create(kDatabase, "");
  std::string path = state_.PathOf(kDatabase);
  if (error != 0 && error != EEXIST) throw DirectoryError(path + ": " + std::strerror(error));
  if (!state_.IsFile(kDatabase)) {
    throw DirectoryError(path + " is in the way: the database has to be a file, and no link; move it away");
  }
  return path;
}

void RunningFiles::Write(const std::string& platform_id, pid_t pid, AppStatus status) const {
  if (!IsFileName(platform_id)) {
    Warn("\"" + platform_id + "\" cannot be a file name: the platform will not see it run");
    return;
  }
  const unsigned long long start = ReadProcess(pid).value_or(ProcessEntry()).start;
  std::ostringstream content;
  content << "pid " << pid << "\nstatus " << static_cast<int>(status) << "\nstarttime " << start << "\n";
  Replace(running_, platform_id, content.str(), IsRunningFile);
}

void RunningFiles::Remove(const std::string& platform_id) const {
  if (IsFileName(platform_id)) RemoveRunning(platform_id);
}

void RunningFiles::SetHbbtv(const std::string& platform_id) {
  if (platform_id == hbbtv_) return;
  const std::string line = platform_id + "\n";
  if (!platform_id.empty() && !IsLine(line)) Warn("\"" + platform_id + "\" is no line of text, which hbbtv has to be");
  if (IsLine(line)) {
    hbbtv_ = Replace(state_, kHbbtv, line, IsLine) ? platform_id : "";
  } else {
    hbbtv_.clear();
    RemoveOwn(state_, kHbbtv, IsLine);
  }
}

void RunningFiles::RemoveRunning(const std::string& name) const {
  const auto content = running_.Read(name, kLongest);
  if (content && IsRunningFile(*content)) running_.Remove(name);
}

bool RunningFiles::InTheWay(const Directory& place, const std::string& name, const Form& form) const {
  if (!place.Has(name)) return false;
  const auto content = place.Read(name, kLongest);
  if (content && form(*content)) return false;
  Warn(place.PathOf(name) + " is in the way: nuv-simulator did not write it and leaves it alone; move it away");
  return true;
}

void RunningFiles::RemoveOwn(const Directory& place, const std::string& name, const Form& form) const {
  if (!InTheWay(place, name, form)) place.Remove(name);
}

// The new file is made outside running/, where every file counts as an application.
bool RunningFiles::Replace(const Directory& place, const std::string& name, const std::string& content,
                           const Form& form) const {
  if (InTheWay(place, name, form) || InTheWay(state_, kFresh, IsFresh)) return false;
  state_.Remove(kFresh);
  int error = state_.Create(kFresh, content);
  if (error == 0) error = state_.MoveTo(place, kFresh, name);
  if (error != 0) Warn(place.PathOf(name) + " cannot be written: " + std::strerror(error));
  return error == 0;
}

}  // namespace simulator
