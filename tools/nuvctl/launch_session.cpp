#include "launch_session.h"

#include <glib-unix.h>
#include <signal.h>

#include <thread>
#include <utility>

#include "diagnose.h"
#include "seconds_option.h"
#include "system_bus.h"

namespace {

constexpr unsigned kGraceMs = 100;
constexpr unsigned kClientNameTimeMs = 1000;

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
  t_in_flight = {true, 0};
  const int result = task.call({OnWebAppEvent, OnPlainResult, session});
  t_in_flight.active = false;
  if (result == 0) return LaunchSession::Post(session, [](LaunchWait& wait) { wait.OnAccepted(); });
  LaunchSession::Post(session,
                      [why = WhyNotAccepted(task, t_in_flight.status)](LaunchWait& wait) { wait.OnNotAccepted(why); });
}

struct Letter {
  LaunchSession* session;
  LaunchSession::Event event;
};

}  // namespace

LaunchSession::LaunchSession(std::optional<double> wait_seconds, Listener listener)
    : wait_seconds_(wait_seconds),
      listener_(std::move(listener)),
      wait_(wait_seconds.has_value()),
      loop_(g_main_loop_new(nullptr, FALSE)) {}

LaunchSession::~LaunchSession() {
  if (signal_source_ != 0) g_source_remove(signal_source_);
}

Conclusion LaunchSession::Run(LaunchTask task) {
  signal_source_ = g_unix_signal_add(SIGINT, OnSignal, this);
  launch_ = [this, task = std::move(task)] { Launch(task, this); };
  if (wait_seconds_) {
    deadline_.Start(Milliseconds(*wait_seconds_), [this] { Handle([](LaunchWait& wait) { wait.OnDeadline(); }); });
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

// The session is looked at on the main thread only, and only while the loop runs: a late event is never dispatched.
void LaunchSession::Post(LaunchSession* session, Event event) {
  g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer data) -> gboolean {
        const auto* letter = static_cast<Letter*>(data);
        letter->session->Handle(letter->event);
        return G_SOURCE_REMOVE;
      },
      new Letter{session, std::move(event)}, [](gpointer data) { delete static_cast<Letter*>(data); });
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
  service_watch_.emplace(bus, ServiceName(), [this](bool present) {
    Handle([present](LaunchWait& wait) { wait.OnServiceOwner(present); });
  });
  client_watch_.emplace(bus, ClientName(),
                        [this](bool owned) { Handle([owned](LaunchWait& wait) { wait.OnClientName(owned); }); });
}

gboolean LaunchSession::OnSignal(gpointer session) {
  static_cast<LaunchSession*>(session)->Handle([](LaunchWait& wait) { wait.OnInterrupt(); });
  return G_SOURCE_CONTINUE;
}
