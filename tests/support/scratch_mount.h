// A small file system of a test's own over a directory, which no other process sees.
#pragma once

#include <errno.h>
#include <sched.h>
#include <sys/mount.h>

#include <cstring>
#include <string>

class ScratchMount {
 public:
  // Hides what the directory holds. Where it may not be made, Problem() says why.
  ScratchMount(const std::string& directory, const std::string& size) : directory_(directory) {
    mounted_ = unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount("tmpfs", directory_.c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0;
    if (!mounted_) problem_ = std::string("no file system of its own can be mounted: ") + strerror(errno);
  }
  ~ScratchMount() {
    if (mounted_) umount2(directory_.c_str(), MNT_DETACH);
  }
  ScratchMount(const ScratchMount&) = delete;
  ScratchMount& operator=(const ScratchMount&) = delete;

  const std::string& Problem() const { return problem_; }
  bool ReadOnly(bool on) const {
    return mount("none", directory_.c_str(), nullptr, MS_REMOUNT | (on ? MS_RDONLY : 0), nullptr) == 0;
  }

 private:
  std::string directory_;
  std::string problem_;
  bool mounted_ = false;
};
