#include "host_state.h"

#include <pwd.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace nuv::host {

namespace {

std::string Environment(const char* name) {
  const char* const value = secure_getenv(name);
  return value == nullptr ? "" : value;
}

std::string HomeDirectory() {
  std::string home = Environment("HOME");
  if (!home.empty()) return home;
  passwd entry;
  passwd* found = nullptr;
  std::string text(4096, '\0');
  if (getpwuid_r(getuid(), &entry, text.data(), text.size(), &found) != 0 || found == nullptr) return "";
  return found->pw_dir;
}

std::string Absolute(const std::string& path) {
  std::string absolute = std::filesystem::absolute(path).lexically_normal();
  while (absolute.size() > 1 && absolute.back() == '/') absolute.pop_back();
  return absolute;
}

std::string FindStateDirectory() {
  if (const std::string own = Environment("NUV_HOST_DIR"); !own.empty()) return Absolute(own);
  // A relative XDG path is invalid by the XDG rules and is ignored.
  if (const std::string xdg = Environment("XDG_STATE_HOME"); !xdg.empty() && xdg[0] == '/') {
    return Absolute(xdg + "/nuv");
  }
  const std::string home = HomeDirectory();
  return home.empty() ? "" : Absolute(home + "/.local/state/nuv");
}

}  // namespace

const std::string& StateDirectory() {
  // Never destroyed, because calls may come while the process ends. No static that is made under a lock: a child forked
  // while another thread was making it would wait for that thread for ever.
  static std::atomic<const std::string*> known{nullptr};
  const std::string* directory = known.load(std::memory_order_acquire);
  if (directory != nullptr) return *directory;
  auto found = std::make_unique<const std::string>(FindStateDirectory());
  return known.compare_exchange_strong(directory, found.get()) ? *found.release() : *directory;
}

std::string StatePath(const std::string& entry) {
  const std::string& directory = StateDirectory();
  return directory.empty() ? "" : directory + "/" + entry;
}

}  // namespace nuv::host
