// Decides what becomes of a launch and carries it out.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "applications.h"
#include "catalogue/catalogue_db.h"
#include "launch_request.h"
#include "pin/pin_gate.h"
#include "results.h"

namespace simulator {

class Launcher {
 public:
  using Report = std::function<void(LaunchResult)>;

  using ReportFor = std::function<void(const LaunchRequest&, LaunchResult)>;

  Launcher(CatalogueDb& catalogue, Applications& applications, PinGate& pin_gate, int settle_ms);

  // Reports once: at once, or when the PIN has been asked for, or when the new process has lived for the settle time or
  // has ended.
  void Launch(const LaunchRequest& request, const Report& report);

  // The platform's plain launch. The process id; 0 when the application is unknown or cannot be run. What the common-UI
  // application is to ask the PIN for is reported like any launch. Throws when there is nobody to ask.
  pid_t LaunchPlain(const ProgramInput& input, const ReportFor& report);

 private:
  struct Settling {
    guint timer = 0;
    LaunchResult success;
    LaunchResult crash;
    Report report;
  };

  void Decide(const LaunchRequest& request, const Report& report);
  pid_t AskForPin(const LaunchRequest& request, const ExtraData& extra_data, const Report& report);
  pid_t LaunchCommonUi(const ProgramInput& input, const ReportFor& report);
  pid_t ShowOrStart(const AppRecord& record, const ProgramInput& input);
  void ShowRunning(const AppRecord& record, pid_t pid, const LaunchRequest& request, const Report& report);
  void StartNew(const AppRecord& record, const LaunchRequest& request, const Report& report);
  void Count(const std::string& id, const LaunchRequest& request);
  void Settle(pid_t pid, Settling settling);
  void Ended(pid_t pid, int status);

  CatalogueDb& catalogue_;
  Applications& applications_;
  PinGate& pin_gate_;
  int settle_ms_;
  std::map<pid_t, Settling> settling_;
};

}  // namespace simulator
