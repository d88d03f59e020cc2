// What the calls of every exported function work on: a catalogue, a service, running applications, and the arguments.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "exported_functions.h"
#include "private_bus.h"

class World {
 public:
  World();

  // Everything as it was before the first call, but for what is written into the catalogue.
  void Renew();
  // What the last call handed out.
  std::string HandedOut() const { return std::to_string(failures_told) + "|" + arguments->HandedOut(); }
  // What the last call asked of the service, probes and the numbers that differ from call to call aside.
  std::vector<std::string> Asked() const;
  RecordingService& service() { return *service_; }
  // The bus ends and comes back, and the service with it.
  void LoseBus();

  // Of the last call.
  int failures_told = 0;  // to its callback
  std::optional<Arguments> arguments;

 private:
  void StartService();

  AppDatabase database_;
  PrivateBus bus_;
  std::unique_ptr<RecordingService> service_;
};
