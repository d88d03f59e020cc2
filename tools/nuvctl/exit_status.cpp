#include "exit_status.h"

#include <iomanip>
#include <sstream>

namespace {

struct OutcomeRow {
  Outcome outcome;
  const char* word;
  int status;
};

constexpr OutcomeRow kOutcomes[] = {
    {Outcome::kDone, "done", 0},          {Outcome::kAccepted, "accepted", 0},
    {Outcome::kLaunched, "launched", 0},  {Outcome::kFailed, "failed", 1},
    {Outcome::kUsage, "usage error", 2},  {Outcome::kNotFound, "not found", 3},
    {Outcome::kTimedOut, "timed out", 4}, {Outcome::kServiceGone, "service gone", 5},
    {Outcome::kBusGone, "bus gone", 6},   {Outcome::kInterrupted, "interrupted", 130},
};

struct StatusRow {
  int status;
  const char* meaning;
};

constexpr StatusRow kStatuses[] = {
    {0, "done, accepted or launched"},
    {1, "failed"},
    {2, "the command line is wrong"},
    {3, "not found"},
    {4, "timed out"},
    {5, "the service is gone or not reachable"},
    {6, "the bus is gone or not reachable"},
    {130, "interrupted"},
};

const OutcomeRow& RowOf(Outcome outcome) {
  for (const OutcomeRow& row : kOutcomes) {
    if (row.outcome == outcome) return row;
  }
  return kOutcomes[static_cast<int>(Outcome::kFailed)];
}

}  // namespace

int ExitStatusOf(Outcome outcome) {
  return RowOf(outcome).status;
}

const char* WordOf(Outcome outcome) {
  return RowOf(outcome).word;
}

std::string ExitStatusHelp() {
  std::ostringstream help;
  help << "Exit status:\n";
  for (const StatusRow& row : kStatuses) help << std::setw(5) << row.status << "  " << row.meaning << "\n";
  return help.str();
}
