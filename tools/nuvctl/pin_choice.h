// What a launch behind the PIN dialog carries beside the application, its payload and its caller.
#pragma once

#include <string>

struct PinChoice {
  std::string uri;
  std::string entry;
  std::string below;
  std::string requestor;
  bool force = false;
  bool background = false;
  bool deep_link = false;
};
