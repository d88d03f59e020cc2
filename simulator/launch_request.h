// A launch_app call, unpacked.
#pragma once

#include <gio/gio.h>

#include <string>
#include <utility>
#include <vector>

namespace simulator {

using ExtraData = std::vector<std::pair<std::string, std::string>>;

struct LaunchRequest {
  std::string object_name;  // the client object that waits for the result
  int thread_id = 0;
  int event_index = 0;
  std::string method_call;
  int cb_type = 0;

  std::string app_id;
  std::string payload;
  std::string uri;
  std::string caller_id;
  std::string entry;
  std::string relocate_below_app;
  std::string launch_requestor;
  ExtraData extra_data;

  bool force_launch = false;
  bool preload = false;
  bool deep_link = false;
  bool background = false;
  bool skip_pin = false;
};

LaunchRequest UnpackLaunchRequest(GVariant* parameters);

// The extra data of a plain request, "a(ss)".
ExtraData UnpackPairs(GVariant* pairs);

}  // namespace simulator
