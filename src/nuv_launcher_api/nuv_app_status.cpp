// Whether an application runs, and which one shows.
#include <nuv/nuv_inner_database.h>
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_api.h>
#include <nuv/nuv_service_launch.h>
#include <nuv_common/nuv_handle.h>
#include <nuv_common/nuv_log.h>
#include <nuv_common/nuv_out_of_memory.h>
#include <nuv_platform/platform_hbbtv.h>

#include <cstdlib>
#include <cstring>
#include <utility>

#include "nuv_launcher_api/IAAul.h"
#include "nuv_launcher_api/nuv_running_apps.h"

namespace {

constexpr int kAndroidApp = 8;
constexpr size_t kShowingIdSize = 255;
constexpr size_t kShowingBlockSize = 128;

int AndroidStatus(const char* app_id, int* status, const LogOrigin& origin = Here()) {
  NUV_INFO_FROM(origin, NUV_YELLOW "Get android app [%s] status." NUV_PLAIN, app_id);
  int value = 0;
  if (nuv_get_android_app_status_internal(app_id, value) != 0) {
    NUV_ERROR_FROM(origin, NUV_RED "get android app status fail." NUV_PLAIN);
    return -1;
  }
  *status = value;
  NUV_INFO_FROM(origin, NUV_YELLOW "%s running status:%d." NUV_PLAIN, app_id, value);
  return 0;
}

// The name by which the platform knows the application.
const std::string& PlatformId(const _APPSINFO_T& record, const char* app_id, const LogOrigin& origin = Here()) {
  if (record.hybrid_app.empty()) return record.kelvo_id;
  NUV_INFO_FROM(origin, NUV_YELLOW "%s is hybrid app:%s." NUV_PLAIN, app_id, record.hybrid_app.c_str());
  return record.hybrid_app;
}

// An HbbTV application shows over everything else.
void PreferHbbtvApp(char* buffer, const LogOrigin& origin = Here()) {
  char* text = nullptr;
  const int running = GetRunningHbbtvApp(&text);
  const AllocatedText owned(text);
  if (running != 1 || text == nullptr) return;
  NUV_INFO_FROM(origin, NUV_YELLOW "Running hbbtv app kelvo id[%s]" NUV_PLAIN, text);
  strncpy(buffer, text, kShowingIdSize);
}

}  // namespace

int nuv_get_android_app_status_internal(const char* app_id, int& status) {
  if (app_id == nullptr) {
    NUV_ERROR(NUV_RED "in param is NULL" NUV_PLAIN);
    return -1;
  }
  return nuv_get_android_app_status_client(app_id, status);
}

int nuv_get_app_status(const char* app_id, int* status) try {
  const std::string id(app_id);
  _APPSINFO_T record;
  if (nuv_inner_get_app_info_by_id(id, record, true) != 0 || status == nullptr) {
    NUV_ERROR(NUV_RED "get app info fail." NUV_PLAIN);
    return -1;
  }
  if (record.app_type == kAndroidApp) return AndroidStatus(app_id, status);
  const bool running = ICAul::AulAppIsRunning(PlatformId(record, app_id).c_str());
  *status = running ? 1 : 0;
  NUV_INFO(NUV_YELLOW "App [%s] is %s." NUV_PLAIN, app_id, running ? "running" : "stopped");
  return 0;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_get_running_appIter_func(const aul_app_info* info, void* buffer) try {
  if (buffer == nullptr) return -1;
  char* showing = static_cast<char*>(buffer);
  if (*showing != '\0' || info->status != NUV_AUL_STATUS_VISIBLE) return 0;
  std::string id;
  if (nuv_inner_get_appid_by_kelvoid_or_nativeid(std::string(info->appid), id) != 0) return 0;
  strncpy(showing, id.c_str(), kShowingIdSize);
  showing[kShowingIdSize - 1] = '\0';
  return -1;
} catch (const std::bad_alloc&) {
  OutOfMemory();
  return 0;  // like any lookup that fails
}

std::string nuv_get_showing_appid() {
  char buffer[kShowingIdSize + 1] = {};
  aul_app_get_running_app_info(nuv_get_running_appIter_func, buffer);
  PreferHbbtvApp(buffer);
  NUV_INFO(NUV_YELLOW "Showing app is: %s" NUV_PLAIN, buffer);
  return buffer;
}

int nuv_get_current_showing_app(char** app_id) {
  if (app_id == nullptr) {
    NUV_ERROR(NUV_RED "in param is NULL" NUV_PLAIN);
    return -1;
  }
  return nuv_get_current_showing_app_client(app_id);
}

int nuv_get_current_showing_app_client(char** app_id) try {
  if (app_id == nullptr) {
    NUV_ERROR(NUV_RED "in param is NULL" NUV_PLAIN);
    return -1;
  }
  *app_id = static_cast<char*>(calloc(kShowingBlockSize, 1));
  if (*app_id == nullptr) {
    NUV_ERROR(NUV_RED "appid malloc is NULL" NUV_PLAIN);
    return -1;
  }
  const std::string id = nuv_get_showing_appid();
  if (id.empty()) return 0;
  id.copy(*app_id, kShowingBlockSize - 1);
  if (id.size() >= kShowingBlockSize) {
    NUV_ERROR(NUV_RED "the id is cut at %d characters: %s" NUV_PLAIN, static_cast<int>(kShowingBlockSize) - 1,
              id.c_str());
  }
  NUV_INFO(NUV_YELLOW "Current showing app id [%s]." NUV_PLAIN, *app_id);
  return 0;
} catch (const std::bad_alloc&) {
  const AllocatedText unused(std::exchange(*app_id, nullptr));
  return OutOfMemory();
}
