// Which columns of a table stay, and how wide they are, where a terminal is narrower than the table.
#pragma once

#include <cstddef>
#include <vector>

struct ColumnNeed {
  size_t width;
  bool gives_way;  // down to a few letters, before any column is dropped
  int dropped;     // 1 before 2 and so on; 0 never
};

// The width of each column, 0 for one that is dropped. The sum may still be too wide, where no more can be dropped.
std::vector<size_t> FittedColumns(const std::vector<ColumnNeed>& needs, size_t gap, size_t width);
