// The launch record that an entry point fills and the launch request carries.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <utility>

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

using NuvExtraDatas = std::list<std::pair<std::string, std::string>>;

struct _NUV_LAUNCHER_DATA {
  std::string appId;
  std::string payload;
  std::string uri;  // of a deep link
  std::string callerId;
  std::string entry;
  std::string relocateBelowApp;  // application below which the launched one is to be placed
  std::string launchRequestor;   // requesting component
  uintptr_t callback = 0;        // of the shape that cbType names
  void* userData = nullptr;
  uint8_t bReady = 1;  // not sent
  uint8_t bForceLaunch = 0;
  uint8_t bDeepLink = 0;
  uint8_t bPreLoad = 0;
  uint8_t bOption1 = 0;
  uint8_t bOption2 = 1;
  uint8_t bOption3 = 1;
  uint8_t bOption4 = 0;
  std::string reservedText;  // not sent
  int32_t nReserved = -1;    // not sent
  int32_t cbType = kNotifyCallback;
  uint8_t bExtraOption = 0;
  uint8_t bBackground = 0;
  uint8_t bSkipPIN = 0;
  NuvExtraDatas extraDatas;  // for the launched application, in order
};
