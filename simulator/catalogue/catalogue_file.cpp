#include "catalogue/catalogue_file.h"

#include <algorithm>
#include <cstring>

namespace simulator {
namespace {

const Column* FindColumn(const std::string& name) {
  const auto& columns = CatalogueColumns();
  const auto found = std::find_if(columns.begin(), columns.end(), [&](const Column& c) { return name == c.name; });
  return found == columns.end() ? nullptr : &*found;
}

Catalogue::Value ReadValue(const Column& column, const Json& value) {
  if (column.type == ColumnType::kText) return value.Text();
  if (value.IsFlag()) return std::int64_t{value.Flag()};
  if (const auto number = value.Integer()) return *number;
  value.Refuse(value.IsInteger() ? "is larger than a column can hold" : "has to be an integer");
}

Catalogue::App ReadApp(const Json& object) {
  const auto members = object.Members();
  const auto id = members.find("id");
  if (id == members.end() || (id->second.IsText() && id->second.Text().empty())) object.Refuse("has no id");
  Catalogue::App app;
  for (const auto& [key, value] : members) {
    const Column* column = FindColumn(key);
    if (column == nullptr) throw JsonError(value.place() + ": there is no such column");
    app.emplace_back(column, ReadValue(*column, value));
  }
  return app;
}

}  // namespace

std::string TextOf(const Catalogue::App& app, const std::string& column) {
  for (const auto& [given, value] : app) {
    if (column == given->name && std::holds_alternative<std::string>(value)) return std::get<std::string>(value);
  }
  return "";
}

Catalogue ReadCatalogue(const std::string& path) {
  Catalogue catalogue;
  for (const auto& [key, value] : Json::ReadFile(path, "").Members()) {
    if (key == "apps") {
      for (const Json& app : value.Elements()) catalogue.apps.push_back(ReadApp(app));
    } else if (key == "config") {
      for (const auto& [name, text] : value.Members()) catalogue.config.emplace_back(name, text.Text());
    } else {
      throw JsonError(value.place() + ": neither \"apps\" nor \"config\"");
    }
  }
  return catalogue;
}

}  // namespace simulator
