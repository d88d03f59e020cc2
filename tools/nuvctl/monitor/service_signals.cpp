#include "monitor/service_signals.h"

#include <utility>

#include "bus/system_bus.h"
#include "command/guard.h"

namespace {

// Follows what the service tells about itself until something ends it.
class WatchSession {
 public:
  using Show = std::function<bool(const WatchLine&)>;  // false ends the session

  explicit WatchSession(Show show) : show_(std::move(show)), loop_(g_main_loop_new(nullptr, FALSE)) {}
  WatchSession(const WatchSession&) = delete;
  WatchSession& operator=(const WatchSession&) = delete;

  // Until the user ends it, or the time is over where there is one, or the bus is gone.
  Diagnosis Run(std::optional<unsigned> limit_ms);

 private:
  void ConnectToBus();
  void Follow(GDBusConnection* bus);
  void OnService(bool present);
  void Tell(const WatchLine& line);
  void End(const Diagnosis& end);

  const Show show_;
  GlibOwner<GMainLoop> loop_;
  Timer time_;
  std::optional<LiveBus> bus_;
  std::optional<SignalWatch> signals_;
  std::optional<NameWatch> service_;
  std::optional<bool> service_present_;
  std::optional<Diagnosis> end_;
};

Diagnosis WatchSession::Run(std::optional<unsigned> limit_ms) {
  const InterruptHandler handler([this] { InMainLoop([this] { End({Outcome::kDone, ""}); }); });
  if (limit_ms) time_.Start(*limit_ms, [this] { End({Outcome::kDone, ""}); });
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
  service_.emplace(bus, kSimulatorName, [this](const std::string& owner) { OnService(!owner.empty()); });
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

}  // namespace

Diagnosis FollowSignals(const std::function<bool(const WatchLine&)>& show, std::optional<unsigned> limit_ms) {
  return WatchSession(show).Run(limit_ms);
}
