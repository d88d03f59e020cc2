#include "catalogue/catalogue_file.h"

#include <algorithm>
#include <cstring>

#include "json_file.h"

namespace simulator {
namespace {

using nlohmann::json;

const Column* FindColumn(const std::string& name) {
  const auto& columns = CatalogueColumns();
  const auto found = std::find_if(columns.begin(), columns.end(), [&](const Column& c) { return name == c.name; });
  return found == columns.end() ? nullptr : &*found;
}

Catalogue::Value ReadValue(const Column& column, const json& value) {
  if (column.type == ColumnType::kText) {
    if (value.is_string()) return value.get<std::string>();
    throw CatalogueError("has to be a text");
  }
  if (value.is_boolean()) return std::int64_t{value.get<bool>()};
  if (!value.is_number_integer()) throw CatalogueError("has to be an integer");
  if (value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX) {
    throw CatalogueError("is larger than a column can hold");
  }
  return value.get<std::int64_t>();
}

Catalogue::App ReadApp(const json& object) {
  if (!object.is_object()) throw CatalogueError(" has to be an object");
  if (!object.contains("id") || object["id"] == json("")) throw CatalogueError(" has no id");
  Catalogue::App app;
  for (const auto& [key, value] : object.items()) {
    const Column* column = FindColumn(key);
    if (column == nullptr) throw CatalogueError("." + key + ": there is no such column");
    try {
      app.emplace_back(column, ReadValue(*column, value));
    } catch (const CatalogueError& error) {
      throw CatalogueError("." + key + " " + error.what());
    }
  }
  return app;
}

void ReadApps(const json& list, Catalogue& catalogue) {
  if (!list.is_array()) throw CatalogueError("apps has to be a list");
  for (std::size_t i = 0; i < list.size(); ++i) {
    try {
      catalogue.apps.push_back(ReadApp(list[i]));
    } catch (const CatalogueError& error) {
      throw CatalogueError("apps[" + std::to_string(i) + "]" + error.what());
    }
  }
}

void ReadConfig(const json& object, Catalogue& catalogue) {
  if (!object.is_object()) throw CatalogueError("config has to be an object");
  for (const auto& [name, value] : object.items()) {
    if (!value.is_string()) throw CatalogueError("config." + name + " has to be a text");
    catalogue.config.emplace_back(name, value.get<std::string>());
  }
}

Catalogue ReadDocument(const json& document) {
  if (!document.is_object()) throw CatalogueError("has to be an object");
  Catalogue catalogue;
  for (const auto& [key, value] : document.items()) {
    if (key == "apps") {
      ReadApps(value, catalogue);
    } else if (key == "config") {
      ReadConfig(value, catalogue);
    } else {
      throw CatalogueError(key + ": neither \"apps\" nor \"config\"");
    }
  }
  return catalogue;
}

}  // namespace

Catalogue ReadCatalogue(const std::string& path) {
  try {
    return ReadDocument(ReadJsonFile(path));
  } catch (const CatalogueError& error) {
    throw CatalogueError(path + ": " + error.what());
  } catch (const std::runtime_error& error) {
    throw CatalogueError(error.what());
  }
}

}  // namespace simulator
