#include <nuv_platform/platform_path.h>

#include "host_guard.h"
#include "host_state.h"

const char* nuv_platform_get_path(int variable) {
  if (variable != NUV_PATH_APP_DATABASE_DIR) return nullptr;
  return nuv::host::Guarded<const char*>(nullptr, []() -> const char* {
    const std::string& directory = nuv::host::StateDirectory();
    return directory.empty() ? nullptr : directory.c_str();
  });
}
