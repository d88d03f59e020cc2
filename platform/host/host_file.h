// Small files, read and replaced in one go.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace nuv::host {

class UniqueFd {
 public:
  explicit UniqueFd(int fd = -1) : fd_(fd) {}
  ~UniqueFd();
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  int Release();

 private:
  int fd_;
};

// Content of a regular file of at most 64 KiB, or nothing.
std::optional<std::string> ReadSmallFile(const std::string& path);

// Readers see the old content or the new one, never a part. Makes the directories above the file.
bool ReplaceFile(const std::string& path, std::string_view content);

// The whole text as a decimal integer, or nothing.
template <typename Integer>
std::optional<Integer> ParseDecimal(std::string_view text);

// malloc'ed copy for a C caller, or NULL when there is no memory.
char* MallocText(const std::string& text);

}  // namespace nuv::host
