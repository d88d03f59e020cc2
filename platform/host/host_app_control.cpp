#include "host_app_control.h"

#include <vector>

#include "host_file.h"
#include "host_guard.h"
#include "host_launch_request.h"

namespace {

using nuv::host::Guarded;

int SetText(app_control_h request, app_control_s::Text app_control_s::*member, const char* value) {
  if (request == nullptr || value == nullptr) return -1;
  return Guarded(-1, [&] {
    request->*member = std::string(value);
    return 0;
  });
}

int HandOut(const std::string& text, char** value) {
  *value = nuv::host::MallocText(text);
  return *value == nullptr ? -1 : 0;
}

int GetText(app_control_h request, const app_control_s::Text app_control_s::*member, char** value) {
  if (value == nullptr) return -1;
  *value = nullptr;
  if (request == nullptr) return -1;
  const app_control_s::Text& text = request->*member;
  return text ? HandOut(*text, value) : 0;
}

}  // namespace

void app_control_s::AddExtraData(const char* key, const char* value) {
  if (const auto found = values.find(key); found != values.end()) {
    *found->second = value;
    return;
  }
  auto& datum = extra_data.emplace_back(key, value);
  try {
    values.emplace(datum.first, &datum.second);
  } catch (...) {
    extra_data.pop_back();
    throw;
  }
}

const std::string* app_control_s::FindExtraData(const char* key) const {
  const auto found = values.find(key);
  return found == values.end() ? nullptr : found->second;
}

int app_control_create(app_control_h* request) {
  if (request == nullptr) return -1;
  *request = nullptr;
  return Guarded(-1, [&] {
    *request = new app_control_s;
    return 0;
  });
}

int app_control_destroy(app_control_h request) {
  if (request == nullptr) return -1;
  delete request;
  return 0;
}

int app_control_set_app_id(app_control_h request, const char* value) {
  return SetText(request, &app_control_s::app_id, value);
}

int app_control_set_operation(app_control_h request, const char* value) {
  return SetText(request, &app_control_s::operation, value);
}

int app_control_set_uri(app_control_h request, const char* value) {
  return SetText(request, &app_control_s::uri, value);
}

int app_control_get_app_id(app_control_h request, char** value) {
  return GetText(request, &app_control_s::app_id, value);
}

int app_control_get_operation(app_control_h request, char** value) {
  return GetText(request, &app_control_s::operation, value);
}

int app_control_get_uri(app_control_h request, char** value) {
  return GetText(request, &app_control_s::uri, value);
}

int app_control_add_extra_data(app_control_h request, const char* key, const char* value) {
  if (request == nullptr || key == nullptr || value == nullptr) return -1;
  return Guarded(-1, [&] {
    request->AddExtraData(key, value);
    return 0;
  });
}

int app_control_get_extra_data(app_control_h request, const char* key, char** value) {
  if (value == nullptr) return -1;
  *value = nullptr;
  if (request == nullptr || key == nullptr) return -1;
  return Guarded(-1, [&] {
    const std::string* const text = request->FindExtraData(key);
    return text == nullptr ? -1 : HandOut(*text, value);
  });
}

int app_control_foreach_extra_data(app_control_h request, app_control_extra_data_cb callback, void* user_data) {
  if (request == nullptr || callback == nullptr) return -1;
  return Guarded(-1, [&] {
    // A copy of the keys: the callback may change the request, or destroy it and stop.
    std::vector<std::string> keys;
    keys.reserve(request->extra_data.size());
    for (const auto& datum : request->extra_data) keys.push_back(datum.first);
    for (const std::string& key : keys) {
      if (!callback(request, key.c_str(), user_data)) break;
    }
    return 0;
  });
}

int app_control_send_launch_request(app_control_h request, app_control_reply_cb callback, void* user_data) {
  return Guarded(-1, [&] {
    if (request == nullptr || !nuv::host::SendLaunchRequest(*request)) return -1;
    if (callback != nullptr) callback(request, nullptr, 0, user_data);
    return 0;
  });
}
