#include <nuv_platform/platform_hbbtv.h>

#include "host_file.h"
#include "host_guard.h"
#include "host_state.h"

int GetRunningHbbtvApp(char** app_id) {
  if (app_id == nullptr) return -1;
  *app_id = nullptr;
  return nuv::host::Guarded(-1, [&] {
    std::string id = nuv::host::ReadSmallFile(nuv::host::StatePath("hbbtv")).value_or("");
    id.erase(id.find_last_not_of(" \t\r\n") + 1);
    if (id.empty()) return 0;
    *app_id = nuv::host::MallocText(id);
    return *app_id == nullptr ? -1 : 1;
  });
}
