// A bus, a service under the test's control, and the host platform: what launches of a component meet.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <mutex>
#include <nuv/nuv_launch.hpp>
#include <string>
#include <thread>
#include <vector>

#include "private_bus.h"
#include "process.h"
#include "recording_service.h"
#include "temp_dir.h"

constexpr std::chrono::milliseconds kLong(60000);  // a limit that is never reached
constexpr std::chrono::milliseconds kShort(100);   // one that is meant to be

// What a callback heard, and where. It outlives its test, as a callback may.
class Outcomes {
 public:
  void Add(const nuv::LaunchOutcome& outcome) {
    const std::lock_guard<std::mutex> lock(mutex_);
    outcomes_.push_back(outcome);
    threads_.push_back(std::this_thread::get_id());
  }
  std::vector<nuv::LaunchOutcome> All() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return outcomes_;
  }
  std::vector<std::thread::id> Threads() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return threads_;
  }
  bool WaitFor(size_t count) const {
    return WaitUntil([&] { return All().size() >= count; });
  }

 private:
  mutable std::mutex mutex_;
  std::vector<nuv::LaunchOutcome> outcomes_;
  std::vector<std::thread::id> threads_;
};

// Closed until it is opened.
class Gate {
 public:
  void Open() { open_.set_value(); }
  // The limit only ends a test that hangs.
  void Pass() const { opened_.wait_for(kLong); }

 private:
  std::promise<void> open_;
  std::shared_future<void> opened_ = open_.get_future().share();
};

class LaunchDeskTest : public ::testing::Test {
 protected:
  LaunchDeskTest() { setenv("NUV_HOST_DIR", host_.path().c_str(), 1); }

  void StartService() {
    service_ = std::make_unique<RecordingService>(bus_.address());
    service_->AnswerTo("get_extra_app", {RecordingService::Answer::kReply, "('',)", ""});
  }
  // Each launch gets these results as soon as it is answered.
  void AnswerWith(std::vector<SentResult> results) {
    StartService();
    service_->OnAnswered([this, results](const RecordedCall& call) {
      if (call.method != "launch_app") return;
      for (const SentResult& result : results) service_->SendToClient(UnpackLaunch(call), result);
    });
  }
  void Refuse(const std::string& message = "no") {
    service_->AnswerTo("launch_app", {RecordingService::Answer::kError, message});
  }

  TempDir host_;
  PrivateBus bus_;
  std::unique_ptr<RecordingService> service_;
};

inline SentResult Result(int event, int status = 0) {
  SentResult result;
  result.event_type = event;
  result.res = status;
  return result;
}
