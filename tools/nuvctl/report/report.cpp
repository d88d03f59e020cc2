#include "report/report.h"

#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

#include "report/text.h"

namespace {

using Json = nlohmann::ordered_json;

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

int StatusOf(const Report& report) {
  return report.status.value_or(ExitStatusOf(report.outcome));
}

Json JsonOf(const Value& value);

struct MakeJson {
  template <typename Plain>
  Json operator()(const Plain& plain) const {
    return plain;
  }
  Json operator()(const List& list) const {
    Json array = Json::array();
    for (const Value& item : list) array.push_back(JsonOf(item));
    return array;
  }
  Json operator()(const Fields& fields) const {
    Json object = Json::object();
    for (const Field& field : fields) object[field.key] = JsonOf(field.value);
    return object;
  }
};

Json JsonOf(const Value& value) {
  return std::visit(MakeJson(), static_cast<const Value::variant&>(value));
}

}  // namespace

Fields::Fields(std::initializer_list<Field> fields) : fields_(fields) {}

Value& Fields::operator[](const std::string& key) {
  for (Field& field : fields_) {
    if (field.key == key) return field.value;
  }
  fields_.push_back({key, nullptr});
  return fields_.back().value;
}

const Value& Fields::at(const std::string& key) const {
  for (const Field& field : fields_) {
    if (field.key == key) return field.value;
  }
  throw std::out_of_range("no field " + key);
}

void Fields::Update(const Fields& others) {
  for (const Field& other : others) (*this)[other.key] = other.value;
}

List ListOf(const std::vector<std::string>& texts) {
  return {texts.begin(), texts.end()};
}

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

std::string ToJson(const Fields& fields) {
  return JsonOf(fields).dump(-1, ' ', true, Json::error_handler_t::replace);
}

std::string ToJson(const Report& report) {
  const int status = StatusOf(report);
  Fields object = {{"verb", report.verb.empty() ? Value() : Value(report.verb)},
                   {"outcome", WordOf(report.outcome)},
                   {"status", status}};
  object.Update(report.details);
  if (!report.warnings.empty()) object["warnings"] = ListOf(report.warnings);
  if (status != 0) object["error"] = Fields{{"message", report.error}};
  return ToJson(object);
}

int Print(const Report& report, bool as_json) {
  for (const std::string& warning : report.warnings) PrintError("warning: " + warning);
  if (as_json) {
    PrintLine(ToJson(report));
  } else if (!report.text.empty()) {
    PrintLine(report.text);
  } else if (!report.error.empty()) {
    PrintError(report.error);
  }
  return StatusOf(report);
}
