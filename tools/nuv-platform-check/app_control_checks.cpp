#include "app_control_checks.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

#include "platform_calls.h"

namespace platform_check {
namespace {

constexpr char kUnlikely[] = "org.example.nuv.platform.check";

struct Free {
  void operator()(char* text) const { std::free(text); }
};
using Text = std::unique_ptr<char, Free>;

struct Destroy {
  void operator()(app_control_h request) const { calls.app_control_destroy(request); }
};
using Request = std::unique_ptr<app_control_s, Destroy>;

Request NewRequest() {
  app_control_h request = nullptr;
  return Request(calls.app_control_create(&request) == 0 ? request : nullptr);
}

constexpr char kNoRequest[] = "app_control_create() makes no request";

struct Member {
  const char* name;
  decltype(PlatformCalls::app_control_set_app_id) PlatformCalls::*set;
  decltype(PlatformCalls::app_control_get_app_id) PlatformCalls::*get;
};

constexpr Member kMembers[] = {
    {"app id", &PlatformCalls::app_control_set_app_id, &PlatformCalls::app_control_get_app_id},
    {"operation", &PlatformCalls::app_control_set_operation, &PlatformCalls::app_control_get_operation},
    {"URI", &PlatformCalls::app_control_set_uri, &PlatformCalls::app_control_get_uri}};

Finding ReadsBack(app_control_h request, const Member& member, const char* expected) {
  char* got = nullptr;
  if ((calls.*member.get)(request, &got) != 0) return std::string("the ") + member.name + " cannot be read";
  const Text text(got);
  if (got == nullptr || std::strcmp(got, expected) != 0) return std::string("the ") + member.name + " is another one";
  return std::nullopt;
}

Finding ExtraIs(app_control_h request, const char* key, const char* expected) {
  char* got = nullptr;
  if (calls.app_control_get_extra_data(request, key, &got) != 0) return std::string(key) + " cannot be read";
  const Text text(got);
  if (got == nullptr || std::strcmp(got, expected) != 0) return std::string(key) + " has another value";
  return std::nullopt;
}

using Keys = std::vector<std::string>;

bool Collect(app_control_h /*request*/, const char* key, void* keys) {
  static_cast<Keys*>(keys)->emplace_back(key);
  return true;
}

}  // namespace

Finding KeepsItsTexts() {
  const Request request = NewRequest();
  if (request == nullptr) return kNoRequest;
  for (const Member& member : kMembers) {
    for (const char* value : {"first", "", "a longer text with \xc3\xa4"}) {
      if ((calls.*member.set)(request.get(), value) != 0) return std::string("the ") + member.name + " cannot be set";
      if (Finding wrong = ReadsBack(request.get(), member, value)) return wrong;
    }
  }
  return std::nullopt;
}

Finding HandsOutNullForWhatIsNotSet() {
  const Request request = NewRequest();
  if (request == nullptr) return kNoRequest;
  for (const Member& member : {kMembers[0], kMembers[2]}) {
    char* got = const_cast<char*>("untouched");
    if ((calls.*member.get)(request.get(), &got) != 0) return std::string("an unset ") + member.name + " is a failure";
    if (got != nullptr) return std::string("an unset ") + member.name + " is not NULL";
  }
  return std::nullopt;
}

Finding HandsOutCopies() {
  Request request = NewRequest();
  if (request == nullptr) return kNoRequest;
  std::string value = kUnlikely;
  calls.app_control_set_app_id(request.get(), value.c_str());
  value.assign(value.size(), 'x');
  if (Finding wrong = ReadsBack(request.get(), kMembers[0], kUnlikely)) return "the caller's text is not copied";
  char* got = nullptr;
  calls.app_control_get_app_id(request.get(), &got);
  const Text text(got);
  if (got == nullptr) return "the app id is gone";
  got[0] = 'X';
  if (ReadsBack(request.get(), kMembers[0], kUnlikely)) return "what is handed out is the request's own text";
  request.reset();
  return got[1] == kUnlikely[1] ? std::nullopt : Finding("what was handed out ends with the request");
}

Finding KeepsExtraData() {
  const Request request = NewRequest();
  if (request == nullptr) return kNoRequest;
  constexpr int kMany = 1000;
  for (int i = 0; i < kMany; ++i) {
    const std::string key = "key" + std::to_string(i);
    if (calls.app_control_add_extra_data(request.get(), key.c_str(), key.c_str()) != 0) return "refused: " + key;
  }
  const std::string large(1 << 20, 'x');
  if (calls.app_control_add_extra_data(request.get(), "large", large.c_str()) != 0)
    return "a value of 1 MiB is refused";
  if (Finding wrong = ExtraIs(request.get(), "large", large.c_str())) return wrong;
  return ExtraIs(request.get(), "key999", "key999");
}

Finding ReplacesTheValueOfAKey() {
  const Request request = NewRequest();
  if (request == nullptr) return kNoRequest;
  for (const char* value : {"old", "new"}) calls.app_control_add_extra_data(request.get(), "key", value);
  if (Finding wrong = ExtraIs(request.get(), "key", "new")) return wrong;
  Keys keys;
  calls.app_control_foreach_extra_data(request.get(), Collect, &keys);
  return keys.size() == 1 ? std::nullopt : Finding("a key that is added twice is there twice");
}

Finding AnAbsentKeyIsAFailure() {
  const Request request = NewRequest();
  if (request == nullptr) return kNoRequest;
  char* got = const_cast<char*>("untouched");
  if (calls.app_control_get_extra_data(request.get(), "absent", &got) >= 0) return "it counts as found";
  return got == nullptr ? std::nullopt : Finding("something else than NULL is handed out");
}

Finding VisitsInTheOrderOfAdding() {
  const Request request = NewRequest();
  if (request == nullptr) return kNoRequest;
  const Keys added = {"zebra", "ape", "mouse", "bear"};
  for (const std::string& key : added) calls.app_control_add_extra_data(request.get(), key.c_str(), "");
  Keys keys;
  if (calls.app_control_foreach_extra_data(request.get(), Collect, &keys) != 0) return "the walk is a failure";
  return keys == added ? std::nullopt : Finding("in another order, or not all");
}

Finding StopsWhenToldTo() {
  const Request request = NewRequest();
  if (request == nullptr) return kNoRequest;
  for (const char* key : {"a", "b", "c"}) calls.app_control_add_extra_data(request.get(), key, "");
  int visited = 0;
  const auto stop = [](app_control_h, const char*, void* count) { return ++*static_cast<int*>(count) < 2; };
  calls.app_control_foreach_extra_data(request.get(), stop, &visited);
  return visited == 2 ? std::nullopt : Finding("visited " + std::to_string(visited) + " of 3 where 2 were wanted");
}

Finding MayBeChangedWhileItIsVisited() {
  const Request request = NewRequest();
  if (request == nullptr) return kNoRequest;
  for (const char* key : {"a", "b"}) calls.app_control_add_extra_data(request.get(), key, "");
  Keys keys;
  const auto add = [](app_control_h visited, const char* key, void* seen) {
    static_cast<Keys*>(seen)->emplace_back(key);
    return calls.app_control_add_extra_data(visited, (std::string(key) + "+").c_str(), "") == 0;
  };
  calls.app_control_foreach_extra_data(request.get(), add, &keys);
  if (keys != Keys{"a", "b"}) return "what is added on the way is visited, or adding fails";
  return ExtraIs(request.get(), "b+", "");
}

Finding RefusesNull() {
  const Request request = NewRequest();
  if (request == nullptr) return kNoRequest;
  char* text = nullptr;
  const std::pair<const char*, int> results[] = {
      {"add_extra_data() without a request", calls.app_control_add_extra_data(nullptr, "key", "value")},
      {"add_extra_data() without a key", calls.app_control_add_extra_data(request.get(), nullptr, "value")},
      {"add_extra_data() without a value", calls.app_control_add_extra_data(request.get(), "key", nullptr)},
      {"get_extra_data() without a request", calls.app_control_get_extra_data(nullptr, "key", &text)},
      {"get_extra_data() without a key", calls.app_control_get_extra_data(request.get(), nullptr, &text)},
      {"set_app_id() without a request", calls.app_control_set_app_id(nullptr, "id")},
      {"get_app_id() without a request", calls.app_control_get_app_id(nullptr, &text)},
      {"foreach_extra_data() without a request", calls.app_control_foreach_extra_data(nullptr, Collect, nullptr)},
      {"send_launch_request() without a request", calls.app_control_send_launch_request(nullptr, nullptr, nullptr)},
      {"destroy() without a request", calls.app_control_destroy(nullptr)}};
  for (const auto& [call, result] : results) {
    if (result >= 0) return std::string("not refused: app_control_") + call;
  }
  return std::nullopt;
}

Finding TwoThreadsHaveOneEach() {
  std::vector<Finding> findings(4);
  std::vector<std::thread> threads;
  threads.reserve(findings.size());
  for (Finding& finding : findings) {
    threads.emplace_back([&finding] {
      for (int i = 0; i < 200 && !finding; ++i) finding = KeepsItsTexts();
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const Finding& finding : findings) {
    if (finding) return finding;
  }
  return std::nullopt;
}

namespace {

int replies = 0;
int reply_result = 0;

void HearReply(app_control_h /*request*/, app_control_h /*reply*/, int result, void* /*user_data*/) {
  ++replies;
  reply_result = result;
}

}  // namespace

Finding RefusesALaunchOfNothing() {
  const Request request = NewRequest();
  if (request == nullptr) return kNoRequest;
  if (calls.app_control_send_launch_request(request.get(), HearReply, nullptr) >= 0) return "it counts as sent";
  return replies == 0 ? std::nullopt : Finding("the callback of a failed call is called");
}

Finding LaunchesTheApplication() {
  const Request request = NewRequest();
  if (request == nullptr) return kNoRequest;
  calls.app_control_set_app_id(request.get(), allowed.application.c_str());
  calls.app_control_set_operation(request.get(), APP_CONTROL_OPERATION_DEFAULT);
  const int result = calls.app_control_send_launch_request(request.get(), nullptr, nullptr);
  if (result != 0) return "refused with " + std::to_string(result);
  if (calls.app_control_send_launch_request(request.get(), HearReply, nullptr) != 0) return "refused with a callback";
  if (replies > 1) return "the callback is called more than once";
  return replies == 0 || reply_result == 0 ? std::nullopt : Finding("the callback hears a failure");
}

void MakeARequest() {
  const Request request = NewRequest();
  calls.app_control_set_app_id(request.get(), kUnlikely);
  calls.app_control_add_extra_data(request.get(), "key", "value");
}

}  // namespace platform_check
