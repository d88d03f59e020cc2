// A launch from the command line: carried out, waited for where that was asked for, and described.
#pragma once

#include <nuv/nuv_launcher_api.h>

#include <functional>

#include "command/verb.h"
#include "obstacles/obstacles.h"

// "--payload", "--caller", "--wait" with its default, and "--no-wait".
Argument PayloadOption();
Argument LaunchCallerOption();
Argument WaitOption(const char* otherwise = "10");
Argument NoWaitFlag();

// Of the two callbacks a launch function takes the one of its own shape.
struct LaunchCallbacks {
  nuv_launch_notify_cb on_event;
  nuv_launch_result_cb on_result;
  void* user_data;
};

// What to call, and whom to ask when that has failed. Both own what they use, as the launch can outlive the one who
// asked for it.
struct LaunchTask {
  std::function<int(const LaunchCallbacks&)> call;  // 0 when the request was accepted
  std::function<Diagnosis()> diagnose = DiagnoseFailure;
  unsigned wait_ms = 10000;  // for the result, where the user says nothing
};

// The details are the keys of the answer that come before those of the outcome.
Report RunLaunchTask(const Values& values, LaunchTask task, Fields details);
