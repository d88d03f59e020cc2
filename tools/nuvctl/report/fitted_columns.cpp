#include "report/fitted_columns.h"

#include <algorithm>

namespace {

constexpr size_t kLeast = 8;  // of a column that gives way

size_t LeastWidth(const ColumnNeed& need) {
  return need.gives_way ? std::min(need.width, kLeast) : need.width;
}

// Of the columns that stay when those up to the rank are dropped.
template <typename WidthOfOne>
size_t Total(const std::vector<ColumnNeed>& needs, int rank, size_t gap, WidthOfOne width_of) {
  size_t total = 0;
  for (const ColumnNeed& need : needs) {
    if (need.dropped != 0 && need.dropped <= rank) continue;
    total += width_of(need) + (total == 0 ? 0 : gap);
  }
  return total;
}

}  // namespace

std::vector<size_t> FittedColumns(const std::vector<ColumnNeed>& needs, size_t gap, size_t width) {
  int last = 0;
  for (const ColumnNeed& need : needs) last = std::max(last, need.dropped);
  int rank = 0;
  while (rank < last && Total(needs, rank, gap, LeastWidth) > width) ++rank;
  const size_t natural = Total(needs, rank, gap, [](const ColumnNeed& need) { return need.width; });
  size_t excess = natural > width ? natural - width : 0;
  std::vector<size_t> widths;
  for (const ColumnNeed& need : needs) {
    if (need.dropped != 0 && need.dropped <= rank) {
      widths.push_back(0);
      continue;
    }
    const size_t taken = std::min(excess, need.width - LeastWidth(need));
    widths.push_back(need.width - taken);
    excess -= taken;
  }
  return widths;
}
