#include "monitor/monitor_end.h"

#include "report/text.h"

Diagnosis DiagnosisOf(Monitor::End end, const std::string& problem) {
  switch (end) {
    case Monitor::End::kNoBus:
      return BusUnreachable();
    case Monitor::End::kRefused:
      return {Outcome::kFailed, "the bus does not show its messages: " + Printable(problem)};
    case Monitor::End::kBusGone:
      return {Outcome::kBusGone, "the connection to the system bus broke"};
    case Monitor::End::kStopped:
    case Monitor::End::kTimeOver:
    case Monitor::End::kSinkEnded:
      break;
  }
  return {Outcome::kDone, ""};
}

const char* ReasonOf(Monitor::End end) {
  switch (end) {
    case Monitor::End::kTimeOver:
      return "time is over";
    case Monitor::End::kNoBus:
    case Monitor::End::kRefused:
    case Monitor::End::kBusGone:
      return "bus gone";
    case Monitor::End::kStopped:
    case Monitor::End::kSinkEnded:
      break;
  }
  return "interrupted";
}
