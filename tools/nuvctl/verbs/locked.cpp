// nuvctl locked, uninstallable: questions about several applications that are answered with yes or no.
#include <nuv/nuv_app_database.h>

#include "command/verb.h"
#include "obstacles/obstacles.h"
#include "report/text.h"

namespace locked_verb {
namespace {

struct YesNoQuestion {
  int (*ask)(const char* quoted_ids);
  const char* key;
};

constexpr YesNoQuestion kLocked = {nuv_check_app_is_locked, "locked"};
constexpr YesNoQuestion kUninstallable = {nuv_check_app_is_need_uninstall, "uninstallable"};

// Why the library's answer is no, which it also gives where it has no application with an id.
std::optional<Diagnosis> WhyNoAnswer(int result, const std::vector<std::string>& ids) {
  for (const std::string& id : ids) {
    nuv_app_info_s record = {};
    const int lookup = m_nuv_get_app_info(IdOf(id).c_str(), &record);
    if (lookup != 0) return DiagnoseLookup(lookup, {id, {}});
  }
  const Diagnosis why = DiagnoseCatalogue(result, {Outcome::kDone, ""});
  return why.outcome != Outcome::kDone ? std::optional(why) : std::nullopt;
}

Report Ask(const YesNoQuestion& question, const std::vector<std::string>& ids) {
  std::vector<std::string> own_ids;
  own_ids.reserve(ids.size());
  for (const std::string& name : ids) own_ids.push_back(IdOf(name));
  const int result = question.ask(SqlList(own_ids).c_str());
  const Fields details = {{"apps", ListOf(ids)}, {question.key, nullptr}};
  if (result != 0) {
    if (const auto why = WhyNoAnswer(result, ids)) return ReportOf(*why, details);
  }
  Report report;
  report.details = details;
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
}  // namespace locked_verb
