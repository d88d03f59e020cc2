// The bus and the service as they come and go, and what a simulator tells of itself.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "bus/system_bus.h"
#include "glib_handles.h"
#include "server/browsers.h"
#include "tv/lane.h"

namespace home {

class Tv {
 public:
  struct Listener {
    std::function<void(const Json&)> on_state;
    std::function<void()> on_service_gone;
    std::function<void()> on_bus_gone;
    std::function<void(const std::string& signal, GVariant* arguments)> on_signal;  // of a simulator
    std::function<void(bool)> on_simulator;
  };

  // There is one for the life of the process. Tells from the main loop.
  explicit Tv(Listener listener);
  ~Tv() = delete;

  // "bus", "service" and "simulator" are there or not; "warning" is empty or says what is strange.
  Json State() const;

  // A call of the simulator's own interface. Null where there is no bus or no such service; the reply is told on the
  // main loop, with an error in words where it failed.
  using Replied = std::function<void(GVariant* reply, const std::string& error)>;
  void CallSimulator(const char* method, GVariant* arguments, Replied replied) const;

 private:
  void Connect();
  void OnConnected(GDBusConnection* bus);
  void OnBusGone();
  void OnOwner(const std::string& owner);
  void OnSimulatorOwner(const std::string& owner);
  void AskWhatItIs();
  void Tell();

  const Listener listener_;
  Lane lane_{16};
  Timer retry_;
  std::unique_ptr<LiveBus> link_;
  GDBusConnection* bus_ = nullptr;  // the link's
  std::unique_ptr<NameWatch> service_watch_;
  std::unique_ptr<NameWatch> simulator_watch_;
  std::unique_ptr<SignalWatch> signals_;
  bool service_ = false;
  bool simulator_ = false;
  unsigned owners_ = 0;  // so many were seen
  std::string warning_;
  Json told_;
};

}  // namespace home
