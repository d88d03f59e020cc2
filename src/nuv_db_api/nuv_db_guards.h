// When the catalogue must not be read: while the set is being reset to factory state, and while packages are being
// repaired.
#pragma once

#include <nuv_common/nuv_log.h>

bool CkeckIsFactoryReset();
bool CheckPkgmgrRecovering();

constexpr const char* kFactoryResetNotice = NUV_YELLOW "FactoryReset is true" NUV_PLAIN;
constexpr const char* kFactoryResetMilestone = NUV_GREEN "FactoryReset is true" NUV_PLAIN;

// True, and logged for the caller, while either guard holds. The notice is the caller's own wording.
bool ReadingIsRefused(const char* factoryResetNotice = kFactoryResetNotice, const LogOrigin& origin = Here());

// False, and logged for the caller, where a pointer is null.
inline bool RequireParameters(bool present, const LogOrigin& origin = Here()) {
  if (!present) NUV_ERROR_FROM(origin, NUV_RED "in param is NULL " NUV_PLAIN);
  return present;
}
