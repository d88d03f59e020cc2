// What the host platform reads: running/<platform id>, one file per running application, and hbbtv.
#pragma once

#include <sys/types.h>

#include <string>

namespace simulator {

// How an application shows. The numbers are the platform's.
enum class AppStatus { kVisible = 3, kHidden = 4, kBackground = 5 };

class RunningFiles {
 public:
  // Removes what an earlier run left behind.
  explicit RunningFiles(const std::string& directory);

  void Write(const std::string& platform_id, pid_t pid, AppStatus status) const;
  void Remove(const std::string& platform_id) const;
  void SetHbbtv(const std::string& platform_id) const;  // empty when no HbbTV application is in front

 private:
  void Replace(const std::string& path, const std::string& content) const;
  std::string PathOf(const std::string& platform_id) const;

  std::string directory_;
};

// When the process started, in clock ticks since boot; 0 when there is no such process.
unsigned long long StartTime(pid_t pid);

}  // namespace simulator
