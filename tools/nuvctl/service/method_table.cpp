#include "service/method_table.h"

namespace {

// A launch, its result, and the dialog between them.
const std::vector<Method>& LaunchMethods() {
  static const std::vector<Method> methods = {
      {"launch_app",
       "sisssssssisiiiiiiiiiiiaay",
       {{"object", Show::kText},    {"thread", Show::kNumber},     {"app", Show::kApp},
        {"payload", Show::kSecret}, {"uri", Show::kSecret},        {"caller", Show::kText},
        {"entry", Show::kText},     {"below", Show::kText},        {"requestor", Show::kText},
        {"index", Show::kNumber},   {"method_call", Show::kText},  {"force", Show::kFlag},
        {"preload", Show::kFlag},   {"option1", Show::kFlag},      {"option2", Show::kFlag},
        {"option3", Show::kFlag},   {"option4", Show::kFlag},      {"cb_type", Show::kNumber},
        {"deep-link", Show::kFlag}, {"extra-option", Show::kFlag}, {"background", Show::kFlag},
        {"skip-pin", Show::kFlag},  {"extra_data", Show::kPairs}},
       "",
       {}},
      {"app_launch_result",
       "isiiiisi",
       {{"thread", Show::kNumber},
        {"app", Show::kApp},
        {"result", Show::kNamed},
        {"event", Show::kNamed},
        {"data", Show::kNumber},
        {"index", Show::kNumber},
        {"method_call", Show::kText},
        {"cb_type", Show::kNumber}},
       "",
       {}},
      {"LaunchRequest",
       "sssa(ss)",
       {{"app", Show::kApp}, {"operation", Show::kText}, {"uri", Show::kSecret}, {"extra_data", Show::kTextPairs}},
       "i",
       {{"pid", Show::kNumber}}},
      {"EnterPin", "us", {{"question", Show::kNumber}, {"pin", Show::kPin}}, "b", {{"accepted", Show::kFlag}}},
      {"CancelPin", "u", {{"question", Show::kNumber}}, "", {}},
      {"AskForPins", "b", {{"ask", Show::kFlag}}, "", {}},
      {"SetRules", "s", {{"rules", Show::kText}}, "", {}},
  };
  return methods;
}

const std::vector<Method>& OtherMethods() {
  static const std::vector<Method> methods = {
      {"heartbeat", "", {}, "", {}},
      {"terminate_app",
       "siss",
       {{"app", Show::kApp}, {"option", Show::kNumber}, {"caller", Show::kText}, {"reason", Show::kText}},
       "",
       {}},
      {"terminate_app_by_runtitle", "s", {{"run_title", Show::kSecret}}, "", {}},
      {"terminate_allapp", "ss", {{"caller", Show::kText}, {"reason", Show::kText}}, "", {}},
      {"launch_systempopup", "i", {{"popup", Show::kPopup}}, "", {}},
      {"send_appexec_kpi",
       "issis",
       {{"log_type", Show::kNumber},
        {"app", Show::kApp},
        {"caller", Show::kText},
        {"preload_type", Show::kNumber},
        {"text", Show::kText}},
       "",
       {}},
      {"get_android_app_status", "s", {{"app", Show::kApp}}, "i", {{"status", Show::kNumber}}},
      {"get_extra_app", "", {}, "s", {{"app", Show::kApp}}},
      {"notify_extra_app_changed", "s", {{"app", Show::kApp}}, "", {}},
      {"notify_app_launch_status", "s", {{"app", Show::kApp}}, "", {}},
      {"notify_special_app", "s", {{"app", Show::kApp}}, "", {}},
      {"nuv_update_app_count", "s", {{"app", Show::kApp}}, "i", {{"state", Show::kNumber}}},
      {"nuv_update_app_version",
       "ss",
       {{"app", Show::kApp}, {"version", Show::kText}},
       "i",
       {{"state", Show::kNumber}}},
      {"nuv_update_app_by_key", "si", {{"app", Show::kApp}, {"key", Show::kNumber}}, "i", {{"state", Show::kNumber}}},
      {"nuv_command",
       "isss",
       {{"command", Show::kNumber}, {"app", Show::kApp}, {"package_path", Show::kText}, {"data", Show::kSecret}},
       "",
       {}},
  };
  return methods;
}

}  // namespace

const Method* FindMethod(const std::string& name, const std::string& signature) {
  for (const auto* methods : {&LaunchMethods(), &OtherMethods()}) {
    for (const Method& method : *methods) {
      if (name == method.name && signature == method.signature) return &method;
    }
  }
  return nullptr;
}

std::optional<size_t> AppArgument(const Method& method) {
  for (size_t i = 0; i < method.arguments.size(); ++i) {
    if (method.arguments[i].show == Show::kApp) return i;
  }
  return std::nullopt;
}

bool IsSecret(Show show) {
  return show == Show::kSecret || show == Show::kPin || show == Show::kPairs || show == Show::kTextPairs;
}
