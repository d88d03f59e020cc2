// The columns of the application table.
#pragma once

#include <vector>

namespace simulator {

enum class ColumnType { kText, kInteger };

struct Column {
  const char* name;
  ColumnType type;
  int default_number;  // of an integer column; a text column starts empty
};

// All columns, "id" first.
const std::vector<Column>& CatalogueColumns();

}  // namespace simulator
