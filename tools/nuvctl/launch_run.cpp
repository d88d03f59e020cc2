#include "launch_run.h"

#include <CLI/CLI.hpp>
#include <utility>

#include "launch_session.h"
#include "meanings.h"
#include "seconds_option.h"
#include "text.h"

namespace {

using Json = nlohmann::ordered_json;

// "600 NUV_LAUNCH_RESULT_LAUNCHED: the application was started"
std::string Describe(int number) {
  const Meaning* meaning = FindMeaning(number);
  if (meaning == nullptr) return std::to_string(number) + " (a number without a name)";
  return std::to_string(number) + " " + meaning->name + ": " + meaning->words;
}

std::string Describe(const LaunchReport& report) {
  if (report.shape == CallbackShape::kPlain) return "result " + Describe(report.result);
  const std::string status = report.result != 0 ? ", status " + Describe(report.result) : "";
  return "event " + Describe(report.event) + status;
}

Json NumberJson(const std::optional<int>& number) {
  const Meaning* meaning = number ? FindMeaning(*number) : nullptr;
  Json json = {{"code", nullptr}, {"name", nullptr}, {"meaning", nullptr}};
  if (number) json["code"] = *number;
  if (meaning != nullptr) {
    json["name"] = meaning->name;
    json["meaning"] = meaning->words;
  }
  return json;
}

Json ReportJson(const LaunchReport& report) {
  const bool plain = report.shape == CallbackShape::kPlain;
  Json json = {{"app", report.app_id}};
  json.update(NumberJson(plain ? report.result : report.event));
  json["result"] = plain ? Json() : Json(report.result);
  return json;
}

Report MakeReport(const LaunchSession& session, const Conclusion& end, Json details) {
  Report report;
  report.outcome = end.outcome;
  report.details = std::move(details);
  report.details.update(NumberJson(end.code));
  report.details["events"] = Json::array();
  for (const LaunchReport& event : session.reports()) report.details["events"].push_back(ReportJson(event));
  const std::string why = end.code ? Describe(*end.code) : end.reason;
  const std::string line = WordOf(end.outcome) + (why.empty() || why == WordOf(end.outcome) ? "" : ": " + why);
  (ExitStatusOf(end.outcome) == 0 ? report.text : report.error) = line;
  return report;
}

}  // namespace

void AddPayloadArgument(CLI::App& command, Options& options) {
  command.add_option("--payload", options.payload, "Launch payload for the application")->type_name("TEXT");
}

void AddCallerArgument(CLI::App& command, Options& options) {
  command.add_option("--caller", options.caller_id, "Id of the caller")->type_name("ID");
}

void AddWaitArgument(CLI::App& command, Options& options) {
  AddSecondsOption(command, "--wait", options.wait_seconds, "Wait for the result of the launch, so long at most");
}

Report RunLaunchTask(const Options& options, LaunchTask task, Json details) {
  LaunchSession::Listener listener;
  listener.on_undecided = [&options](const LaunchReport& report) {
    if (!options.json) PrintLine(Describe(report));
  };
  listener.on_hopeless = [](const std::string& why) { PrintError(why); };
  LaunchSession session(options.wait_seconds, std::move(listener));
  const Conclusion end = session.Run(std::move(task));
  return MakeReport(session, end, std::move(details));
}
