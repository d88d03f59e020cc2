// nuvctl group
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>

#include "command/verb.h"
#include "obstacles/obstacles.h"
#include "report/text.h"

namespace group_verb {
namespace {

// The configuration is read whatever the guards say.
Diagnosis WhyNoGroup(const std::string& group) {
  const std::optional<Obstacle> database = DatabaseObstacle();
  return database ? database->why : Diagnosis{Outcome::kNotFound, "there is no group " + Printable(group)};
}

Diagnosis WhyNotUsable(const std::string& group, const std::string& app_id) {
  return DiagnoseCatalogue(-1, {Outcome::kNotFound, "the group " + Printable(group) + " stands for " +
                                                        Printable(app_id) + ", which is not installed"});
}

Report ShowGroup(const Values& values) {
  enum { kUsable = 0, kNotUsable = 1, kNoGroup = 3 };
  const std::string group = values.Text("KEY");
  std::string app_id;
  int result = kNoGroup;
  GetAppIDFromAppGroupList(group, app_id, result);
  Report report;
  if (result == kNoGroup) report = ReportOf(WhyNoGroup(group));
  if (result == kNotUsable) report = ReportOf(WhyNotUsable(group, app_id));
  report.details = {{"group", group}, {"app", result == kNoGroup ? Value() : Value(app_id)}};
  if (result == kUsable) report.text = Printable(app_id);
  return report;
}

const RegisteredVerb kGroup({"group",
                             Group::kCatalogue,
                             "Show the application that stands for a group",
                             {Position("KEY", "Name of the group").Required()},
                             ShowGroup});

}  // namespace
}  // namespace group_verb
