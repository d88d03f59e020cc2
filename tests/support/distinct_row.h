// A row of the catalogue in which every column has a value of its own.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

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

// The words of a text that blanks separate.
inline std::vector<std::string> Words(const std::string& text) {
  std::vector<std::string> words;
  size_t start = 0;
  while (start < text.size()) {
    const size_t end = std::min(text.find(' ', start), text.size());
    if (end > start) words.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return words;
}
