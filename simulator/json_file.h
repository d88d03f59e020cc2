// A JSON document from a file.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace simulator {

// Throws std::runtime_error with the reason when the file cannot be read or is no JSON.
nlohmann::json ReadJsonFile(const std::string& path);

}  // namespace simulator
