// Writes a recording, line by line: what is written stays readable, whatever happens next.
#pragma once

#include <cstdint>
#include <string>

#include "recording/format.h"

namespace recording {

class Writer {
 public:
  enum class Existing { kRefuse, kReplace };

  Writer() = default;
  explicit Writer(int fd) : fd_(fd) {}  // owns it
  ~Writer();
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  // These say why they failed, in the system's words, or nothing. A time before the last one's becomes that one. After
  // a line that could not be written whole, the file ends with the last whole line.
  std::string Open(const std::string& path, Existing existing);
  // The same, for who writes the file in another form; -1 where it failed.
  static int OpenFile(const std::string& path, Existing existing);
  std::string Write(const Header& header);
  std::string Write(const Entry& entry);

  // The last line. Where the disk is full it takes the place of the last entry.
  std::string End(std::int64_t t_us, const std::string& reason);

 private:
  std::string WriteLine(std::string line);
  void CutAt(std::int64_t end);

  int fd_ = -1;
  std::int64_t last_t_us_ = 0;
  std::int64_t last_line_ = 0;  // where it begins
  std::int64_t end_ = 0;        // of the last whole line
};

}  // namespace recording
