// A launch as the session sees it: what to call, and whom to ask when that has failed.
#pragma once

#include <nuv/nuv_launcher_api.h>

#include <functional>

#include "diagnose.h"

// Of the two callbacks a launch function takes the one of its own shape.
struct LaunchCallbacks {
  nuv_launch_notify_cb on_event;
  nuv_launch_result_cb on_result;
  void* user_data;
};

// Both own what they use, as the launch can outlive the one who asked for it.
struct LaunchTask {
  std::function<int(const LaunchCallbacks&)> call;  // 0 when the request was accepted
  std::function<Diagnosis()> diagnose = DiagnoseFailure;
};
