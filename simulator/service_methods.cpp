#include "service_methods.h"

namespace simulator {
namespace {

// What the update methods say.
enum UpdateState { kUpdated = 0, kUnknownApp = -2, kUnknownKey = -3 };
constexpr int kKeyIsUpdated = 0;

GVariant* State(int state) {
  return g_variant_new("(i)", state);
}

GVariant* Nothing(Service&, GVariant*) {
  return nullptr;
}

GVariant* TerminateApp(Service& service, GVariant* arguments) {
  const auto record = service.catalogue.Find(TextOf(arguments, 0));
  if (record) service.applications.Terminate(record->id);
  return nullptr;
}

GVariant* TerminateByRunTitle(Service& service, GVariant* arguments) {
  const auto record = service.catalogue.FindByRunTitle(TextOf(arguments, 0));
  if (record) service.applications.Terminate(record->id);
  return nullptr;
}

GVariant* TerminateAll(Service& service, GVariant*) {
  service.applications.TerminateAll();
  return nullptr;
}

// Events that a TV would show or store; here the details are for whoever watches.
GVariant* LogArguments(Service& service, GVariant* arguments) {
  const StringPtr text(g_variant_print(arguments, FALSE));
  service.journal.Note(std::string("        ") + text.get());
  return nullptr;
}

GVariant* GetAndroidAppStatus(Service& service, GVariant* arguments) {
  const auto record = service.catalogue.Find(TextOf(arguments, 0));
  return State(record && service.applications.Find(record->id) != nullptr ? 1 : 0);
}

GVariant* GetExtraApp(Service& service, GVariant*) {
  return g_variant_new("(s)", service.extra_app.c_str());
}

GVariant* NotifyExtraAppChanged(Service& service, GVariant* arguments) {
  service.extra_app = TextOf(arguments, 0);
  return nullptr;
}

GVariant* UpdateAppCount(Service& service, GVariant* arguments) {
  return State(service.catalogue.CountLaunch(TextOf(arguments, 0)) ? kUpdated : kUnknownApp);
}

GVariant* UpdateAppVersion(Service& service, GVariant* arguments) {
  return State(service.catalogue.SetVersion(TextOf(arguments, 0), TextOf(arguments, 1)) ? kUpdated : kUnknownApp);
}

GVariant* UpdateAppByKey(Service& service, GVariant* arguments) {
  if (g_variant_get_int32(ChildOf(arguments, 1).get()) != kKeyIsUpdated) return State(kUnknownKey);
  return State(service.catalogue.ClearUpdated(TextOf(arguments, 0)) ? kUpdated : kUnknownApp);
}

constexpr ServiceMethod kMethods[] = {
    {"heartbeat", -1, -1, Nothing},
    {kLaunchMethod, 2, 5, Nothing},  // takes effect after its reply
    {"terminate_app", 0, 2, TerminateApp},
    {"terminate_app_by_runtitle", 0, -1, TerminateByRunTitle},
    {"terminate_allapp", -1, 0, TerminateAll},
    {"launch_systempopup", -1, -1, LogArguments},
    {"send_appexec_kpi", 1, 2, LogArguments},
    {"get_android_app_status", 0, -1, GetAndroidAppStatus},
    {"get_extra_app", -1, -1, GetExtraApp},
    {"notify_extra_app_changed", 0, -1, NotifyExtraAppChanged},
    {"notify_app_launch_status", 0, -1, Nothing},
    {"notify_special_app", 0, -1, Nothing},
    {"nuv_update_app_count", 0, -1, UpdateAppCount},
    {"nuv_update_app_version", 0, -1, UpdateAppVersion},
    {"nuv_update_app_by_key", 0, -1, UpdateAppByKey},
    {"nuv_command", 1, -1, LogArguments},
};

}  // namespace

Service::Service(const Options& options, RunningFiles& files, ScenarioFile& scenario, const Journal& the_journal)
    : journal(the_journal),
      catalogue(files.DatabasePath()),
      applications(files, the_journal, options.stand_ins),
      pin_gate(options, scenario, catalogue, applications, the_journal),
      launcher(catalogue, applications, pin_gate, options.settle_ms) {}

const ServiceMethod* FindServiceMethod(const std::string& name) {
  for (const ServiceMethod& method : kMethods) {
    if (name == method.name) return &method;
  }
  return nullptr;
}

}  // namespace simulator
