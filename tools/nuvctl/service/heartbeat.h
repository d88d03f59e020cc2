// A heartbeat of the service, and the time that its answer took.
#pragma once

#include <optional>

#include "glib_handles.h"
#include "obstacles/obstacles.h"

// The time that the answer took, or why there was none.
struct Heartbeat {
  std::optional<int> microseconds;
  Diagnosis failure;
};

// Starts no service.
Heartbeat SendHeartbeat(GDBusConnection* bus, unsigned timeout_ms, GCancellable* cancellable = nullptr);
