// What both sides of the application database know about the state of applications and of their packages.
#pragma once

#include <sys/stat.h>

#include <cerrno>

// The values of these columns for an application that can be used.
enum AppState {
  kInstalled = 3,      // install_state
  kAvailable = 1,      // is_app_available
  kNoResetNeeded = 0,  // is_need_reset
  kVisible = 0         // is_hidden
};

// Whether packages are being repaired. Only the marker's existence counts: in a 32-bit process stat() of an existing
// file may fail with EOVERFLOW.
inline bool RepairMarkerExists() {
  struct stat marker;
  return stat("/opt/dbspace/pkgreinstall", &marker) == 0 || errno == EOVERFLOW;
}
