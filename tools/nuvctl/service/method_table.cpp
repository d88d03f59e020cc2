#include "service/method_table.h"

namespace {

constexpr Show kApp = Show::kApp;
constexpr Show kFlag = Show::kFlag;
constexpr Show kNamed = Show::kNamed;
constexpr Show kNumber = Show::kNumber;
constexpr Show kPairs = Show::kPairs;
constexpr Show kPin = Show::kPin;
constexpr Show kPopup = Show::kPopup;
constexpr Show kSecret = Show::kSecret;
constexpr Show kText = Show::kText;
constexpr Show kTextPairs = Show::kTextPairs;

const std::vector<Method>& Methods() {
  static const std::vector<Method> methods = {
      {"heartbeat", "", {}, "", {}},
      {"launch_app",
       "sisssssssisiiiiiiiiiiiaay",
       {{"object", kText},     {"thread", kNumber},  {"app", kApp},          {"payload", kSecret},
        {"uri", kSecret},      {"caller", kText},    {"entry", kText},       {"below", kText},
        {"requestor", kText},  {"index", kNumber},   {"method_call", kText}, {"force", kFlag},
        {"preload", kFlag},    {"option1", kFlag},   {"option2", kFlag},     {"option3", kFlag},
        {"option4", kFlag},    {"cb_type", kNumber}, {"deep-link", kFlag},   {"extra-option", kFlag},
        {"background", kFlag}, {"skip-pin", kFlag},  {"extra_data", kPairs}},
       "",
       {}},
      {"app_launch_result",
       "isiiiisi",
       {{"thread", kNumber},
        {"app", kApp},
        {"result", kNamed},
        {"event", kNamed},
        {"data", kNumber},
        {"index", kNumber},
        {"method_call", kText},
        {"cb_type", kNumber}},
       "",
       {}},
      {"terminate_app", "siss", {{"app", kApp}, {"option", kNumber}, {"caller", kText}, {"reason", kText}}, "", {}},
      {"terminate_app_by_runtitle", "s", {{"run_title", kSecret}}, "", {}},
      {"terminate_allapp", "ss", {{"caller", kText}, {"reason", kText}}, "", {}},
      {"launch_systempopup", "i", {{"popup", kPopup}}, "", {}},
      {"send_appexec_kpi",
       "issis",
       {{"log_type", kNumber}, {"app", kApp}, {"caller", kText}, {"preload_type", kNumber}, {"text", kText}},
       "",
       {}},
      {"get_android_app_status", "s", {{"app", kApp}}, "i", {{"status", kNumber}}},
      {"get_extra_app", "", {}, "s", {{"app", kApp}}},
      {"notify_extra_app_changed", "s", {{"app", kApp}}, "", {}},
      {"notify_app_launch_status", "s", {{"app", kApp}}, "", {}},
      {"notify_special_app", "s", {{"app", kApp}}, "", {}},
      {"nuv_update_app_count", "s", {{"app", kApp}}, "i", {{"state", kNumber}}},
      {"nuv_update_app_version", "ss", {{"app", kApp}, {"version", kText}}, "i", {{"state", kNumber}}},
      {"nuv_update_app_by_key", "si", {{"app", kApp}, {"key", kNumber}}, "i", {{"state", kNumber}}},
      {"nuv_command",
       "isss",
       {{"command", kNumber}, {"app", kApp}, {"package_path", kText}, {"data", kSecret}},
       "",
       {}},
      {"LaunchRequest",
       "sssa(ss)",
       {{"app", kApp}, {"operation", kText}, {"uri", kSecret}, {"extra_data", kTextPairs}},
       "i",
       {{"pid", kNumber}}},
      {"EnterPin", "us", {{"question", kNumber}, {"pin", kPin}}, "b", {{"accepted", kFlag}}},
      {"CancelPin", "u", {{"question", kNumber}}, "", {}},
  };
  return methods;
}

}  // namespace

const Method* FindMethod(const std::string& name, const std::string& signature) {
  for (const Method& method : Methods()) {
    if (name == method.name && signature == method.signature) return &method;
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
