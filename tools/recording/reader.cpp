#include "recording/reader.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "recording/json_lines.h"

namespace recording {
namespace {

constexpr std::size_t kBuffer = std::size_t{64} << 10;
constexpr std::size_t kLineKept = std::size_t{1} << 20;

}  // namespace

Reader::Reader(std::string name, std::size_t longest_line)
    : name_(std::move(name)), longest_line_(longest_line), buffer_(kBuffer) {}

Reader::~Reader() {
  if (fd_ >= 0) close(fd_);
}

bool Reader::Open(Header& header) {
  fd_ = name_ == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0) : open(name_.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd_ < 0) {
    problem_ = name_ + ": " + strerror(errno);
    return false;
  }
  const Got got = ReadLine(text_);
  if (got == Got::kFailed) return false;
  std::string wrong = "not a recording, it is empty";
  if (got != Got::kNothing) wrong = recording::ReadLine(text_, header);
  if (!wrong.empty()) Broken(wrong);
  return wrong.empty();
}

Reader::What Reader::Next(Entry& entry) {
  if (!problem_.empty()) return What::kBroken;
  const Got got = ReadLine(text_);
  if (got == Got::kFailed) return What::kBroken;
  // Whoever wrote it was ended in the middle of the line.
  if (got != Got::kLine) return What::kCut;
  const std::string wrong = recording::ReadLine(text_, entry);
  if (!wrong.empty()) return Broken(wrong);
  if (entry.t_us < last_t_us_) return Broken("\"t\" goes back");
  last_t_us_ = entry.t_us;
  if (entry.kind != Kind::kEnd) return What::kEntry;
  if (ReadLine(text_) != Got::kNothing) return Broken("something follows the end");
  return What::kEnd;
}

Reader::Got Reader::ReadLine(std::string& line) {
  line.clear();
  if (line.capacity() > kLineKept) line.shrink_to_fit();
  ++line_;
  while (true) {
    if (begin_ == end_ && !Fill()) {
      if (!problem_.empty()) return Got::kFailed;
      return line.empty() ? Got::kNothing : Got::kPart;
    }
    const char* first = buffer_.data() + begin_;
    const char* last = buffer_.data() + end_;
    const char* end_of_line = std::find(first, last, '\n');
    line.append(first, end_of_line);
    begin_ += static_cast<std::size_t>(end_of_line - first);
    if (line.size() > longest_line_) {
      Broken("a line of more than " + std::to_string(longest_line_) + " bytes");
      return Got::kFailed;
    }
    if (end_of_line == last) continue;
    ++begin_;
    return Got::kLine;
  }
}

// Whether there is more.
bool Reader::Fill() {
  ssize_t got = 0;
  do {
    got = read(fd_, buffer_.data(), buffer_.size());
  } while (got < 0 && errno == EINTR);
  if (got < 0) Broken(strerror(errno));
  begin_ = 0;
  end_ = got > 0 ? static_cast<std::size_t>(got) : 0;
  return got > 0;
}

Reader::What Reader::Broken(const std::string& what) {
  problem_ = name_ + ":" + std::to_string(line_) + ": " + what;
  return What::kBroken;
}

}  // namespace recording
