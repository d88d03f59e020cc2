// Reads a recording, a line at a time, whatever its size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "recording/format.h"

namespace recording {

class Reader {
 public:
  enum class What {
    kEntry,
    kEnd,    // the last entry; it was given
    kCut,    // the recording stops without an end
    kBroken  // Problem() says what and where
  };

  // The name goes into what is said of problems.
  explicit Reader(std::string name, std::size_t longest_line = kLongestLine);
  ~Reader();
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  // The file, and its header; false where Problem() says why not. "-" is the standard input.
  bool Open(Header& header);

  // After anything but kEntry there is nothing more.
  What Next(Entry& entry);

  const std::string& Problem() const { return problem_; }
  std::size_t line() const { return line_; }  // of what was read last

 private:
  enum class Got { kLine, kPart, kNothing, kFailed };

  Got ReadLine(std::string& line);
  bool Fill();
  What Broken(const std::string& what);

  const std::string name_;
  const std::size_t longest_line_;
  int fd_ = -1;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;  // of what of the buffer is not read yet
  std::size_t end_ = 0;
  std::size_t line_ = 0;
  std::int64_t last_t_us_ = 0;
  std::string text_;
  std::string problem_;
};

}  // namespace recording
