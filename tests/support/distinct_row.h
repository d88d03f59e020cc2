// A row of the catalogue in which every column has a value of its own.
#pragma once

#include <string>

#include "app_database.h"

inline std::string TextOf(const std::string& column) {
  return "text of " + column;
}

inline int NumberOf(const std::string& column) {
  int position = 0;
  for (const auto& [name, is_number] : AppDatabase::Columns()) {
    if (name == column) break;
    ++position;
  }
  return 1000 + 7 * position;
}

inline AppDatabase::Row DistinctRow() {
  AppDatabase::Row row;
  for (const auto& [name, is_number] : AppDatabase::Columns()) {
    row[name] = is_number ? AppDatabase::Value(NumberOf(name)) : AppDatabase::Value(TextOf(name));
  }
  return row;
}
