#include "launch_session.h"

#include <glib-unix.h>
#include <signal.h>

#include <thread>
#include <utility>

#include "app_choice.h"
#include "diagnose.h"
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

// A title that is not found is no request.
Diagnosis DiagnoseLaunch(const LaunchFunction& function, const LaunchArguments& arguments) {
  const auto not_found = function.choice.by_title ? WhyTitleNotFound(arguments.app) : std::nullopt;
  return not_found ? *not_found : DiagnoseFailure();
}

Conclusion WhyNotAccepted(const LaunchFunction& function, const LaunchArguments& arguments, int status) {
  if (status == NUV_LAUNCH_STATUS_TIMED_OUT) return {Outcome::kTimedOut, status, ""};
  Diagnosis diagnosis = DiagnoseLaunch(function, arguments);
  return {diagnosis.outcome, std::nullopt, std::move(diagnosis.message)};
}

// May block for as long as the library's calls may.
void Launch(const LaunchFunction& function, const LaunchArguments& arguments) {
  t_in_flight = {true, 0};
  const int result = function.call(arguments);
  t_in_flight.active = false;
  auto* session = static_cast<LaunchSession*>(arguments.user_data);
  if (result == 0) return LaunchSession::Post(session, [](LaunchWait& wait) { wait.OnAccepted(); });
  LaunchSession::Post(session, [why = WhyNotAccepted(function, arguments, t_in_flight.status)](LaunchWait& wait) {
    wait.OnNotAccepted(why);
  });
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
      loop_(g_main_loop_new(nullptr, FALSE)),
      connecting_(g_cancellable_new()) {}

LaunchSession::~LaunchSession() {
  g_cancellable_cancel(connecting_.get());
  if (signal_source_ != 0) g_source_remove(signal_source_);
  if (closed_handler_ != 0) g_signal_handler_disconnect(bus_.get(), closed_handler_);
}

Conclusion LaunchSession::Run(const LaunchFunction& function, LaunchArguments arguments) {
  signal_source_ = g_unix_signal_add(SIGINT, OnSignal, this);
  arguments.on_event = OnWebAppEvent;
  arguments.on_result = OnPlainResult;
  arguments.user_data = this;
  launch_ = [&function, arguments = std::move(arguments)] { Launch(function, arguments); };
  if (wait_seconds_) {
    deadline_.Start(static_cast<unsigned>(*wait_seconds_ * 1000),
                    [this] { Handle([](LaunchWait& wait) { wait.OnDeadline(); }); });
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

// The launch starts under watch only: what happens to the bus or the service from then on is seen. Asynchronous, as a
// bus that hangs must not hold up the deadline.
void LaunchSession::ConnectToBus() {
  const TextOwner address = SystemBusAddress();
  if (address == nullptr) return PostNoBus();
  g_dbus_connection_new_for_address(address.get(), kBusConnection, nullptr, connecting_.get(), OnConnected, this);
}

void LaunchSession::PostNoBus() {
  Post(this, [why = BusUnreachable()](LaunchWait& wait) { wait.OnNotAccepted({why.outcome, {}, why.message}); });
}

void LaunchSession::OnConnected(GObject*, GAsyncResult* result, gpointer session) {
  ConnectionOwner bus(g_dbus_connection_new_for_address_finish(result, nullptr));
  auto* self = static_cast<LaunchSession*>(session);
  if (bus == nullptr) return self->PostNoBus();
  self->WatchBus(std::move(bus));
  self->StartLaunch();
}

void LaunchSession::WatchBus(ConnectionOwner bus) {
  bus_ = std::move(bus);
  closed_handler_ = g_signal_connect(bus_.get(), "closed", G_CALLBACK(OnClosed), this);
  // A connection that is gone already tells nothing any more.
  if (g_dbus_connection_is_closed(bus_.get())) return Handle([](LaunchWait& wait) { wait.OnBusClosed(); });
  service_watch_.emplace(bus_.get(), ServiceName(), [this](bool present) {
    Handle([present](LaunchWait& wait) { wait.OnServiceOwner(present); });
  });
  client_watch_.emplace(bus_.get(), ClientName(),
                        [this](bool owned) { Handle([owned](LaunchWait& wait) { wait.OnClientName(owned); }); });
}

gboolean LaunchSession::OnSignal(gpointer session) {
  static_cast<LaunchSession*>(session)->Handle([](LaunchWait& wait) { wait.OnInterrupt(); });
  return G_SOURCE_CONTINUE;
}

void LaunchSession::OnClosed(GDBusConnection*, gboolean, GError*, gpointer session) {
  static_cast<LaunchSession*>(session)->Handle([](LaunchWait& wait) { wait.OnBusClosed(); });
}
