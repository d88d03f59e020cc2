#include "report.h"

#include "text.h"

std::string ToJson(const Report& report) {
  nlohmann::ordered_json object;
  object["verb"] = report.verb.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(report.verb);
  object["outcome"] = WordOf(report.outcome);
  object["status"] = ExitStatusOf(report.outcome);
  object.update(report.details);
  if (ExitStatusOf(report.outcome) != 0) object["error"]["message"] = report.error;
  return object.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace);
}

int Print(const Report& report, bool as_json) {
  if (as_json) {
    PrintLine(ToJson(report));
  } else {
    if (!report.text.empty()) {
      PrintLine(report.text);
    } else if (!report.error.empty()) {
      PrintError(report.error);
    }
  }
  return ExitStatusOf(report.outcome);
}
