// Decides what becomes of a launch and carries it out.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "applications.h"
#include "catalogue_db.h"
#include "launch_request.h"
#include "results.h"

namespace simulator {

class Launcher {
 public:
  using Report = std::function<void(LaunchResult)>;

  Launcher(CatalogueDb& catalogue, Applications& applications, int settle_ms);

  // Reports once: at once, or when the new process has lived for the settle time or has ended.
  void Launch(const LaunchRequest& request, const Report& report);

  // The platform's plain launch. The process id; 0 when the application is unknown or cannot be run.
  pid_t LaunchPlain(const ProgramInput& input);

 private:
  struct Settling {
    guint timer = 0;
    LaunchResult success;
    LaunchResult crash;
    Report report;
  };

  void Decide(const LaunchRequest& request, const Report& report);
  void ShowRunning(const AppRecord& record, pid_t pid, const LaunchRequest& request, const Report& report);
  void StartNew(const AppRecord& record, const LaunchRequest& request, const Report& report);
  void Count(const std::string& id, const LaunchRequest& request);
  void Settle(pid_t pid, Settling settling);
  void Ended(pid_t pid, int status);

  CatalogueDb& catalogue_;
  Applications& applications_;
  int settle_ms_;
  std::map<pid_t, Settling> settling_;
};

}  // namespace simulator
