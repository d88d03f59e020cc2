#include "applications.h"

#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <utility>

#include "glib_ptr.h"

namespace simulator {
namespace {

constexpr gint64 kGiveUpUs = 3 * G_TIME_SPAN_SECOND;  // those that are killed are given a second
constexpr int kReapPollUs = 5000;

int ExitStatus(int wait_status) {
  return WIFSIGNALED(wait_status) ? 128 + WTERMSIG(wait_status) : WEXITSTATUS(wait_status);
}

}  // namespace

Applications::Applications(RunningFiles& files, const Journal& journal, bool stand_ins)
    : files_(files), journal_(journal), stand_ins_(stand_ins) {
  files_.Clear();
}

void Applications::ShutDown() {
  shut_down_ = true;
  TerminateAll();
  trees_.EndAll();
  const gint64 give_up = g_get_monotonic_time() + kGiveUpUs;
  while (!apps_.empty() || trees_.Left() != 0) {
    if (g_get_monotonic_time() > give_up) {
      Warn(std::to_string(apps_.size() + trees_.Left()) + " processes of applications cannot be ended");
      return;
    }
    // Dispatches the child watches.
    if (!g_main_context_iteration(nullptr, FALSE)) g_usleep(kReapPollUs);
  }
}

pid_t Applications::Start(const AppRecord& record, const ProgramInput& input, AppStatus status) {
  if (shut_down_) return 0;
  const std::string program = FindProgram(record.install_path, record.id);
  const bool stand_in = program.empty() && input.built_in.empty();
  if (stand_in && LacksProgram(record)) {
    Warn(record.id + ": " + WhyNoProgram(record.install_path));
    return 0;
  }
  std::string error;
  const int tree = trees_.New();
  ProgramInput marked = input;
  marked.variables.push_back(trees_.MarkOf(tree));
  const pid_t pid = StartProgram(program, marked, &error);
  if (pid == 0) {
    Warn(record.id + ": " + error);
    return 0;
  }
  App& app = apps_[pid];
  app = {record.id, record.platform_id, pid,          status, record.app_type == kHbbtvApp, tree,
         false,     stand_in,           input.payload};
  trees_.Started(tree, pid);
  g_child_watch_add(pid, ChildEnded, this);
  files_.Write(app.platform_id, pid, status);
  journal_.AppStarted(app.id, pid, stand_in);
  if (status == AppStatus::kVisible) BringToFront(pid);
  return pid;
}

bool Applications::LacksProgram(const AppRecord& record) const {
  return !stand_ins_ && FindProgram(record.install_path, record.id).empty();
}

const Applications::App* Applications::Find(const std::string& id) const {
  const auto found = std::find_if(apps_.begin(), apps_.end(),
                                  [&](const auto& entry) { return entry.second.id == id && !entry.second.ending; });
  return found == apps_.end() ? nullptr : &found->second;
}

std::vector<Applications::App> Applications::All() const {
  std::vector<App> all;
  for (const auto& [pid, app] : apps_) all.push_back(app);
  return all;
}

void Applications::LaunchAgain(pid_t pid, const ProgramInput& input, AppStatus status) {
  journal_.LaunchDelivered(pid, input);
  if (const auto told = apps_.find(pid); told != apps_.end()) told->second.payload = input.payload;
  const bool has_place = std::find(shown_.begin(), shown_.end(), pid) != shown_.end();
  if (status == AppStatus::kVisible) {
    BringToFront(pid);
  } else if (status == AppStatus::kBackground && !has_place) {
    SetStatus(apps_[pid], status);
  }
}

void Applications::BringToFront(pid_t pid) {
  if (apps_.count(pid) == 0 || Front() == pid) return;
  const pid_t previous = Front();
  shown_.erase(std::remove(shown_.begin(), shown_.end(), pid), shown_.end());
  shown_.push_back(pid);
  if (previous != 0) SetStatus(apps_[previous], AppStatus::kHidden);
  FrontChanged();
}

void Applications::TakeAway(pid_t pid) {
  const bool was_in_front = Front() == pid;
  shown_.erase(std::remove(shown_.begin(), shown_.end(), pid), shown_.end());
  if (was_in_front) FrontChanged();
}

void Applications::FrontChanged() {
  const auto front = apps_.find(Front());
  const bool none = front == apps_.end();
  if (!none) SetStatus(front->second, AppStatus::kVisible);
  files_.SetHbbtv(!none && front->second.hbbtv ? front->second.platform_id : "");
  journal_.ForegroundChanged(none ? "" : front->second.id);
}

// The file of one that is ending may already be that of its successor.
void Applications::SetStatus(App& app, AppStatus status) {
  if (std::exchange(app.status, status) == status || app.ending) return;
  files_.Write(app.platform_id, app.pid, status);
}

void Applications::Terminate(const std::string& id) {
  for (auto& [pid, app] : apps_) {
    if (app.id == id) Terminate(app);
  }
}

void Applications::TerminateAll() {
  for (auto& [pid, app] : apps_) Terminate(app);
}

void Applications::Terminate(App& app) {
  if (!std::exchange(app.ending, true)) trees_.End(app.tree);
}

void Applications::ChildEnded(GPid pid, gint wait_status, gpointer self) {
  auto* applications = static_cast<Applications*>(self);
  applications->trees_.RootEnded(applications->apps_[pid].tree);
  applications->Remove(pid, ExitStatus(wait_status));
  g_spawn_close_pid(pid);
}

void Applications::Remove(pid_t pid, int status) {
  const App app = apps_[pid];
  apps_.erase(pid);
  // The same application may have been started again while this process was ending.
  const bool again = std::any_of(apps_.begin(), apps_.end(),
                                 [&](const auto& entry) { return entry.second.platform_id == app.platform_id; });
  if (!again) files_.Remove(app.platform_id);
  journal_.AppStopped(app.id, pid, status);
  TakeAway(pid);
  for (const Ended& ended : ended_) ended(pid, status);
}

}  // namespace simulator
