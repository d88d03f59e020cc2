// Statement texts that are made of a table of column names when the library is compiled.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

// A name and the zeros behind it.
constexpr size_t kColumnSlot = 30;

// Names: a constexpr array of slots.
template <const auto& Names>
class ColumnList {
 public:
  static constexpr size_t kCount = sizeof(Names) / kColumnSlot;

  // The result column of a name; a name that is not selected does not compile.
  static constexpr unsigned PositionOf(std::string_view name) {
    unsigned position = 0;
    while (name != Names[position]) ++position;
    return position;
  }

  // "select first,second,...,last from widgetinfo", to which a query appends its clause.
  static constexpr std::string_view Select() { return {kText.data(), kText.size()}; }

 private:
  static constexpr std::string_view kHead = "select ";
  static constexpr std::string_view kTail = " from widgetinfo";

  static constexpr size_t Length() {
    size_t length = kHead.size() + kTail.size() + kCount - 1;
    for (const auto& name : Names) length += std::string_view(name).size();
    return length;
  }

  template <size_t Size>
  static constexpr std::array<char, Size> MakeText() {
    std::array<char, Size> text = {};
    size_t end = 0;
    const auto append = [&](std::string_view part) {
      for (const char character : part) text[end++] = character;
    };
    append(kHead);
    for (size_t i = 0; i < kCount; ++i) {
      if (i != 0) append(",");
      append(Names[i]);
    }
    append(kTail);
    return text;
  }

  static constexpr auto kText = MakeText<Length()>();
};
