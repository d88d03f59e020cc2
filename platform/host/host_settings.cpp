#include <nuv_platform/platform_settings.h>

#include <string_view>

#include "host_file.h"
#include "host_guard.h"
#include "host_state.h"

namespace {

using nuv::host::Guarded;

// A key names a file below settings/: components that are neither empty nor lead elsewhere.
bool KeyIsSafe(std::string_view key) {
  for (;;) {
    const size_t slash = key.find('/');
    const std::string_view component = key.substr(0, slash);
    if (component.empty() || component == "." || component == "..") return false;
    if (slash == std::string_view::npos) return true;
    key.remove_prefix(slash + 1);
  }
}

// Path of the key's file; empty for a key that is refused.
std::string SettingPath(const char* key) {
  if (key == nullptr || !KeyIsSafe(key)) return "";
  return nuv::host::StatePath("settings/" + std::string(key));
}

}  // namespace

int vconf_get_int(const char* key, int* value) {
  return Guarded(-1, [&] {
    const std::string path = SettingPath(key);
    if (path.empty() || value == nullptr) return -1;
    const auto content = nuv::host::ReadSmallFile(path);
    if (!content) return -1;
    std::string_view text = *content;
    if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
    const auto number = nuv::host::ParseDecimal<int>(text);
    if (!number) return -1;
    *value = *number;
    return 0;
  });
}

int vconf_set_str(const char* key, const char* value) {
  return Guarded(-1, [&] {
    const std::string path = SettingPath(key);
    if (path.empty() || value == nullptr) return -1;
    return nuv::host::ReplaceFile(path, value) ? 0 : -1;
  });
}
