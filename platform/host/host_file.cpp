#include "host_file.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "host_write.h"

namespace nuv::host {

namespace {

// Makes them for their owner only, whatever the umask: nuv-simulator refuses a state directory that others can write
// to.
bool MakeDirectories(const std::filesystem::path& directory) {
  if (directory.empty() || std::filesystem::is_directory(directory)) return true;
  if (directory != directory.parent_path() && !MakeDirectories(directory.parent_path())) return false;
  return mkdir(directory.c_str(), 0700) == 0 || errno == EEXIST;
}

constexpr size_t kSmallFileLimit = size_t{64} * 1024;

bool WriteAll(int fd, std::string_view content) {
  const WriteSignalsOff off;
  while (!content.empty()) {
    const ssize_t written = off.Checked(WriteOnce(fd, content.data(), content.size()), content.size());
    if (written <= 0) return false;
    content.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

// A name of this process's own beside the file; its leading dot keeps it out of listings.
std::string TemporaryName(const std::filesystem::path& target) {
  static std::atomic<unsigned> next{0};
  return target.parent_path() / (".nuv-" + std::to_string(getpid()) + "-" + std::to_string(next++));
}

bool WriteNewFile(const std::string& path, std::string_view content) {
  unlink(path.c_str());  // left behind by a process that had this id before
  const UniqueFd fd(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
  return fd.valid() && WriteAll(fd.get(), content);
}

}  // namespace

UniqueFd::~UniqueFd() {
  if (fd_ >= 0) close(fd_);
}

int UniqueFd::Release() {
  const int fd = fd_;
  fd_ = -1;
  return fd;
}

std::optional<std::string> ReadSmallFile(const std::string& path) {
  // Not blocking: a FIFO put in the place of the file must not hold the caller.
  const UniqueFd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status;
  if (!fd.valid() || fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  std::string content;
  char block[1024];  // the stack may be a small one
  for (;;) {
    const ssize_t got = read(fd.get(), block, sizeof block);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::nullopt;
    if (got == 0) return content;
    content.append(block, static_cast<size_t>(got));
    if (content.size() > kSmallFileLimit) return std::nullopt;
  }
}

bool ReplaceFile(const std::string& path, std::string_view content) {
  const std::filesystem::path target(path);
  if (!MakeDirectories(target.parent_path())) return false;
  const std::string temporary = TemporaryName(target);
  if (WriteNewFile(temporary, content) && rename(temporary.c_str(), path.c_str()) == 0) return true;
  unlink(temporary.c_str());
  return false;
}

template <typename Integer>
std::optional<Integer> ParseDecimal(std::string_view text) {
  Integer value = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || rest != end) return std::nullopt;
  return value;
}
template std::optional<int> ParseDecimal<int>(std::string_view);
template std::optional<unsigned long long> ParseDecimal<unsigned long long>(std::string_view);

char* MallocText(const std::string& text) {
  return strdup(text.c_str());
}

}  // namespace nuv::host
