#include "tv/icon.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "descriptor.h"

namespace home {
namespace {

constexpr off_t kLargest = off_t{1} << 20;

bool IsShown(const struct stat& file) {
  return S_ISREG(file.st_mode) && file.st_size > 0 && file.st_size <= kLargest;
}

struct Format {
  std::string_view begin;
  std::size_t second_at;
  std::string_view second;
  const char* type;
};

constexpr Format kFormats[] = {
    {"\x89PNG\r\n\x1a\n", 0, "", "image/png"},
    {"\xff\xd8\xff", 0, "", "image/jpeg"},
    {"GIF87a", 0, "", "image/gif"},
    {"GIF89a", 0, "", "image/gif"},
    {"RIFF", 8, "WEBP", "image/webp"},
};

bool HasAt(std::string_view bytes, std::size_t place, std::string_view part) {
  return bytes.size() >= place + part.size() && bytes.substr(place, part.size()) == part;
}

const char* TypeOf(std::string_view bytes) {
  for (const Format& format : kFormats) {
    if (HasAt(bytes, 0, format.begin) && HasAt(bytes, format.second_at, format.second)) return format.type;
  }
  return nullptr;
}

}  // namespace

bool MayBeImage(const std::string& path) {
  struct stat file {};
  return !path.empty() && path.front() == '/' && stat(path.c_str(), &file) == 0 && IsShown(file);
}

// A pipe or a device would block, or do something, when it is opened as a file.
std::optional<Image> ReadImage(const std::string& path) {
  if (path.empty() || path.front() != '/') return std::nullopt;
  const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat entry {};
  if (file.number() < 0 || fstat(file.number(), &entry) != 0 || !IsShown(entry)) return std::nullopt;
  Image image;
  image.bytes.resize(static_cast<std::size_t>(entry.st_size));
  std::size_t filled = 0;
  while (filled < image.bytes.size()) {
    const ssize_t size = read(file.number(), image.bytes.data() + filled, image.bytes.size() - filled);
    if (size == 0 || (size < 0 && errno != EINTR)) break;
    if (size > 0) filled += static_cast<std::size_t>(size);
  }
  image.bytes.resize(filled);
  image.type = TypeOf(image.bytes);
  return image.type != nullptr ? std::optional(std::move(image)) : std::nullopt;
}

}  // namespace home
