#include "verbs.h"

#include "change_verbs.h"
#include "explain_verb.h"
#include "inner_verbs.h"
#include "launch_verb.h"
#include "list_verb.h"
#include "lookup_verbs.h"
#include "pin_verb.h"
#include "preload_verb.h"
#include "running_verbs.h"
#include "service_verbs.h"
#include "watch_verb.h"

const std::vector<Verb>& Verbs() {
  static const std::vector<Verb> verbs = {
      {"launch", "Launch an application", AddLaunchArguments, RunLaunch},
      {"kpi", "Report an application-execution event", AddKpiArguments, RunKpi},
      {"popup", "Show a system error popup", AddPopupArguments, RunPopup},
      {"android-status", "Show the running state of an Android application", AddAndroidStatusArguments,
       RunAndroidStatus},
      {"terminate", "Terminate an application", AddTerminateArguments, RunTerminate},
      {"terminate-all", "Terminate all running applications", AddTerminateAllArguments, RunTerminateAll},
      {"extra-app", "Show or announce the extra application", AddExtraAppArguments, RunExtraApp},
      {"list", "List installed applications", AddListArguments, RunList},
      {"show", "Show all that the catalogue says of an application", AddShowArguments, RunShow},
      {"locked", "Tell whether one of some applications is locked", AddIdsArguments, RunLocked},
      {"uninstallable", "Tell whether one of some applications needs uninstalling", AddIdsArguments, RunUninstallable},
      {"group", "Show the application that stands for a group", AddGroupArguments, RunGroup},
      {"explain", "Tell why a lookup or a launch of an application fails", AddExplainArguments, RunExplain},
      {"inner", "Show what the inner side of the database says", AddInnerArguments, RunInner},
      {"used", "Show the most and the recently used applications", AddUsedArguments, RunUsed},
      {"set", "Set a field of an application", AddSetArguments, RunSet},
      {"count", "Count one more launch of an application", AddCountArguments, RunCount},
      {"version", "Have the service set an application's version", AddVersionArguments, RunVersion},
      {"command", "Send the service a command", AddCommandArguments, RunCommandVerb},
      {"status", "Tell whether an application runs", AddStatusArguments, RunStatus},
      {"showing", "Show the application that is on the screen", AddShowingArguments, RunShowing},
      {"preload", "Start an application without showing it", AddPreloadArguments, RunPreload},
      {"pin", "Have the user asked for the PIN before a launch", AddPinArguments, RunPin},
      {"watch", "Show what the service does, line by line", AddWatchArguments, RunWatch},
  };
  return verbs;
}
