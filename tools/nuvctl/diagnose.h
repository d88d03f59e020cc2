// Why a request failed, as far as the bus can tell: the library's functions only say that it did.
#pragma once

#include <optional>
#include <string>

#include "report.h"

struct Diagnosis {
  Outcome outcome = Outcome::kFailed;
  std::string message;
};

// The report of what has failed for that reason.
Report ReportOf(const Diagnosis& diagnosis, nlohmann::ordered_json details = nlohmann::ordered_json::object());

Diagnosis BusUnreachable();

// Both ask the bus, over a connection of their own, and take a few seconds at most. The first tells why no request can
// reach the service, or nothing where it runs or can be started; the second why one that was made has failed.
std::optional<Diagnosis> WhyOutOfReach();
Diagnosis DiagnoseFailure();
