// Which of the library's launch functions does what was asked for.
#pragma once

#include <nuv/nuv_launcher_api.h>

#include <optional>
#include <string>

#include "service/meanings.h"

struct LaunchChoice {
  CallbackShape shape = CallbackShape::kWebApp;
  bool force = false;
  bool background = false;
  bool deep_link = false;
  bool by_title = false;
};

// What a launch function is given. Owns its texts, so that a launch can outlive the one who asked for it.
struct LaunchArguments {
  std::string app;  // id, or run title where the choice is by title
  std::optional<std::string> payload;
  std::optional<std::string> caller_id;
  nuv_launch_notify_cb on_event = nullptr;
  nuv_launch_result_cb on_result = nullptr;
  void* user_data = nullptr;
};

struct LaunchFunction {
  const char* name;
  LaunchChoice choice;
  bool takes_caller;
  int (*call)(const LaunchArguments& arguments);
};

// Null when the library has no such launch. A deep link forces, asked for or not.
const LaunchFunction* FindLaunchFunction(const LaunchChoice& choice, bool with_caller);

// The options that can go together, for the user who chose others.
std::string LaunchCombinations();
