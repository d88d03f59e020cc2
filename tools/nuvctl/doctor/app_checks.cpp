// Applications: what is said to run and does not, and what has no program.
#include <dirent.h>
#include <nuv_platform/platform_hbbtv.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <thread>

#include "doctor/database_file.h"
#include "doctor/examination.h"
#include "report/text.h"
#include "service/app_program.h"
#include "service/running_apps.h"

namespace {

constexpr int kTries = 10;
constexpr std::chrono::milliseconds kBetweenTries(20);

// A leading dot marks a file that is being written.
std::optional<std::vector<std::string>> FilesIn(const std::string& path) {
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(path.c_str()), closedir);
  std::vector<std::string> names;
  if (directory == nullptr) return errno == ENOENT ? std::optional(names) : std::nullopt;
  while (const dirent* entry = readdir(directory.get())) {
    if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::set<std::string> LivingApps() {
  std::set<std::string> ids;
  for (const RunningApp& app : RunningApps()) ids.insert(app.platform_id);
  return ids;
}

// The HbbTV application that the platform takes for running; empty where there is none.
std::string RunningHbbtv() {
  char* id = nullptr;
  const int found = GetRunningHbbtvApp(&id);
  const std::unique_ptr<char, decltype(&std::free)> owned(id, std::free);
  return found == 1 && id != nullptr ? id : "";
}

// Paths below the state directory. The files come first: an application that starts in between has one of the living,
// and is not missed.
std::optional<std::vector<std::string>> StaleFiles(const std::string& running) {
  const auto names = FilesIn(running);
  if (!names) return std::nullopt;
  const std::string hbbtv = RunningHbbtv();
  const std::set<std::string> living = LivingApps();
  std::vector<std::string> stale;
  for (const std::string& name : *names) {
    if (living.count(name) == 0) stale.push_back("running/" + name);
  }
  if (!hbbtv.empty() && living.count(hbbtv) == 0) stale.emplace_back("hbbtv");
  return stale;
}

Finding LookAtRunningFiles(Examination& examination) {
  if (examination.directory().empty()) return NotKnown("the platform names no state directory");
  const std::string running = examination.directory() + "/running";
  auto stale = StaleFiles(running);
  // The service removes the file of one that has ended just now.
  for (int i = 1; stale && !stale->empty() && i < kTries; ++i) {
    std::this_thread::sleep_for(kBetweenTries);
    stale = StaleFiles(running);
  }
  if (!stale) return Failure(Printable(running) + ": " + std::strerror(errno), "chmod go+rx " + ShellWord(running));
  if (stale->empty()) return Fine("each file of a running application has its process");
  std::vector<std::string> words;
  words.reserve(stale->size());
  const std::string state = examination.directory() + "/";
  for (const std::string& path : *stale) words.push_back(ShellWord(state + path));
  std::string command = "rm --";
  for (const std::string& word : words) command.append(" ").append(word);
  const std::string count = std::to_string(words.size());
  return Warning(
      count + (words.size() == 1 ? " file of an application" : " files of applications") + " that does not run",
      command);
}

struct Apps {
  size_t all = 0;
  std::vector<std::string> without_program;
};

// An application without a path has a stand-in on purpose.
Apps LookForPrograms(SQLite::Database& database) {
  Apps apps;
  SQLite::Statement rows(database,
                         "SELECT id, install_path FROM widgetinfo WHERE install_state = 3 AND install_path <> ''");
  while (rows.executeStep()) {
    const std::string id = rows.getColumn(0).getText();
    ++apps.all;
    if (!HasProgram(rows.getColumn(1).getText(), id)) apps.without_program.push_back(Printable(id));
  }
  return apps;
}

// A service that does not speak of stand-ins is a TV's, which runs applications in its own way.
Finding JudgePrograms(Examination& examination, SQLite::Database& database) {
  const auto gone = examination.service_gone();
  const SimulatorState* simulator = examination.simulator();
  if (!gone && simulator == nullptr) return NotKnown("the service does not say which programs it runs");
  const Apps apps = LookForPrograms(database);
  if (apps.without_program.empty()) return Fine("each install path has its program");
  const size_t missing = apps.without_program.size();
  const std::string text = std::to_string(missing) + " of " + std::to_string(apps.all) +
                           " install paths have no program: " + Some(apps.without_program);
  const std::string mend = "bin/run below the install path";
  if (simulator != nullptr && !simulator->has_stand_ins) return Failure(text + "; their launches fail", mend);
  return Warning(text + "; stand-ins run in their place", mend);
}

Finding LookAtPrograms(Examination& examination) {
  SQLite::Database* database = examination.database().get();
  if (database == nullptr) return NotKnown("the database cannot be read");
  try {
    return JudgePrograms(examination, *database);
  } catch (const SQLite::Exception& error) {
    return NotKnown(Printable(error.what()));
  }
}

}  // namespace

std::vector<Check> AppChecks() {
  return {{"running-files", LookAtRunningFiles}, {"programs", LookAtPrograms}};
}
