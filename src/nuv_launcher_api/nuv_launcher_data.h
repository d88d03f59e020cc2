// The options that an entry point fixes, and the request to the common-UI application. The launch record itself is
// public: nuv/nuv_service_launch.h.
#pragma once

#include <nuv/nuv_service_launch.h>

#include <cstdint>
#include <string>

// What an entry point fixes about its launches.
struct _NUV_LAUNCHER_OPS {
  uint8_t bDeepLink;
  uint8_t bForceLaunch;
  int32_t cbType;  // 1: nuv_launch_notify_cb, any other value: nuv_launch_result_cb
  uint8_t bExtraOption;
  uint8_t bBackground;
};

constexpr int32_t kNotifyCallback = 1;
constexpr int32_t kResultCallback = 0;

using NuvExtraDatas = decltype(_NUV_LAUNCHER_DATA::extraDatas);

// A launch that needs the user's PIN first. The three numbers are texts of the caller.
struct _NUV_LAUNCHER_COMMUI_DATA {
  std::string appId;
  std::string payload;
  std::string uri;
  std::string callerId;
  std::string entry;
  std::string relocateBelowApp;
  std::string launchRequestor;
  uint8_t bForceLaunch = 0;
  uint8_t bDeepLink = 0;
  uint8_t bBackground = 0;
  int32_t index = -1;  // event number of the launch
  const char* pidText = nullptr;
  const char* threadIdText = nullptr;  // of the listener
  const char* appTypeText = nullptr;
  int32_t cbType = -1;
  NuvExtraDatas extraDatas;
};
