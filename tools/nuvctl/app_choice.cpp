#include "app_choice.h"

#include <nuv/nuv_app_database.h>

#include <CLI/CLI.hpp>

#include "catalogue_state.h"
#include "text.h"

namespace {

std::optional<Diagnosis> DiagnoseLookup(int result, const std::string& what) {
  if (result == 0) return std::nullopt;
  return DiagnoseCatalogue(result, {Outcome::kNotFound, "the catalogue has no usable application with the " + what});
}

}  // namespace

CLI::Option* AddAppChoice(CLI::App& command, Options& options, const char* purpose) {
  auto* id = command.add_option("ID", options.app_id, purpose);
  auto* title = command.add_option("--title", options.run_title, "Name the application by its run title instead")
                    ->type_name("RUNTITLE")
                    ->excludes(id);
  command.callback([id, title] {
    if (id->empty() && title->empty()) throw CLI::RequiredError("ID or --title");
  });
  return title;
}

nlohmann::ordered_json AppChoiceJson(const Options& options) {
  if (options.run_title) return {{"title", *options.run_title}};
  return {{"app", options.app_id}};
}

std::optional<Diagnosis> WhyNotFound(const std::string& app_id) {
  nuv_app_info_s record = {};
  return DiagnoseLookup(m_nuv_get_app_info(app_id.c_str(), &record), "id " + Printable(app_id));
}

std::optional<Diagnosis> WhyTitleNotFound(const std::string& run_title) {
  nuv_app_info_s record = {};
  return DiagnoseLookup(nuv_get_app_info_by_runtitle(run_title.c_str(), &record), "run title " + Printable(run_title));
}

Report ReportOfAppCall(int result, const Options& options) {
  if (result != 0) {
    const auto why = options.run_title ? WhyTitleNotFound(*options.run_title) : WhyNotFound(options.app_id);
    return ReportOf(why ? *why : DiagnoseFailure(), AppChoiceJson(options));
  }
  Report report;
  report.details = AppChoiceJson(options);
  return report;
}
