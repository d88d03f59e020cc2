// The running applications: real processes, which of them is in front, and their files.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "app_trees.h"
#include "catalogue/catalogue_db.h"
#include "journal.h"
#include "program.h"
#include "running_files.h"

namespace simulator {

class Applications {
 public:
  struct App {
    std::string id;
    std::string platform_id;
    pid_t pid = 0;
    AppStatus status = AppStatus::kVisible;
    bool hbbtv = false;
    int tree = 0;
    bool ending = false;    // told to end
    bool stand_in = false;  // for want of a program
    std::string payload;    // of the last launch
  };
  using Ended = std::function<void(pid_t pid, int status)>;  // exit status, or 128 and the signal number

  Applications(RunningFiles& files, const Journal& journal, bool stand_ins);
  Applications(const Applications&) = delete;
  Applications& operator=(const Applications&) = delete;

  // To be called for each end from now on.
  void OnEnded(const Ended& ended) { ended_.push_back(ended); }

  // The process id, or 0 when the program could not be run, or there is none and no stand-ins either.
  pid_t Start(const AppRecord& record, const ProgramInput& input, AppStatus status);
  // A launch of it fails, because it has no program and stand-ins are not wanted.
  bool LacksProgram(const AppRecord& record) const;
  // The application, or null when it does not run or has been told to end.
  const App* Find(const std::string& id) const;
  std::vector<App> All() const;

  // A further launch of a running application: it is told. In the background it leaves the one alone that shows or has
  // its place behind the one that does; a preload changes nothing.
  void LaunchAgain(pid_t pid, const ProgramInput& input, AppStatus status);
  void Terminate(const std::string& id);
  void TerminateAll();
  // Ends all with what they started, waits for that, and starts no more. What else is due on the main loop runs
  // meanwhile.
  void ShutDown();

 private:
  void BringToFront(pid_t pid);
  static void ChildEnded(GPid pid, gint wait_status, gpointer self);
  void Remove(pid_t pid, int status);
  void Terminate(App& app);
  void SetStatus(App& app, AppStatus status);
  void TakeAway(pid_t pid);
  void FrontChanged();
  pid_t Front() const { return shown_.empty() ? 0 : shown_.back(); }

  RunningFiles& files_;
  const Journal& journal_;
  std::vector<Ended> ended_;
  std::map<pid_t, App> apps_;
  AppTrees trees_;
  const bool stand_ins_;
  bool shut_down_ = false;
  std::vector<pid_t> shown_;  // those with a place on the screen, the one in front last
};

}  // namespace simulator
