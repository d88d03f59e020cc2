#include "app_choice.h"

#include <nuv/nuv_app_database.h>

#include <CLI/CLI.hpp>

#include "catalogue_state.h"
#include "text.h"

namespace {

Diagnosis DiagnoseLookupOf(int result, const std::string& what) {
  return DiagnoseCatalogue(result, {Outcome::kNotFound, "the catalogue has no usable application with the " + what});
}

Diagnosis DiagnoseTitle(int result, const std::string& run_title) {
  return DiagnoseLookupOf(result, "run title " + Printable(run_title));
}

int LookUp(const Options& options) {
  nuv_app_info_s record = {};
  return options.run_title ? nuv_get_app_info_by_runtitle(options.run_title->c_str(), &record)
                           : m_nuv_get_app_info(options.app_id.c_str(), &record);
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

Diagnosis DiagnoseLookup(int result, const Options& options) {
  if (options.run_title) return DiagnoseTitle(result, *options.run_title);
  return DiagnoseLookupOf(result, "id " + Printable(options.app_id));
}

std::optional<Diagnosis> WhyTitleNotFound(const std::string& run_title) {
  nuv_app_info_s record = {};
  const int result = nuv_get_app_info_by_runtitle(run_title.c_str(), &record);
  if (result == 0) return std::nullopt;
  return DiagnoseTitle(result, run_title);
}

Diagnosis DiagnoseAppCall(const Options& options) {
  const int lookup = LookUp(options);
  return lookup != 0 ? DiagnoseLookup(lookup, options) : DiagnoseFailure();
}

Report ReportOfAppCall(int result, const Options& options) {
  Report report;
  if (result != 0) report = ReportOf(DiagnoseAppCall(options));
  report.details = AppChoiceJson(options);
  return report;
}
