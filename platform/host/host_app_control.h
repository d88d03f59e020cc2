// The request behind an app_control_h.
#pragma once

#include <nuv_platform/platform_app_control.h>

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

// A request belongs to one thread at a time, as any object of its caller's.
struct app_control_s {
  using Text = std::optional<std::string>;

  Text app_id;
  Text operation;
  Text uri;
  std::deque<std::pair<std::string, std::string>> extra_data;  // in insertion order; a deque, for keys that stay put
  std::unordered_map<std::string_view, std::string*> values;   // of extra_data, by key

  void AddExtraData(const char* key, const char* value);
  const std::string* FindExtraData(const char* key) const;
};
