// nuvctl watch
#include <chrono>
#include <cstdio>
#include <optional>

#include "command/guard.h"
#include "command/verb.h"
#include "monitor/line_options.h"
#include "monitor/monitor.h"
#include "monitor/monitor_end.h"
#include "monitor/service_signals.h"
#include "report/text.h"

namespace watch_verb {
namespace {

// Of the time, what is left of it.
std::optional<unsigned> MillisecondsTo(const Deadline& deadline) {
  if (!deadline) return std::nullopt;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - std::chrono::steady_clock::now()).count();
  return left > 0 ? static_cast<unsigned>(left) : 0;
}

Diagnosis WatchSignals(const Values& values, const Deadline& deadline, const std::string& why) {
  PrintError("the bus does not show its messages (" + Printable(why) +
             "): only what the service tells of itself follows");
  const bool json = values.Flag("--json");
  const auto show = [json](const WatchLine& line) {
    PrintLine(Print(line, json));
    return std::ferror(stdout) == 0;
  };
  return FollowSignals(show, MillisecondsTo(deadline));
}

Report Watch(const Values& values) {
  const Stop stop;
  Monitor::Plan plan = {std::nullopt, values.Flag("--reconnect")};
  if (const auto limit = values.Milliseconds("--for")) {
    plan.deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(*limit);
  }
  MessageLines lines(recording::Now(), FilterOf(values), FormOf(values));
  Diagnosis end;
  std::optional<std::string> refused;
  {
    const InterruptHandler handler([&stop] { stop.Set(); });
    Monitor monitor(stop, plan, [&lines](const recording::Entry& entry) { return PrintLineOf(lines, entry); });
    const std::optional<Monitor::End> failed = monitor.Start();
    if (failed == Monitor::End::kRefused) refused = monitor.Problem();
    if (!refused) end = DiagnosisOf(failed ? *failed : monitor.Run(), monitor.Problem());
  }
  if (refused) end = WatchSignals(values, plan.deadline, *refused);
  return end.outcome == Outcome::kDone ? Report() : ReportOf(end);
}

const RegisteredVerb kWatch(
    {"watch",
     Group::kDiagnosis,
     "Show what passes between programs and the service, line by line",
     WithLineOptions({Option("--for", "SECONDS", "End after so long (default: when interrupted)").Seconds(),
                      Flag("--reconnect", "Go on when the bus was gone and is back")}),
     Watch,
     {},
     CheckLineOptions});

}  // namespace
}  // namespace watch_verb
