// A private bus, a recording service on it, and what callbacks heard: the fixture of the launch tests.
#pragma once

#include <gtest/gtest.h>
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_api.h>

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "fake_platform.h"
#include "private_bus.h"
#include "recording_service.h"

// One call of a user callback, as text: "notify app 903 0 404" or "result 0 app 610".
class Heard {
 public:
  void Add(const std::string& text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    texts_.push_back(text);
    threads_.push_back(std::this_thread::get_id());
    fake_platform::AddEffect("callback " + text);
  }
  std::vector<std::string> Texts() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return texts_;
  }
  std::vector<std::thread::id> Threads() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return threads_;
  }
  bool WaitFor(size_t count) const {
    return WaitUntil([&] { return Texts().size() >= count; });
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> texts_;
  std::vector<std::thread::id> threads_;
};

inline std::string OrNull(const char* text) {
  return text == nullptr ? "null" : text;
}

inline void OnNotify(const char* app_id, nuv_notify_event_e event, int reserved, int result, void* heard) {
  static_cast<Heard*>(heard)->Add("notify " + OrNull(app_id) + " " + std::to_string(event) + " " +
                                  std::to_string(reserved) + " " + std::to_string(result));
}

inline void OnResult(void* heard, int reserved, const char* app_id, int result) {
  static_cast<Heard*>(heard)->Add("result " + std::to_string(reserved) + " " + OrNull(app_id) + " " +
                                  std::to_string(result));
}

class LaunchTest : public ::testing::Test {
 protected:
  void StartService() { service_ = std::make_unique<RecordingService>(bus_.address()); }

  // Effects and calls so far are forgotten; the link is up.
  void WarmUp() {
    StartService();
    ASSERT_EQ(0, nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1));
    ASSERT_TRUE(fake_platform::WaitForOwnName());
    service_->Forget();
    fake_platform::Clear();
  }

  // Calls of the service become effects, so that their order with the others shows.
  void CallsAsEffects() {
    service_->OnCall([](const RecordedCall& call) {
      if (call.method != "heartbeat") fake_platform::AddEffect("call " + call.method + " " + call.Text());
    });
  }

  PrivateBus bus_;
  std::unique_ptr<RecordingService> service_;
  Heard& heard_ = heard_until_exit();

 private:
  // Never destroyed: a callback may come as long as the process runs, even after the test that launched.
  static Heard& heard_until_exit() {
    static std::deque<Heard> of_each_test;
    return of_each_test.emplace_back();
  }
};
