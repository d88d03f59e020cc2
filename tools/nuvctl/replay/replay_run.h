// A recording sent once more, and what is different this time.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "report/report.h"

struct ReplayPlan {
  std::string file;
  double speed = 1;  // 0: without delays
  unsigned timeout_ms = 0;
};

// What the service said then and what it says now, in words; nothing where it did not.
struct Difference {
  std::string place;   // "FILE:LINE" of what was recorded; of the file where there was nothing
  std::string client;  // of the recording
  std::string call;    // that it is about
  std::optional<std::string> recorded;
  std::optional<std::string> now;
};

// Sends the recording's calls to the service, and hands over each difference when it is known.
Report Replay(const ReplayPlan& plan, const std::function<void(const Difference&)>& differs);
