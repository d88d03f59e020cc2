// nuvctl explain
#include "obstacles/explain.h"

#include "command/verb.h"
#include "records/record_fields.h"
#include "report/terminal.h"
#include "report/text.h"

namespace explain_verb {
namespace {

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

const std::vector<FieldColumn>& Columns() {
  constexpr size_t kWhole = FieldColumn::kUnlimited;
  static const std::vector<FieldColumn> columns = {
      {"STOPS", "stops"}, {"REASON", "reason"}, {"MEANING", "meaning", kWhole, 0, true}};
  return columns;
}

std::string TextOf(const Explanation& explanation, bool wide) {
  std::string text;
  if (!explanation.reasons.empty()) {
    List rows;
    for (const Reason& reason : explanation.reasons) {
      rows.emplace_back(Fields{{"stops", Joined(StopsOf(reason))},
                               {"reason", reason.obstacle.key},
                               {"meaning", reason.obstacle.why.message}});
    }
    text = RecordTable(rows, Columns(), wide ? std::nullopt : TerminalColumns()) + "\n\n";
  }
  text += explanation.lookup_finds ? "a lookup finds it\n" : "a lookup does not find it\n";
  return text + LaunchWords(explanation.launch_goes_ahead);
}

List ReasonList(const std::vector<Reason>& reasons) {
  List list;
  for (const Reason& reason : reasons) {
    list.emplace_back(Fields{
        {"reason", reason.obstacle.key}, {"stops", ListOf(StopsOf(reason))}, {"meaning", reason.obstacle.why.message}});
  }
  return list;
}

// What is met first decides the exit status.
const Reason* FirstStop(const Explanation& explanation) {
  for (const Reason& reason : explanation.reasons) {
    if (reason.stops_lookup || reason.stops_launch) return &reason;
  }
  return nullptr;
}

Report ExplainApp(const Values& values) {
  const Explanation explanation = Explain(values.Text("ID"));
  Report report;
  if (const Reason* stop = FirstStop(explanation)) report = ReportOf(stop->obstacle.why);
  report.text = TextOf(explanation, values.Flag("--wide"));
  report.details = {{"app", values.Text("ID")},
                    {"lookup", explanation.lookup_finds},
                    {"launch", explanation.launch_goes_ahead ? Value(*explanation.launch_goes_ahead) : Value()},
                    {"reasons", ReasonList(explanation.reasons)}};
  return report;
}

const RegisteredVerb kExplain({"explain",
                               Group::kDiagnosis,
                               "Tell why a lookup or a launch of an application fails",
                               {AppPosition("Application to explain: its id, kelvo id or package name").Required(),
                                WideFlag()},
                               ExplainApp},
                              Sides::kBoth);

}  // namespace
}  // namespace explain_verb
