// nuvctl locked, uninstallable: questions about several applications that are answered with yes or no.
#include <nuv/nuv_app_database.h>

#include "command/verb.h"
#include "obstacles/obstacles.h"
#include "report/text.h"

namespace {

struct YesNoQuestion {
  int (*ask)(const char* quoted_ids);
  const char* key;
  const char* no;
};

constexpr YesNoQuestion kLocked = {nuv_check_app_is_locked, "locked",
                                   "the catalogue has no usable application with these ids that is locked"};
constexpr YesNoQuestion kUninstallable = {
    nuv_check_app_is_need_uninstall, "uninstallable",
    "the catalogue has no usable application with these ids that needs uninstalling"};

Report Ask(const YesNoQuestion& question, const std::vector<std::string>& ids) {
  std::vector<std::string> own_ids;
  for (const std::string& name : ids) own_ids.push_back(IdOf(name));
  const int result = question.ask(SqlList(own_ids).c_str());
  Report report;
  if (result != 0) report = ReportOf(DiagnoseCatalogue(result, {Outcome::kNotFound, question.no}));
  report.details = {{"apps", ListOf(ids)}, {question.key, nullptr}};
  if (report.outcome != Outcome::kDone && report.outcome != Outcome::kNotFound) return report;
  report.details[question.key] = result == 0;
  report.text = result == 0 ? "yes" : "no";
  return report;
}

Report Locked(const Values& values) {
  return Ask(kLocked, values.Texts("ID"));
}

Report Uninstallable(const Values& values) {
  return Ask(kUninstallable, values.Texts("ID"));
}

Argument IdsPosition() {
  return AppPosition("Applications, of which one is enough: id, kelvo id, package name or run title").Many().Required();
}

const RegisteredVerb kLockedVerb(
    {"locked", Group::kCatalogue, "Tell whether one of some applications is locked", {IdsPosition()}, Locked});

const RegisteredVerb kUninstallableVerb({"uninstallable",
                                         Group::kCatalogue,
                                         "Tell whether one of some applications needs uninstalling",
                                         {IdsPosition()},
                                         Uninstallable});

}  // namespace
