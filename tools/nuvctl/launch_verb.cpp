#include "launch_verb.h"

#include <CLI/CLI.hpp>
#include <cmath>

#include "app_choice.h"
#include "launch_session.h"
#include "meanings.h"
#include "text.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr double kLongestWaitSeconds = 1e6;

std::string CheckSeconds(const std::string& text) {
  double seconds = 0;
  const bool number = CLI::detail::lexical_cast(text, seconds);
  if (number && seconds > 0 && seconds <= kLongestWaitSeconds) return "";
  return "not a number of seconds above 0 and up to " + std::to_string(std::lround(kLongestWaitSeconds)) + ": " + text;
}

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

Report NoSuchLaunch() {
  Report report;
  report.outcome = Outcome::kUsage;
  report.error = "the library has no such launch; it has: " + LaunchCombinations();
  return report;
}

Report MakeReport(const Options& options, const LaunchFunction& function, const LaunchSession& session,
                  const Conclusion& end) {
  Report report;
  report.outcome = end.outcome;
  report.details = AppChoiceJson(options);
  report.details["function"] = function.name;
  report.details.update(NumberJson(end.code));
  report.details["events"] = Json::array();
  for (const LaunchReport& event : session.reports()) report.details["events"].push_back(ReportJson(event));
  const std::string why = end.code ? Describe(*end.code) : end.reason;
  const std::string line = WordOf(end.outcome) + (why.empty() || why == WordOf(end.outcome) ? "" : ": " + why);
  (ExitStatusOf(end.outcome) == 0 ? report.text : report.error) = line;
  return report;
}

}  // namespace

void AddLaunchArguments(CLI::App& command, Options& options) {
  AddAppChoice(command, options, "Application to launch");
  command.add_option("--payload", options.payload, "Launch payload for the application")->type_name("TEXT");
  command.add_option("--caller", options.caller_id, "Id of the caller")->type_name("ID");
  command.add_flag("--force", options.launch.force, "Launch where the service would otherwise decline");
  command.add_flag("--background", options.launch.background, "Leave the current application in front");
  command.add_flag("--deep-link", options.launch.deep_link, "Launch as a deep link (always forces)");
  auto* webapp = command.add_flag_callback(
      "--webapp", [&options] { options.launch.shape = CallbackShape::kWebApp; },
      "Use the web-application functions (default)");
  auto* plain = command.add_flag_callback(
      "--plain", [&options] { options.launch.shape = CallbackShape::kPlain; }, "Use the nuv_launch_app functions");
  plain->excludes(webapp);
  command.add_option("--wait", options.wait_seconds, "Wait for the result of the launch, so long at most")
      ->type_name("SECONDS")
      ->check(CLI::Validator(CheckSeconds, ""));
}

Report RunLaunch(const Options& options) {
  LaunchChoice choice = options.launch;
  choice.by_title = options.run_title.has_value();
  const LaunchFunction* function = FindLaunchFunction(choice, options.caller_id.has_value());
  if (function == nullptr) return NoSuchLaunch();
  LaunchArguments arguments;
  arguments.app = options.run_title.value_or(options.app_id);
  arguments.payload = options.payload;
  arguments.caller_id = options.caller_id;
  LaunchSession::Listener listener;
  listener.on_undecided = [&options](const LaunchReport& report) {
    if (!options.json) PrintLine(Describe(report));
  };
  listener.on_hopeless = [](const std::string& why) { PrintError(why); };
  LaunchSession session(options.wait_seconds, std::move(listener));
  const Conclusion end = session.Run(*function, std::move(arguments));
  return MakeReport(options, *function, session, end);
}
