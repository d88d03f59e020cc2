// Follows what the service tells about itself until something ends it.
#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "diagnose.h"
#include "live_bus.h"
#include "name_watch.h"
#include "signal_watch.h"
#include "watch_lines.h"

class WatchSession {
 public:
  using Show = std::function<bool(const WatchLine&)>;  // false ends the session

  explicit WatchSession(Show show) : show_(std::move(show)), loop_(g_main_loop_new(nullptr, FALSE)) {}
  ~WatchSession();
  WatchSession(const WatchSession&) = delete;
  WatchSession& operator=(const WatchSession&) = delete;

  // Until the user ends it, or the time is over where there is one, or the bus is gone.
  Diagnosis Run(std::optional<double> seconds);

 private:
  void ConnectToBus();
  void Follow(GDBusConnection* bus);
  void OnService(bool present);
  void Tell(const WatchLine& line);
  void End(const Diagnosis& end);

  static gboolean OnEndSignal(gpointer session);

  const Show show_;
  GlibOwner<GMainLoop> loop_;
  std::vector<guint> end_signals_;
  Timer time_;
  std::optional<LiveBus> bus_;
  std::optional<SignalWatch> signals_;
  std::optional<NameWatch> service_;
  std::optional<bool> service_present_;
  std::optional<Diagnosis> end_;
};
