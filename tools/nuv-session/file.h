// Owner of an open file.
#pragma once

#include <unistd.h>

#include <utility>

namespace session {

class File {
 public:
  explicit File(int file = -1) : file_(file) {}
  ~File() { Close(); }
  File(File&& other) noexcept : file_(std::exchange(other.file_, -1)) {}
  File& operator=(File&& other) noexcept {
    Close();
    file_ = std::exchange(other.file_, -1);
    return *this;
  }

  int get() const { return file_; }
  explicit operator bool() const { return file_ >= 0; }
  void Close() {
    if (file_ >= 0) close(std::exchange(file_, -1));
  }

 private:
  int file_;
};

struct Pipe {
  Pipe();  // closed in programs that are started; throws Failure
  File out;
  File in;
};

}  // namespace session
