#include "launch/launch_run.h"

#include <optional>
#include <thread>
#include <utility>

#include "bus/service_talk.h"
#include "bus/system_bus.h"
#include "command/guard.h"
#include "launch/launch_wait.h"
#include "report/text.h"
#include "service/meanings.h"

namespace {

constexpr unsigned kGraceMs = 100;
constexpr unsigned kClientNameTimeMs = 1000;

// One launch through the library, with all that can happen to it brought to one thread.
class LaunchSession {
 public:
  struct Listener {
    std::function<void(const LaunchReport&)> on_undecided;  // a report after which the wait goes on
    std::function<void(const std::string&)> on_hopeless;    // the wait is in vain, and why
  };

  struct Limits {
    std::optional<unsigned> result_ms;  // without it, acceptance is the end
    std::optional<unsigned> answer_ms;  // until the service has accepted the launch
  };

  LaunchSession(const Limits& limits, Listener listener);
  LaunchSession(const LaunchSession&) = delete;
  LaunchSession& operator=(const LaunchSession&) = delete;

  // Launches and returns at the end of it. The launch itself may still be blocked in the library then.
  Conclusion Run(LaunchTask task);

  const std::vector<LaunchReport>& reports() const { return wait_.reports(); }

  // For the threads that have something to tell; the event is handled on that of the loop.
  using Event = std::function<void(LaunchWait&)>;
  static void Post(LaunchSession* session, Event event);

 private:
  void Handle(const Event& event);
  void ArmTimers();
  void TellListener();
  void StartLaunch();
  void ConnectToBus();
  void WatchBus(GDBusConnection* bus);

  const Limits limits_;
  const Listener listener_;
  LaunchWait wait_;
  std::function<void()> launch_;
  size_t reports_told_ = 0;
  bool hopeless_told_ = false;
  GlibOwner<GMainLoop> loop_;
  std::optional<LiveBus> bus_;
  std::optional<NameWatch> service_watch_;
  std::optional<NameWatch> client_watch_;
  Timer deadline_;
  Timer answer_deadline_;
  Timer grace_;
  Timer client_name_time_;
};

// The launch that the calling thread has in the library. A callback on this thread is not a result: it says that the
// request failed, as the function's result will; to the plain shape it says so in another argument order.
struct InFlight {
  bool active = false;
  int status = 0;  // as told to the web-app shape
};
thread_local InFlight t_in_flight;

void OnWebAppEvent(const char* app_id, nuv_notify_event_e event, int, int result, void* session) {
  if (t_in_flight.active) {
    t_in_flight.status = result;
    return;
  }
  LaunchReport report{CallbackShape::kWebApp, app_id != nullptr ? app_id : "", event, result};
  LaunchSession::Post(static_cast<LaunchSession*>(session),
                      [report = std::move(report)](LaunchWait& wait) { wait.OnReport(report); });
}

void OnPlainResult(void* session, int, const char* app_id, int result) {
  if (t_in_flight.active) return;
  LaunchReport report{CallbackShape::kPlain, app_id != nullptr ? app_id : "", 0, result};
  LaunchSession::Post(static_cast<LaunchSession*>(session),
                      [report = std::move(report)](LaunchWait& wait) { wait.OnReport(report); });
}

Conclusion WhyNotAccepted(const LaunchTask& task, int status) {
  if (status == NUV_LAUNCH_STATUS_TIMED_OUT) return {Outcome::kTimedOut, status, ""};
  Diagnosis diagnosis = task.diagnose();
  return {diagnosis.outcome, std::nullopt, std::move(diagnosis.message)};
}

// May block for as long as the library's calls may.
void Launch(const LaunchTask& task, LaunchSession* session) {
  ListenToServiceTalk();
  t_in_flight = {true, 0};
  const int result = task.call({OnWebAppEvent, OnPlainResult, session});
  t_in_flight.active = false;
  if (result == 0) {
    return LaunchSession::Post(session, [by = LastAnswerer()](LaunchWait& wait) { wait.OnAccepted(by); });
  }
  LaunchSession::Post(session,
                      [why = WhyNotAccepted(task, t_in_flight.status)](LaunchWait& wait) { wait.OnNotAccepted(why); });
}

LaunchSession::LaunchSession(const Limits& limits, Listener listener)
    : limits_(limits),
      listener_(std::move(listener)),
      wait_(limits.result_ms.has_value()),
      loop_(g_main_loop_new(nullptr, FALSE)) {}

Conclusion LaunchSession::Run(LaunchTask task) {
  const InterruptHandler handler([this] { Post(this, [](LaunchWait& wait) { wait.OnInterrupt(); }); });
  launch_ = [this, task = std::move(task)] { Launch(task, this); };
  if (limits_.answer_ms) {
    answer_deadline_.Start(*limits_.answer_ms, [this] { Handle([](LaunchWait& wait) { wait.OnAnswerDeadline(); }); });
  }
  if (limits_.result_ms) {
    deadline_.Start(*limits_.result_ms, [this] { Handle([](LaunchWait& wait) { wait.OnDeadline(); }); });
    ConnectToBus();
  } else {
    StartLaunch();
  }
  g_main_loop_run(loop_.get());
  return *wait_.conclusion();
}

void LaunchSession::StartLaunch() {
  std::thread(launch_).detach();
}

// The session is looked at on the thread of the loop only, and only while the loop runs: a late event is never
// dispatched.
void LaunchSession::Post(LaunchSession* session, Event event) {
  InMainLoop([session, event = std::move(event)] { session->Handle(event); });
}

void LaunchSession::Handle(const Event& event) {
  event(wait_);
  TellListener();
  if (wait_.conclusion()) return g_main_loop_quit(loop_.get());
  ArmTimers();
}

void LaunchSession::ArmTimers() {
  if (!wait_.InGrace()) {
    grace_.Stop();
  } else if (!grace_.Running()) {
    grace_.Start(kGraceMs, [this] { Handle([](LaunchWait& wait) { wait.OnGraceOver(); }); });
  }
  if (wait_.AwaitsClientName() && !client_name_time_.Running()) {
    client_name_time_.Start(kClientNameTimeMs,
                            [this] { Handle([](LaunchWait& wait) { wait.OnClientNameTimeOver(); }); });
  }
}

void LaunchSession::TellListener() {
  for (; reports_told_ < reports().size(); ++reports_told_) {
    const LaunchReport& report = reports()[reports_told_];
    if (!Judge(report)) listener_.on_undecided(report);
  }
  const std::string hopeless = wait_.Hopeless();
  if (hopeless.empty() || hopeless_told_ || wait_.conclusion()) return;
  hopeless_told_ = true;
  listener_.on_hopeless(hopeless);
}

// The launch starts under watch only: what happens to the bus or the service from then on is seen.
void LaunchSession::ConnectToBus() {
  LiveBus::Listener listener;
  listener.on_connected = [this](GDBusConnection* bus) {
    WatchBus(bus);
    StartLaunch();
  };
  listener.on_unreachable = [this] {
    Handle([why = BusUnreachable()](LaunchWait& wait) { wait.OnNotAccepted({why.outcome, {}, why.message}); });
  };
  listener.on_closed = [this] { Handle([](LaunchWait& wait) { wait.OnBusClosed(); }); };
  bus_.emplace(std::move(listener));
}

void LaunchSession::WatchBus(GDBusConnection* bus) {
  service_watch_.emplace(bus, ServiceName(), [this](const std::string& owner) {
    Handle([&owner](LaunchWait& wait) { wait.OnServiceOwner(owner); });
  });
  client_watch_.emplace(bus, ClientName(), [this](const std::string& owner) {
    Handle([owned = !owner.empty()](LaunchWait& wait) { wait.OnClientName(owned); });
  });
}

// "600 NUV_LAUNCH_RESULT_LAUNCHED: the application was started"
std::string Describe(int number) {
  const Meaning* meaning = FindMeaning(number);
  if (meaning == nullptr) return std::to_string(number) + " (a number without a name)";
  return std::to_string(number) + " " + meaning->name + ": " + meaning->text;
}

std::string Describe(const LaunchReport& report) {
  if (report.shape == CallbackShape::kPlain) return "result " + Describe(report.result);
  const std::string status = report.result != 0 ? ", status " + Describe(report.result) : "";
  return "event " + Describe(report.event) + status;
}

Fields FieldsOf(const std::optional<int>& number) {
  const Meaning* meaning = number ? FindMeaning(*number) : nullptr;
  Fields fields = {{"code", nullptr}, {"name", nullptr}, {"meaning", nullptr}};
  if (number) fields["code"] = *number;
  if (meaning != nullptr) {
    fields["name"] = meaning->name;
    fields["meaning"] = meaning->text;
  }
  return fields;
}

Fields FieldsOf(const LaunchReport& report) {
  const bool plain = report.shape == CallbackShape::kPlain;
  Fields fields = {{"app", report.app_id}};
  fields.Update(FieldsOf(std::optional(plain ? report.result : report.event)));
  fields["result"] = plain ? Value() : Value(report.result);
  return fields;
}

Report MakeReport(const LaunchSession& session, const Conclusion& end, Fields details) {
  List events;
  for (const LaunchReport& event : session.reports()) events.emplace_back(FieldsOf(event));
  Report report;
  report.outcome = end.outcome;
  report.details = std::move(details);
  report.details.Update(FieldsOf(end.code));
  report.details["events"] = std::move(events);
  const std::string why = end.code ? Describe(*end.code) : end.reason;
  const std::string line = WordOf(end.outcome) + (why.empty() || why == WordOf(end.outcome) ? "" : ": " + why);
  (ExitStatusOf(end.outcome) == 0 ? report.text : report.error) = line;
  return report;
}

}  // namespace

Argument PayloadOption() {
  return Option("--payload", "TEXT", "Launch payload for the application");
}

Argument LaunchCallerOption() {
  return Option("--caller", "ID", "Id of the caller").From(Live::kAppIds);
}

Argument WaitOption(const char* otherwise) {
  return Option("--wait", "SECONDS",
                std::string("Wait for the result of the launch, so long at most (default ") + otherwise + ")")
      .Seconds();
}

Argument NoWaitFlag() {
  return Flag("--no-wait", "End as soon as the service has accepted the request").Excludes({"--wait"});
}

Report RunLaunchTask(const Values& values, LaunchTask task, Fields details) {
  LaunchSession::Listener listener;
  listener.on_undecided = [json = values.Flag("--json")](const LaunchReport& report) {
    if (!json) PrintLine(Describe(report));
  };
  listener.on_hopeless = [](const std::string& why) { PrintError(why); };
  LaunchSession::Limits limits;
  limits.answer_ms = values.Milliseconds("--timeout");
  if (!values.Flag("--no-wait")) limits.result_ms = values.Milliseconds("--wait").value_or(task.wait_ms);
  LaunchSession session(limits, std::move(listener));
  const Conclusion end = session.Run(std::move(task));
  // The service waits for an answer to its result, which the process must not take with it.
  if (ExitStatusOf(end.outcome) == 0) FlushServiceTalk();
  return MakeReport(session, end, std::move(details));
}
