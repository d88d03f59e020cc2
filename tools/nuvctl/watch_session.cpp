#include "watch_session.h"

#include <glib-unix.h>
#include <signal.h>

#include <utility>

#include "seconds_option.h"
#include "system_bus.h"

WatchSession::~WatchSession() {
  for (const guint source : end_signals_) g_source_remove(source);
}

Diagnosis WatchSession::Run(std::optional<double> seconds) {
  for (const int number : {SIGINT, SIGTERM}) end_signals_.push_back(g_unix_signal_add(number, OnEndSignal, this));
  if (seconds) time_.Start(Milliseconds(*seconds), [this] { End({Outcome::kDone, ""}); });
  ConnectToBus();
  g_main_loop_run(loop_.get());
  return *end_;
}

void WatchSession::ConnectToBus() {
  LiveBus::Listener listener;
  listener.on_connected = [this](GDBusConnection* bus) { Follow(bus); };
  listener.on_unreachable = [this] { End(BusUnreachable()); };
  listener.on_closed = [this] { End({Outcome::kBusGone, "the connection to the system bus broke"}); };
  bus_.emplace(std::move(listener));
}

// The signals first: whoever is told that the service is there may rely on seeing what it does.
void WatchSession::Follow(GDBusConnection* bus) {
  signals_.emplace(bus, SignalSource{kSimulatorName, kSimulatorPath, kSimulatorInterface},
                   [this](const char* signal, GVariant* arguments) {
                     if (const auto line = LineOfSignal(signal, arguments)) Tell(*line);
                   });
  service_.emplace(bus, kSimulatorName, [this](bool present) { OnService(present); });
}

// That it is there may be heard twice at the beginning, as an answer and as a change.
void WatchSession::OnService(bool present) {
  if (service_present_ == present) return;
  service_present_ = present;
  Tell(LineOfService(present));
}

void WatchSession::Tell(const WatchLine& line) {
  if (end_) return;
  if (!show_(line)) End({Outcome::kDone, ""});
}

void WatchSession::End(const Diagnosis& end) {
  if (!end_) end_ = end;
  g_main_loop_quit(loop_.get());
}

gboolean WatchSession::OnEndSignal(gpointer session) {
  static_cast<WatchSession*>(session)->End({Outcome::kDone, ""});
  return G_SOURCE_CONTINUE;
}
