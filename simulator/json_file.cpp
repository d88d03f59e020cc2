#include "json_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace simulator {

nlohmann::json ReadJsonFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error(path + ": " + std::strerror(errno));
  try {
    return nlohmann::json::parse(in);
  } catch (const nlohmann::json::exception& error) {
    throw std::runtime_error(path + ": " + error.what());
  }
}

}  // namespace simulator
