#include "file.h"

#include <array>

namespace simulator {

bool ReadToEnd(const File& file, std::string& content) {
  std::array<char, 4096> block{};
  ssize_t size = 0;
  while ((size = read(file.get(), block.data(), block.size())) > 0) {
    content.append(block.data(), static_cast<std::size_t>(size));
  }
  return size == 0;
}

}  // namespace simulator
