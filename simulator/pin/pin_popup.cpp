#include "pin/pin_popup.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace simulator {
namespace {

constexpr const char* kAskMethod = "Launch_pin_code_opr_result";
constexpr const char* kEndMethod = "kill";
constexpr const char* kObjectPrefix = "obj";  // of the client object's name, before the process id

template <typename T>
struct Key {
  const char* name;
  T LaunchRequest::*member;
};

constexpr Key<std::string> kTexts[] = {{"AppId", &LaunchRequest::app_id},
                                       {"AppPayload", &LaunchRequest::payload},
                                       {"AppUri", &LaunchRequest::uri},
                                       {"AppCallerid", &LaunchRequest::caller_id},
                                       {"Entry", &LaunchRequest::entry},
                                       {"RelocateBelowApp", &LaunchRequest::relocate_below_app},
                                       {"__K_EX_LAUNCH_REQUESTOR", &LaunchRequest::launch_requestor}};
constexpr Key<int> kNumbers[] = {{"ThreadId", &LaunchRequest::thread_id},
                                 {"Index", &LaunchRequest::event_index},
                                 {"cbType", &LaunchRequest::cb_type}};
constexpr Key<bool> kFlags[] = {{"ForceLaunch", &LaunchRequest::force_launch},
                                {"Deeplink", &LaunchRequest::deep_link},
                                {"Background", &LaunchRequest::background}};
// Those that are no member of the launch as they stand.
constexpr const char* kOthers[] = {"Pid", "MethodName", "AppType", "UIType"};

template <typename Keys>
bool HasName(const Keys& keys, const std::string& name) {
  return std::any_of(std::begin(keys), std::end(keys), [&](const auto& key) { return key.name == name; });
}

bool IsFixed(const std::string& name) {
  return HasName(kTexts, name) || HasName(kNumbers, name) || HasName(kFlags, name) ||
         std::find(std::begin(kOthers), std::end(kOthers), name) != std::end(kOthers);
}

// A later datum replaces an earlier one of the same key.
std::string Find(const ExtraData& extra_data, const std::string& name) {
  const auto found =
      std::find_if(extra_data.rbegin(), extra_data.rend(), [&](const auto& pair) { return pair.first == name; });
  return found == extra_data.rend() ? "" : found->second;
}

int FindNumber(const ExtraData& extra_data, const std::string& name) {
  const std::string text = Find(extra_data, name);
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw std::runtime_error("\"" + name + "\" of the request is no number: \"" + text + "\"");
  }
  return number;
}

}  // namespace

bool AsksForPin(const ExtraData& extra_data) {
  return Find(extra_data, "MethodName") == kAskMethod;
}

bool EndsPinDialog(const ExtraData& extra_data) {
  return Find(extra_data, "MethodName") == kEndMethod;
}

ExtraData PackPinPopup(const LaunchRequest& request, int app_type) {
  ExtraData packed;
  for (const auto& pair : request.extra_data) {
    if (!IsFixed(pair.first)) packed.push_back(pair);
  }
  const std::string& object = request.object_name;
  packed.emplace_back("Pid", object.rfind(kObjectPrefix, 0) == 0 ? object.substr(3) : object);
  packed.emplace_back("MethodName", kAskMethod);
  packed.emplace_back("AppType", std::to_string(app_type));
  packed.emplace_back("UIType", "0");
  for (const auto& key : kTexts) packed.emplace_back(key.name, request.*key.member);
  for (const auto& key : kNumbers) packed.emplace_back(key.name, std::to_string(request.*key.member));
  for (const auto& key : kFlags) packed.emplace_back(key.name, request.*key.member ? "1" : "0");
  return packed;
}

LaunchRequest UnpackPinPopup(const ExtraData& extra_data) {
  LaunchRequest request;
  request.object_name = kObjectPrefix + std::to_string(FindNumber(extra_data, "Pid"));
  request.method_call = Find(extra_data, "MethodName");
  for (const auto& key : kTexts) request.*key.member = Find(extra_data, key.name);
  for (const auto& key : kNumbers) request.*key.member = FindNumber(extra_data, key.name);
  for (const auto& key : kFlags) request.*key.member = Find(extra_data, key.name) == "1";
  for (const auto& pair : extra_data) {
    if (!IsFixed(pair.first)) request.extra_data.push_back(pair);
  }
  return request;
}

}  // namespace simulator
