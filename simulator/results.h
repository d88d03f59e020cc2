// Launch results on their way to the callers' client objects.
#pragma once

#include <memory>
#include <string>

#include "glib_ptr.h"
#include "journal.h"
#include "launch_request.h"

namespace simulator {

struct LaunchResult {
  int event = 0;   // nuv_notify_event_e
  int result = 0;  // nuv_launch_status_e, or 0
};

// The arguments of an app_launch_result call, and the client object it goes to.
struct ResultMessage {
  std::string object_name;
  int thread_id = 0;
  std::string app_id;
  LaunchResult outcome;
  int data = 0;
  int event_index = 0;
  std::string method_call;
  int cb_type = 0;
};

ResultMessage MakeResult(const LaunchRequest& request, LaunchResult outcome);

// All but the object name, from the arguments of a call that was made before.
ResultMessage UnpackResult(GVariant* arguments);

// Calls app_launch_result. A client whose name or object is a moment late is tried again for about a second.
void SendResult(GDBusConnection* connection, const ResultMessage& message, const Journal& journal);

}  // namespace simulator
