// Every message between the service and its clients, as the bus shows it to a monitor.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "monitor/recent.h"
#include "monitor/wire.h"
#include "recording/format.h"

class Monitor {
 public:
  using Sink = std::function<bool(const recording::Entry&)>;  // false ends it

  enum class End {
    kStopped,
    kTimeOver,
    kNoBus,    // it was never reached
    kRefused,  // the bus shows nothing to this user; Problem() has its own words
    kBusGone,  // it was reached
    kSinkEnded
  };

  struct Plan {
    Deadline deadline;
    bool reconnect = false;
  };

  Monitor(const Stop& stop, const Plan& plan, Sink sink);

  // Once it has succeeded, the bus keeps each message for this monitor. Otherwise why not.
  std::optional<End> Start();
  void EndAt(const Deadline& deadline) { plan_.deadline = deadline; }

  // Tells the owners of the service's names, and then each message until the end.
  End Run();

  std::int64_t Elapsed() const;  // microseconds since the start
  const std::string& Problem() const { return problem_; }

 private:
  struct Connection {
    std::uint32_t first_call = 0;  // serial of the first one that was seen
    bool from_its_start = false;
    bool told = false;  // to the sink, who it is
    recording::Entry client;
  };
  using Call = std::pair<std::string, std::uint32_t>;  // caller and serial

  std::optional<End> ConnectOnce();
  std::optional<End> Reconnect();
  End Drain(End end);
  std::optional<End> Follow();  // until the connection is closed
  bool TellOwners();
  bool TellOwner(const std::string& name, const std::string& owner);
  bool Take(WireMessage& message);
  bool TakeNameOwnerChanged(WireMessage& message);
  bool TakeCall(WireMessage& message);
  bool TakeReply(WireMessage& message);
  bool Tell(WireMessage& message);
  bool TellClient(const std::string& name);
  bool TellLeft(const std::string& name);
  bool TellLost(std::uint64_t count, const std::string& sender);
  bool Give(recording::Entry entry);
  void Learn(const std::string& name);

  const Stop& stop_;
  Plan plan_;
  const Sink sink_;
  const std::chrono::steady_clock::time_point start_;
  std::unique_ptr<Wire> wire_;
  ConnectionOwner asking_;  // an ordinary connection: a monitor may ask nothing
  std::map<std::string, std::string> owners_;
  Recent<std::string, Connection> connections_;
  Recent<Call, bool> open_calls_;
  std::int64_t now_ = 0;  // when what is told happened
  std::string problem_;
};
