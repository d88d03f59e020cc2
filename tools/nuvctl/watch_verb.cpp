#include "watch_verb.h"

#include <CLI/CLI.hpp>
#include <cstdio>

#include "seconds_option.h"
#include "text.h"
#include "watch_session.h"

namespace {

bool CanBeWritten() {
  return std::ferror(stdout) == 0;
}

}  // namespace

void AddWatchArguments(CLI::App& command, Options& options) {
  AddSecondsOption(command, "--for", options.watch_seconds, "End after so long (default: when interrupted)");
}

Report RunWatch(const Options& options) {
  WatchSession session([&options](const WatchLine& line) {
    PrintLine(Print(line, options.json));
    return CanBeWritten();
  });
  const Diagnosis end = session.Run(options.watch_seconds);
  return end.outcome == Outcome::kDone ? Report() : ReportOf(end);
}
