#include "verbs.h"

#include "launch_verb.h"
#include "service_verbs.h"

const std::vector<Verb>& Verbs() {
  static const std::vector<Verb> verbs = {
      {"launch", "Launch an application", AddLaunchArguments, RunLaunch},
      {"kpi", "Report an application-execution event", AddKpiArguments, RunKpi},
      {"popup", "Show a system error popup", AddPopupArguments, RunPopup},
      {"android-status", "Show the running state of an Android application", AddAndroidStatusArguments,
       RunAndroidStatus},
      {"terminate-all", "Terminate all running applications", AddTerminateAllArguments, RunTerminateAll},
      {"extra-app", "Show or announce the extra application", AddExtraAppArguments, RunExtraApp},
  };
  return verbs;
}
