#include "report/did_you_mean.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "report/text.h"

namespace {

constexpr size_t kMostSuggestions = 3;
constexpr size_t kMostTyped = 256;  // what is longer was not typed by a person

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The fewest letters to put in, to take out, to change or to swap with the next that make one text the other.
size_t Distance(const std::string& one, const std::string& other) {
  std::vector<size_t> before_last(other.size() + 1);
  std::vector<size_t> last(other.size() + 1);
  std::vector<size_t> row(other.size() + 1);
  std::iota(last.begin(), last.end(), 0);
  for (size_t i = 1; i <= one.size(); ++i) {
    row[0] = i;
    for (size_t j = 1; j <= other.size(); ++j) {
      const auto same = [&](size_t a, size_t b) { return Lower(one[a]) == Lower(other[b]); };
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same(i - 1, j - 1) ? 0 : 1)});
      const bool swapped = i > 1 && j > 1 && same(i - 1, j - 2) && same(i - 2, j - 1);
      if (swapped) row[j] = std::min(row[j], before_last[j - 2] + 1);
    }
    std::swap(before_last, last);
    std::swap(last, row);
  }
  return last[other.size()];
}

// A third of a short word, none of a letter, and three letters of any other.
size_t MostDistance(const std::string& typed) {
  constexpr size_t kAny = 3;
  return std::min(kAny, (typed.size() + 1) / 3);
}

}  // namespace

std::string DidYouMean(const std::string& typed, const std::vector<std::string>& known) {
  if (typed.empty() || typed.size() > kMostTyped) return "";
  std::vector<std::pair<size_t, std::string>> like;
  for (const std::string& text : known) {
    if (text.size() > typed.size() + kMostTyped) continue;
    const size_t distance = Distance(typed, text);
    if (distance <= MostDistance(typed)) like.emplace_back(distance, text);
  }
  if (like.empty()) return "";
  std::stable_sort(like.begin(), like.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> names;
  for (size_t i = 0; i < std::min(like.size(), kMostSuggestions); ++i) {
    if (like[i].first == like.front().first) names.push_back(like[i].second);
  }
  return "; did you mean " + Printable(EitherOf(names)) + "?";
}
