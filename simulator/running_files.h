// What the host platform reads: running/<platform id>, one file per running application, and hbbtv.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

#include "directory.h"

namespace simulator {

// How an application shows. The numbers are the platform's.
enum class AppStatus { kVisible = 3, kHidden = 4, kBackground = 5 };

// Replaces and removes only what looks like its own files: whatever else people keep there stays.
class RunningFiles {
 public:
  // Locks the directory; throws DirectoryError, which names the one that has it. No file is removed before Clear().
  explicit RunningFiles(const std::string& directory);

  void Clear() const;                                        // removes what an earlier run left behind
  const std::string& Path() const { return state_.Path(); }  // of the state directory
  std::string DatabasePath() const;  // of a database that is a file; made where it is missing. Throws DirectoryError

  void Write(const std::string& platform_id, pid_t pid, AppStatus status) const;
  void Remove(const std::string& platform_id) const;
  void SetHbbtv(const std::string& platform_id);  // empty when no HbbTV application is in front

 private:
  using Form = std::function<bool(const std::string& content)>;

  bool InTheWay(const Directory& place, const std::string& name, const Form& form) const;
  bool Replace(const Directory& place, const std::string& name, const std::string& content, const Form& form) const;
  void RemoveRunning(const std::string& name) const;
  void RemoveOwn(const Directory& place, const std::string& name, const Form& form) const;

  Directory state_;
  Directory running_;
  std::string hbbtv_;  // what is in that file; empty when there is none of this run
};

}  // namespace simulator
