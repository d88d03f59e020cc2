// nuvctl doctor
#include "command/verb.h"
#include "doctor/examination.h"
#include "report/terminal.h"
#include "report/text.h"

namespace doctor_verb {
namespace {

constexpr unsigned kDefaultTimeoutMs = 2000;

constexpr char kStart[] = "--start";

struct Row {
  const char* name;
  Finding finding;
};

std::vector<Row> Examine(const Values& values) {
  Examination examination(values.Milliseconds("--timeout").value_or(kDefaultTimeoutMs), values.Flag(kStart));
  std::vector<Row> rows;
  for (const Check& check : AllChecks()) rows.push_back({check.name, Carry(check, examination)});
  return rows;
}

std::string TextOf(const std::vector<Row>& rows) {
  std::vector<std::vector<std::string>> cells;
  for (const auto& [name, finding] : rows) {
    const std::string mend = finding.mend.empty() ? "" : " -- mend: " + finding.mend;
    cells.push_back({WordOf(finding.health), name, finding.text + mend});
  }
  return FormatTable(cells,
                     [](size_t column, const std::string& cell) { return column == 0 ? PaintedState(cell) : cell; });
}

List ListOf(const std::vector<Row>& rows) {
  List list;
  for (const auto& [name, finding] : rows) {
    list.emplace_back(Fields{{"name", name},
                             {"state", WordOf(finding.health)},
                             {"text", finding.text},
                             {"mend", finding.mend.empty() ? Value() : Value(finding.mend)}});
  }
  return list;
}

Report Doctor(const Values& values) {
  const std::vector<Row> rows = Examine(values);
  std::vector<std::string> failed;
  for (const auto& [name, finding] : rows) {
    if (finding.health == Health::kFail) failed.emplace_back(name);
  }
  Report report;
  report.text = TextOf(rows);
  report.details["checks"] = ListOf(rows);
  if (!failed.empty()) {
    report.outcome = Outcome::kFailed;
    report.error = "failed: " + Joined(failed);
  }
  return report;
}

const RegisteredVerb kDoctor(
    {"doctor",
     Group::kDiagnosis,
     "Check bus, service, state directory and database, and say what mends them",
     {Flag(kStart, "Have the bus start the service where it does not run"),
      Option("--timeout", "SECONDS", "Give bus, service and database so long for each answer (default 2)").Seconds()},
     Doctor});

}  // namespace
}  // namespace doctor_verb
