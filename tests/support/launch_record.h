// What the callback of a launch was told.
#pragma once

#include <atomic>
#include <functional>
#include <utility>

#include "exported_functions.h"

// A launch, what its callback was told, and what that is to do.
struct LaunchRecord {
  LaunchRecord();

  Arguments arguments;
  std::atomic<int> heard{0};  // results
  std::atomic<int> told{0};   // that the call failed, with 404
  std::atomic<int> wrong{0};  // anything else
  std::atomic<int> result{kPending};
  std::function<void()> in_callback;  // what the callback of a result does

  static constexpr int kPending = -7;
};

inline thread_local LaunchRecord* t_launch = nullptr;  // the launch that this thread is in

inline int Launch(const ExportedCall& launch, LaunchRecord& record) {
  LaunchRecord* outer = std::exchange(t_launch, &record);
  record.result = launch.call(record.arguments);
  t_launch = outer;
  return record.result;
}

inline void HearResult(LaunchRecord& record) {
  if (record.in_callback) record.in_callback();
  ++record.heard;  // last: nothing else is to come
}

inline void OnLaunchNotify(const char* app, nuv_notify_event_e event, int reserved, int result, void* data) {
  auto& record = *static_cast<LaunchRecord*>(data);
  const bool own = app == record.arguments.id && reserved == 0;
  if (own && &record == t_launch && event == 903 && result == 404) {
    ++record.told;
  } else if (own && &record != t_launch && event == 900 && result == 0) {
    HearResult(record);
  } else {
    ++record.wrong;
  }
}

// A failed call is told in the order of the other shape.
inline void OnLaunchResult(void* data, int reserved, const char* app, int result) {
  if (reserved == 903) {
    const bool own = t_launch != nullptr && static_cast<const char*>(data) == t_launch->arguments.id && result == 404;
    if (t_launch != nullptr) ++(own ? t_launch->told : t_launch->wrong);
    return;
  }
  auto& record = *static_cast<LaunchRecord*>(data);
  if (app == record.arguments.id && reserved == 0 && result == 600) {
    HearResult(record);
  } else {
    ++record.wrong;
  }
}

inline LaunchRecord::LaunchRecord() {
  arguments.on_notify = OnLaunchNotify;
  arguments.on_result = OnLaunchResult;
  arguments.user_data = this;
}
