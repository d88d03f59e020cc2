// The inner side's connection as callers see it: opening it and switching it.
#include "nuv_inner_db_api/nuv_inner_db.h"

#include <nuv_common/nuv_lock.h>

#include "nuv_db_common/nuv_app_state.h"
#include "nuv_inner_db_api/nuv_db_connection.h"

bool InnerCheckPkgmgrRecovering() {
  return RepairMarkerExists();
}

bool RefusedWhileRecovering(const LogOrigin& origin) {
  if (!InnerCheckPkgmgrRecovering()) return false;
  NUV_ERROR_FROM(origin, NUV_RED "Pkgmgr is recovering" NUV_PLAIN);
  return true;
}

bool RequireKey(const std::string& key, const char* complaint, const LogOrigin& origin) {
  if (*key.c_str() != '\0') return true;
  NUV_ERROR_FROM(origin, "%s", complaint);
  return false;
}

int nuv_inner_db_init() {
  NUV_INFO("DB init");
  const CNUVClientAutoLock lock(g_inner_Mute);
  const DatabaseTurn turn(innerSide);
  if (Connect_Inner(kReadWrite) != 0) {
    NUV_ERROR(NUV_RED "Failed to open nuv db" NUV_PLAIN);
    return -1;
  }
  NUV_ERROR(NUV_YELLOW "success to open nuv db" NUV_PLAIN);
  return 0;
}

void nuv_db_rw_exchange() {
  const DatabaseTurn turn(innerSide);
  if (g_db_type != kReadOnly) {
    NUV_INFO(NUV_YELLOW "[inner db]connected ro db" NUV_PLAIN);  // the line names the other mode
    return;
  }
  DisConnect_Inner();
  Connect_Inner(kReadWrite);
  NUV_INFO(NUV_YELLOW "[inner db]connect rw db" NUV_PLAIN);
}

void nuv_db_ro_exchange() {
  const DatabaseTurn turn(innerSide);
  if (g_db_type != kReadWrite) {
    NUV_INFO(NUV_YELLOW "[inner db]connected rw db" NUV_PLAIN);  // the line names the other mode
    return;
  }
  DisConnect_Inner();
  Connect_Inner(kReadOnly);
  NUV_INFO(NUV_YELLOW "[inner db]connect ro db" NUV_PLAIN);
}
