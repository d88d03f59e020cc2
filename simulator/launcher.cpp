#include "launcher.h"

#include <nuv/nuv_launch_codes.h>

#include <optional>
#include <stdexcept>
#include <utility>

#include "pin/pin_popup.h"

namespace simulator {
namespace {

// The reason not to launch, if there is one.
std::optional<int> Refusal(const std::optional<AppRecord>& record) {
  if (!record) return NUV_LAUNCH_STATUS_UNKNOWN_APP;
  if (!record->launchable) return NUV_LAUNCH_STATUS_NOT_INSTALLED;
  return std::nullopt;
}

LaunchResult Failure(const LaunchRequest& request, int status) {
  if (request.preload) return {NUV_NOTIFY_PRELOAD_FAILED, status};
  if (request.deep_link) return {NUV_NOTIFY_DEEPLINK_FAILED, status};
  return {NUV_NOTIFY_LAUNCH_FAILED, status};
}

LaunchResult Success(const LaunchRequest& request, bool was_running) {
  if (request.preload) return {NUV_NOTIFY_PRELOADED, 0};
  if (request.deep_link) return {NUV_NOTIFY_DEEPLINK_DELIVERED, 0};
  if (request.background) return {NUV_NOTIFY_STARTED_IN_BACKGROUND, 0};
  return {was_running ? NUV_NOTIFY_BROUGHT_TO_FRONT : NUV_NOTIFY_LAUNCHED, 0};
}

AppStatus StatusFor(const LaunchRequest& request) {
  if (request.preload) return AppStatus::kHidden;
  return request.background ? AppStatus::kBackground : AppStatus::kVisible;
}

ProgramInput InputFor(const AppRecord& record, const LaunchRequest& request) {
  ProgramInput input;
  input.app_id = record.id;
  input.payload = request.payload;
  input.caller_id = request.caller_id;
  input.uri = request.uri;
  input.extra_data = request.extra_data;
  return input;
}

}  // namespace

Launcher::Launcher(CatalogueDb& catalogue, Applications& applications, PinGate& pin_gate, int settle_ms)
    : catalogue_(catalogue), applications_(applications), pin_gate_(pin_gate), settle_ms_(settle_ms) {
  applications_.OnEnded([this](pid_t pid, int status) { Ended(pid, status); });
}

void Launcher::Launch(const LaunchRequest& request, const Report& report) {
  try {
    Decide(request, report);
  } catch (const DatabaseError& error) {
    Warn(request.app_id + ": " + error.what());
    report(Failure(request, NUV_LAUNCH_STATUS_FAILED));
  }
}

// The PIN is not asked for when the request says that this was done already, and not for a preload, which shows
// nothing.
void Launcher::Decide(const LaunchRequest& request, const Report& report) {
  const std::optional<AppRecord> record = catalogue_.Find(request.app_id);
  if (const std::optional<int> reason = Refusal(record)) {
    report(Failure(request, *reason));
  } else if (record->locked && !request.skip_pin) {
    const bool asked = !request.preload && AskForPin(request, PackPinPopup(request, record->app_type), report) != 0;
    if (!asked) report(Failure(request, NUV_LAUNCH_STATUS_REFUSED));
  } else if (const Applications::App* running = applications_.Find(record->id)) {
    ShowRunning(*record, running->pid, request, report);
  } else {
    StartNew(*record, request, report);
  }
}

// The process id of the dialog; 0, and nothing will be reported, when there is nobody to ask.
pid_t Launcher::AskForPin(const LaunchRequest& request, const ExtraData& extra_data, const Report& report) {
  return pin_gate_.Ask(request.app_id, extra_data, [this, request, report](PinOutcome outcome) {
    if (outcome == PinOutcome::kRight) {
      LaunchRequest allowed = request;
      allowed.skip_pin = true;
      Launch(allowed, report);
      return;
    }
    const bool cancelled = outcome == PinOutcome::kCancelled;
    report(Failure(request, cancelled ? NUV_LAUNCH_STATUS_CANCELLED : NUV_LAUNCH_STATUS_REFUSED));
  });
}

void Launcher::ShowRunning(const AppRecord& record, pid_t pid, const LaunchRequest& request, const Report& report) {
  applications_.LaunchAgain(pid, InputFor(record, request), StatusFor(request));
  Count(record.id, request);
  report(Success(request, true));
}

// A preload is no use of the application. A launch that cannot be counted is still a launch.
void Launcher::Count(const std::string& id, const LaunchRequest& request) {
  if (request.preload) return;
  try {
    catalogue_.CountLaunch(id);
  } catch (const DatabaseError& error) {
    Warn(id + ": the launch is not counted: " + error.what());
  }
}

void Launcher::StartNew(const AppRecord& record, const LaunchRequest& request, const Report& report) {
  const pid_t pid = applications_.Start(record, InputFor(record, request), StatusFor(request));
  if (pid == 0) {
    report(Failure(request, NUV_LAUNCH_STATUS_FAILED));
    return;
  }
  Count(record.id, request);
  if (settle_ms_ == 0) {
    report(Success(request, false));
    return;
  }
  Settle(pid, {0, Success(request, false), Failure(request, NUV_LAUNCH_STATUS_CRASHED), report});
}

void Launcher::Settle(pid_t pid, Settling settling) {
  settling.timer = After(settle_ms_, [this, pid] {
    const auto settled = settling_.extract(pid);
    if (!settled.empty()) settled.mapped().report(settled.mapped().success);
  });
  settling_[pid] = std::move(settling);
}

// A program that ends with status 0 before the settle time has done all that it wanted to do.
void Launcher::Ended(pid_t pid, int status) {
  const auto settled = settling_.extract(pid);
  if (settled.empty()) return;
  const Settling& settling = settled.mapped();
  g_source_remove(settling.timer);
  settling.report(status == 0 ? settling.success : settling.crash);
}

pid_t Launcher::LaunchPlain(const ProgramInput& input, const ReportFor& report) {
  if (input.app_id == kCommonUiApp) return LaunchCommonUi(input, report);
  const std::optional<AppRecord> record = catalogue_.Find(input.app_id);
  return record ? ShowOrStart(*record, input) : 0;
}

pid_t Launcher::ShowOrStart(const AppRecord& record, const ProgramInput& input) {
  if (!record.launchable) return 0;
  ProgramInput named = input;
  named.app_id = record.id;
  if (const Applications::App* running = applications_.Find(record.id)) {
    const pid_t pid = running->pid;
    applications_.LaunchAgain(pid, named, AppStatus::kVisible);
    return pid;
  }
  const pid_t pid = applications_.Start(record, named, AppStatus::kVisible);
  if (pid == 0 && applications_.LacksProgram(record)) throw std::runtime_error(WhyNoProgram(record.install_path));
  return pid;
}

// The request may tell the PIN dialog to end just after the dialog has ended by itself.
pid_t Launcher::LaunchCommonUi(const ProgramInput& input, const ReportFor& report) {
  if (EndsPinDialog(input.extra_data)) {
    const Applications::App* running = applications_.Find(kCommonUiApp);
    const pid_t pid = running == nullptr ? pin_gate_.last_dialog() : running->pid;
    applications_.Terminate(kCommonUiApp);
    return pid;
  }
  if (!AsksForPin(input.extra_data)) return ShowOrStart(pin_gate_.CommonUi(), input);
  const LaunchRequest request = UnpackPinPopup(input.extra_data);
  const pid_t pid =
      AskForPin(request, input.extra_data, [request, report](LaunchResult outcome) { report(request, outcome); });
  if (pid == 0) throw std::runtime_error("there is nobody to ask for the PIN");
  return pid;
}

}  // namespace simulator
