#include "launch/launch_functions.h"

namespace {

const char* TextOrNull(const std::optional<std::string>& text) {
  return text ? text->c_str() : nullptr;
}

template <auto Function>
int Plain(const LaunchArguments& a) {
  return Function(a.app.c_str(), TextOrNull(a.payload), a.on_result, a.user_data);
}

template <auto Function>
int PlainCaller(const LaunchArguments& a) {
  return Function(a.app.c_str(), TextOrNull(a.payload), TextOrNull(a.caller_id), a.on_result, a.user_data);
}

template <auto Function>
int WebApp(const LaunchArguments& a) {
  return Function(a.app.c_str(), TextOrNull(a.payload), TextOrNull(a.caller_id), a.on_event, a.user_data);
}

constexpr CallbackShape kPlainShape = CallbackShape::kPlain;
constexpr CallbackShape kWebShape = CallbackShape::kWebApp;

#define LAUNCH(how, function, shape, force, background, deep_link, by_title, takes_caller) \
  { #function, {shape, force, background, deep_link, by_title }, takes_caller, how < function> }

// clang-format off
constexpr LaunchFunction kFunctions[] = {
    //                                                            shape        force  backgr. deep   title  caller
    LAUNCH(Plain,       nuv_launch_app,                            kPlainShape, false, false, false, false, false),
    LAUNCH(PlainCaller, nuv_launch_app_with_param,                 kPlainShape, false, false, false, false, true),
    LAUNCH(Plain,       nuv_force_launch_app,                      kPlainShape, true,  false, false, false, false),
    LAUNCH(PlainCaller, nuv_force_launch_app_with_param,           kPlainShape, true,  false, false, false, true),
    LAUNCH(WebApp,      nuv_launch_webapp,                         kWebShape,   false, false, false, false, true),
    LAUNCH(WebApp,      nuv_force_launch_webapp,                   kWebShape,   true,  false, false, false, true),
    LAUNCH(WebApp,      nuv_background_launch_webapp,              kWebShape,   false, true,  false, false, true),
    LAUNCH(WebApp,      nuv_launch_webapp_for_deeplink,            kWebShape,   true,  false, true,  false, true),
    LAUNCH(WebApp,      nuv_background_launch_webapp_for_deeplink, kWebShape,   true,  true,  true,  false, true),
    LAUNCH(Plain,       nuv_launch_app_by_runtitle,                kPlainShape, false, false, false, true,  false),
    LAUNCH(PlainCaller, nuv_launch_app_by_runtitle_with_param,     kPlainShape, false, false, false, true,  true),
    LAUNCH(WebApp,      nuv_launch_webapp_by_runtitle,             kWebShape,   false, false, false, true,  true),
};
// clang-format on

#undef LAUNCH

bool SameChoice(const LaunchChoice& a, const LaunchChoice& b) {
  return a.shape == b.shape && (a.force || a.deep_link) == b.force && a.background == b.background &&
         a.deep_link == b.deep_link && a.by_title == b.by_title;
}

// The web-app functions take a null caller as well.
bool SuitsCaller(const LaunchFunction& function, bool with_caller) {
  return function.choice.shape == kWebShape || function.takes_caller == with_caller;
}

std::string OptionsOf(const LaunchChoice& choice) {
  std::string options = choice.shape == kPlainShape ? "--plain" : "--webapp";
  if (choice.by_title) options += " --title";
  // What a deep link does anyway need not be asked for.
  if (choice.force) options += choice.deep_link ? " [--force]" : " --force";
  if (choice.background) options += " --background";
  if (choice.deep_link) options += " --deep-link";
  return options;
}

}  // namespace

const LaunchFunction* FindLaunchFunction(const LaunchChoice& choice, bool with_caller) {
  for (const LaunchFunction& function : kFunctions) {
    if (SameChoice(choice, function.choice) && SuitsCaller(function, with_caller)) return &function;
  }
  return nullptr;
}

std::string LaunchCombinations() {
  std::string list;
  for (const LaunchFunction& function : kFunctions) {
    if (!SuitsCaller(function, false)) continue;
    if (!list.empty()) list += ", ";
    list += OptionsOf(function.choice);
  }
  return list;
}
