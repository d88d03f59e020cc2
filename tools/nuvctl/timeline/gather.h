// Makes a time line of a recording, entry by entry.
#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <map>
#include <set>
#include <utility>

#include "recording/format.h"
#include "timeline/model.h"

namespace timeline {

class Gatherer {
 public:
  explicit Gatherer(const Cut& cut) : cut_(cut) {}

  void Add(const recording::Entry& entry);

  // Of what was added so far.
  Timeline Finish() const;

 private:
  struct Process {
    std::int64_t pid = 0;
    std::string program;
  };
  using Request = std::pair<std::string, guint32>;  // who sent it, with which serial
  using Launch = std::pair<std::string, int>;       // which object waits, under which number

  void AddOwner(Micros time, const std::string& name, const std::string& owner);
  void AddMessage(Micros time, GDBusMessage* message);
  void AddLost(const recording::Entry& entry);
  void AddTrouble(Micros time, size_t lane, std::string what);
  bool Wanted(Micros time);
  size_t LaneOf(const std::string& connection);
  size_t BusLane();
  void AddCall(Micros time, GDBusMessage* message);
  void AddAnswer(Micros time, GDBusMessage* message);
  void AddSignal(Micros time, GDBusMessage* message);
  void AddResult(Micros time, GDBusMessage* message, size_t delivery);
  size_t ReceiverOf(const std::string& object, const std::string& destination);

  const Cut cut_;
  Micros last_ = 0;
  std::map<std::string, Process> clients_;
  std::map<std::string, std::string> owners_;
  std::set<std::string> services_;  // connections that own or owned a name of the service
  std::map<std::string, size_t> lane_of_;
  std::map<Request, size_t> unanswered_;        // bars
  std::map<Launch, size_t> launches_;           // bars
  std::map<std::string, std::string> objects_;  // who is behind a name such as obj1234
  Timeline all_;
};

}  // namespace timeline
