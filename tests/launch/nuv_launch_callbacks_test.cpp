// The callbacks of launches that are on their way.
#include "nuv_launcher_api/nuv_launch_callbacks.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "nuv_launcher_api/nuv_launcher_data.h"

namespace {

TEST(LaunchCallbacks, KeepEveryBitOfAnAddress) {
  static_assert(sizeof nuv_launcher_user_callback::callback == sizeof(void (*)()));
  static_assert(sizeof _NUV_LAUNCHER_DATA::callback == sizeof(void (*)()));
  for (size_t bit = 0; bit < 8 * sizeof(uintptr_t); ++bit) {
    const uintptr_t address = uintptr_t{1} << bit;
    KeepLaunchCallback(7, {address, reinterpret_cast<void*>(address)});
    EXPECT_EQ(address, FindLaunchCallback(7).callback);
    EXPECT_EQ(reinterpret_cast<void*>(address), FindLaunchCallback(7).userData);
  }
}

}  // namespace
