// The "launch_app" request.
#pragma once

#include <cstdint>

#include "nuv_common/nuv_proxy.h"
#include "nuv_launcher_api/nuv_launcher_data.h"

class NUVMem {
 public:
  // memset; a null dest is logged and left alone.
  static void* Set(void* dest, int value, unsigned int size);
};

class NUVString {
 public:
  // strncpy of at most size characters; a null dest or src is logged and nothing is copied.
  static char* Copy(char* dest, const char* src, unsigned int size);
};

// The floating request tuple; null, and logged, when the record cannot travel on the bus.
GVariant* MakeLaunchRequest(const CNUVGdbus::Endpoint& endpoint, const _NUV_LAUNCHER_DATA& data, int32_t event);
