// One launch through the library, with all that can happen to it brought to the main thread.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "glib_handles.h"
#include "launch_task.h"
#include "launch_wait.h"
#include "live_bus.h"
#include "name_watch.h"

class LaunchSession {
 public:
  struct Listener {
    std::function<void(const LaunchReport&)> on_undecided;  // a report after which the wait goes on
    std::function<void(const std::string&)> on_hopeless;    // the wait is in vain, and why
  };

  // Without a number of seconds to wait, acceptance is the end.
  LaunchSession(std::optional<double> wait_seconds, Listener listener);
  ~LaunchSession();
  LaunchSession(const LaunchSession&) = delete;
  LaunchSession& operator=(const LaunchSession&) = delete;

  // Launches and returns at the end of it. The launch itself may still be blocked in the library then.
  Conclusion Run(LaunchTask task);

  const std::vector<LaunchReport>& reports() const { return wait_.reports(); }

  // For the threads that have something to tell; the event is handled on the main thread.
  using Event = std::function<void(LaunchWait&)>;
  static void Post(LaunchSession* session, Event event);

 private:
  void Handle(const Event& event);
  void ArmTimers();
  void TellListener();
  void StartLaunch();
  void ConnectToBus();
  void WatchBus(GDBusConnection* bus);

  static gboolean OnSignal(gpointer session);

  const std::optional<double> wait_seconds_;
  const Listener listener_;
  LaunchWait wait_;
  std::function<void()> launch_;
  size_t reports_told_ = 0;
  bool hopeless_told_ = false;
  GlibOwner<GMainLoop> loop_;
  std::optional<LiveBus> bus_;
  std::optional<NameWatch> service_watch_;
  std::optional<NameWatch> client_watch_;
  guint signal_source_ = 0;
  Timer deadline_;
  Timer grace_;
  Timer client_name_time_;
};
