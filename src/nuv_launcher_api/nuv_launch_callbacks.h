// Who hears the outcome of which launch.
#pragma once

#include <cstdint>

struct nuv_launcher_user_callback {
  uintptr_t callback = 0;
  void* userData = nullptr;
};

// Event numbers in their order. They wrap as a 32-bit signed number does.
struct LaunchEvents {
  uint32_t next = 0;
  int32_t Take() { return static_cast<int32_t>(next++); }
};

// The next event number; no two requests get the same.
int32_t TakeLaunchEvent();

// Keeps a callback under its event number, in place of any that is there.
void KeepLaunchCallback(int32_t event, const nuv_launcher_user_callback& callback);

void ForgetLaunchCallback(int32_t event);

// A callback that is kept for a request under way. It is forgotten again unless the request is accepted.
class KeptLaunchCallback {
 public:
  KeptLaunchCallback(int32_t event, const nuv_launcher_user_callback& callback) : m_event(event) {
    KeepLaunchCallback(event, callback);
  }
  ~KeptLaunchCallback() {
    if (!m_accepted) ForgetLaunchCallback(m_event);
  }
  KeptLaunchCallback(const KeptLaunchCallback&) = delete;
  KeptLaunchCallback& operator=(const KeptLaunchCallback&) = delete;

  void Accept() { m_accepted = true; }

 private:
  int32_t m_event;
  bool m_accepted = false;
};

// The callback of an event number. An unknown number gets an entry without a callback. The entry stays: one request may
// hear several events.
nuv_launcher_user_callback FindLaunchCallback(int32_t event);
