// A file in memory for what reads files only.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "support/must.h"

namespace fuzz {

class TextFile {
 public:
  explicit TextFile(const std::string& content) : m_descriptor(memfd_create("input", 0)) { Replace(content); }
  ~TextFile() { close(m_descriptor); }
  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;

  void Replace(const std::string& content) {
    MUST(ftruncate(m_descriptor, 0) == 0);
    MUST(pwrite(m_descriptor, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()));
  }
  std::string path() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }

 private:
  int m_descriptor;
};

}  // namespace fuzz
