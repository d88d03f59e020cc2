// What answers the calls that arrive on the bus: the service, or a recording of one.
#pragma once

#include <string>

#include "bus_link.h"

namespace simulator {

class Backend {
 public:
  virtual ~Backend() = default;

  // Called once, when it is sure that no other service is on the bus and before anybody can call. May throw.
  virtual CallHandler& Prepare() = 0;
  virtual BusLink::About About() const = 0;

  // What it answers from, for the line of the start.
  virtual std::string Describe() const = 0;

  // Nobody can call any more.
  virtual void ShutDown() = 0;
};

}  // namespace simulator
