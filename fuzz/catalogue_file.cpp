// Catalogue files of nuv-simulator: any bytes become exactly the applications and settings that the document has, or an
// error that names the place.
#include "simulator/catalogue/catalogue_file.h"

#include <cstring>
#include <nlohmann/json.hpp>

#include "support/input.h"
#include "support/text_file.h"

namespace {

using nlohmann::json;
using simulator::Catalogue;
using simulator::ColumnType;

bool Equals(const Catalogue::Value& value, const json& given) {
  if (const auto* text = std::get_if<std::string>(&value)) return given.is_string() && given == json(*text);
  const std::int64_t number = std::get<std::int64_t>(value);
  if (given.is_boolean()) return number == (given == json(true) ? 1 : 0);
  return given.is_number_integer() && given.dump() == std::to_string(number);
}

void CheckApp(const Catalogue::App& app, const json& given) {
  MUST(app.size() == given.size());
  bool has_id = false;
  for (const auto& [column, value] : app) {
    MUST(std::holds_alternative<std::string>(value) == (column->type == ColumnType::kText));
    MUST(given.contains(column->name) && Equals(value, given[column->name]));
    if (strcmp(column->name, "id") == 0) has_id = !std::get<std::string>(value).empty();
  }
  MUST(has_id);
}

// A catalogue that was read against the document that a JSON parser makes of the same text.
void CheckAgainst(const Catalogue& catalogue, const json& document) {
  const json none = json::array();
  const json& apps = document.contains("apps") ? document["apps"] : none;
  MUST(apps.size() == catalogue.apps.size());
  for (size_t i = 0; i < apps.size(); ++i) CheckApp(catalogue.apps[i], apps[i]);
  MUST((document.contains("config") ? document["config"].size() : 0) == catalogue.config.size());
  for (const auto& [name, value] : catalogue.config) MUST(document["config"][name] == json(value));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const fuzz::TextFile file(text);
  Catalogue catalogue;
  try {
    catalogue = simulator::ReadCatalogue(file.path());
  } catch (const simulator::JsonError& error) {
    MUST(std::string(error.what()).find(file.path() + ": ") == 0);
    return 0;
  }
  CheckAgainst(catalogue, json::parse(text));
  return 0;
}
