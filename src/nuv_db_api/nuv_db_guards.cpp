#include "nuv_db_api/nuv_db_guards.h"

#include <nuv_platform/platform_settings.h>

#include "nuv_db_common/nuv_app_state.h"

namespace {

constexpr const char* kFactoryResetKey = "db/nuv/factory_reset";

}  // namespace

bool CkeckIsFactoryReset() {  // misspelt; its name is in the log
  NUV_MILESTONE(NUV_GREEN "CkeckIsFactoryReset" NUV_PLAIN);
  int state = 0;
  if (vconf_get_int(kFactoryResetKey, &state) != 0) {
    NUV_ERROR(NUV_RED "Failed to get vconf value key=(%s)" NUV_PLAIN, kFactoryResetKey);
    state = 0;
  }
  NUV_INFO(NUV_GREEN "CheckPkgmgrRecovering end" NUV_PLAIN);  // the other guard's name, as readers of the log know it
  return state == 1 || state == 2;
}

bool CheckPkgmgrRecovering() {
  NUV_MILESTONE(NUV_GREEN "CheckPkgmgrRecovering" NUV_PLAIN);
  if (RepairMarkerExists()) {
    NUV_INFO(NUV_GREEN "CheckPkgmgrRecovering true" NUV_PLAIN);
    return true;
  }
  NUV_INFO(NUV_GREEN "CheckPkgmgrRecovering false" NUV_PLAIN);
  return false;
}

bool ReadingIsRefused(const char* factoryResetNotice, const LogOrigin& origin) {
  if (CkeckIsFactoryReset()) {
    NUV_INFO_FROM(origin, "%s", factoryResetNotice);
    return true;
  }
  if (CheckPkgmgrRecovering()) {
    NUV_ERROR_FROM(origin, NUV_RED "Pkgmgr is recovering" NUV_PLAIN);
    return true;
  }
  return false;
}
