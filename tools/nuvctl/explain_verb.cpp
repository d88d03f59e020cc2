#include "explain_verb.h"

#include <CLI/CLI.hpp>

#include "explain.h"
#include "table.h"

namespace {

using Json = nlohmann::ordered_json;

struct Stop {
  bool Reason::*stops;
  const char* what;
};

constexpr Stop kStops[] = {
    {&Reason::stops_lookup, "lookup"},
    {&Reason::stops_launch, "launch"},
    {&Reason::stops_list, "list"},
};

std::vector<std::string> StopsOf(const Reason& reason) {
  std::vector<std::string> stops;
  for (const Stop& stop : kStops) {
    if (reason.*stop.stops) stops.emplace_back(stop.what);
  }
  return stops;
}

const char* LaunchWords(const std::optional<bool>& goes_ahead) {
  if (!goes_ahead) return "only the service can tell what becomes of a launch";
  return *goes_ahead ? "a launch is accepted" : "a launch does not succeed";
}

std::string TextOf(const Explanation& explanation) {
  std::string text;
  if (!explanation.reasons.empty()) {
    std::vector<std::vector<std::string>> rows = {{"STOPS", "REASON", "MEANING"}};
    for (const Reason& reason : explanation.reasons) {
      rows.push_back({CLI::detail::join(StopsOf(reason), ", "), reason.obstacle.key, reason.obstacle.why.message});
    }
    text = FormatTable(rows) + "\n\n";
  }
  text += explanation.lookup_finds ? "a lookup finds it\n" : "a lookup does not find it\n";
  return text + LaunchWords(explanation.launch_goes_ahead);
}

Json ReasonsJson(const Explanation& explanation) {
  Json reasons = Json::array();
  for (const Reason& reason : explanation.reasons) {
    reasons.push_back(
        {{"reason", reason.obstacle.key}, {"stops", StopsOf(reason)}, {"meaning", reason.obstacle.why.message}});
  }
  return reasons;
}

// What is met first decides the exit status.
const Reason* FirstStop(const Explanation& explanation) {
  for (const Reason& reason : explanation.reasons) {
    if (reason.stops_lookup || reason.stops_launch) return &reason;
  }
  return nullptr;
}

}  // namespace

void AddExplainArguments(CLI::App& command, Options& options) {
  command.add_option("ID", options.app_id, "Application to explain: its id, kelvo id or package name")->required();
}

Report RunExplain(const Options& options) {
  const Explanation explanation = Explain(options.app_id);
  Report report;
  if (const Reason* stop = FirstStop(explanation)) report = ReportOf(stop->obstacle.why);
  report.text = TextOf(explanation);
  report.details = {{"app", options.app_id},
                    {"lookup", explanation.lookup_finds},
                    {"launch", explanation.launch_goes_ahead ? Json(*explanation.launch_goes_ahead) : Json()},
                    {"reasons", ReasonsJson(explanation)}};
  return report;
}
