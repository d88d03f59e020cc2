// A catalogue of applications, as a JSON file:
//   {"apps": [{"id": ..., COLUMN: VALUE, ...}, ...], "config": {NAME: VALUE, ...}}
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "catalogue/catalogue_columns.h"
#include "json.h"

namespace simulator {

struct Catalogue {
  using Value = std::variant<std::string, std::int64_t>;
  using App = std::vector<std::pair<const Column*, Value>>;  // only the columns that the file gives

  std::vector<App> apps;
  std::vector<std::pair<std::string, std::string>> config;
};

// A text column of the application; empty where the file does not give it.
std::string TextOf(const Catalogue::App& app, const std::string& column);

// Throws JsonError.
Catalogue ReadCatalogue(const std::string& path);

}  // namespace simulator
