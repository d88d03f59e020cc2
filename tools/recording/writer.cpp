#include "recording/writer.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "recording/json_lines.h"

namespace recording {
namespace {

// What passes on the bus is nobody else's business.
constexpr mode_t kMode = 0600;

// The number of the error, or 0.
int WriteAll(int fd, const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t written = write(fd, text.data() + done, text.size() - done);
    if (written < 0 && errno != EINTR) return errno;
    if (written > 0) done += static_cast<size_t>(written);
  }
  return 0;
}

}  // namespace

Writer::~Writer() {
  if (fd_ >= 0) close(fd_);
}

int Writer::OpenFile(const std::string& path, Existing existing) {
  const int how = existing == Existing::kRefuse ? O_EXCL : O_TRUNC;
  return open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | how, kMode);
}

std::string Writer::Open(const std::string& path, Existing existing) {
  fd_ = OpenFile(path, existing);
  return fd_ >= 0 ? "" : strerror(errno);
}

std::string Writer::Write(const Header& header) {
  return WriteLine(LineOf(header));
}

std::string Writer::Write(const Entry& entry) {
  last_t_us_ = std::max(last_t_us_, entry.t_us);
  if (entry.t_us == last_t_us_) return WriteLine(LineOf(entry));
  Entry later = entry;
  later.t_us = last_t_us_;
  return WriteLine(LineOf(later));
}

std::string Writer::End(std::int64_t t_us, const std::string& reason) {
  Entry entry;
  entry.t_us = t_us;
  entry.kind = Kind::kEnd;
  entry.reason = reason;
  const std::int64_t place = last_line_;
  if (Write(entry).empty()) return "";
  CutAt(place);
  return Write(entry);
}

std::string Writer::WriteLine(std::string line) {
  line += '\n';
  const int error = WriteAll(fd_, line);
  if (error != 0) {
    CutAt(end_);
    return strerror(error);
  }
  last_line_ = std::exchange(end_, end_ + static_cast<std::int64_t>(line.size()));
  return "";
}

// Neither a pipe nor a terminal takes anything back.
void Writer::CutAt(std::int64_t end) {
  if (ftruncate(fd_, end) != 0) return;
  lseek(fd_, end, SEEK_SET);
  end_ = end;
}

}  // namespace recording
