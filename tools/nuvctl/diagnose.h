// Why a request failed, as far as the bus can tell: the library's functions only say that it did.
#pragma once

#include <string>

#include "exit_status.h"

struct Diagnosis {
  Outcome outcome = Outcome::kFailed;  // kFailed, kServiceGone or kBusGone
  std::string message;
};

Diagnosis BusUnreachable();

// Asks the bus, over a connection of its own; takes a few seconds at most.
Diagnosis DiagnoseFailure();
