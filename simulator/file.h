// Owners of what the system opens, and reading to the end.
#pragma once

#include <dirent.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <utility>

namespace simulator {

class File {
 public:
  explicit File(int file) : file_(file) {}
  ~File() {
    if (file_ >= 0) close(file_);
  }
  File(File&& other) noexcept : file_(std::exchange(other.file_, -1)) {}
  File& operator=(File&& other) noexcept {
    std::swap(file_, other.file_);
    return *this;
  }

  int get() const { return file_; }
  explicit operator bool() const { return file_ >= 0; }

 private:
  int file_;
};

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};
using DirectoryPtr = std::unique_ptr<DIR, CloseDirectory>;

// Appends all that there is. False, with the reason in errno, when it cannot be read to the end.
bool ReadToEnd(const File& file, std::string& content);

}  // namespace simulator
