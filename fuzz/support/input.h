// The bytes that a fuzzer is given, cut into values.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace fuzz {

// FuzzedDataProvider takes texts from the front of the input and numbers from its end. A text ends at a backslash that
// no second one follows, so that a mutation moves only one of them.
class Input : public FuzzedDataProvider {
 public:
  Input(const uint8_t* data, size_t size) : FuzzedDataProvider(data, size) {}

  // Any bytes, zeros included.
  std::string Bytes(size_t most = 2000) { return ConsumeRandomLengthString(most); }

  // The same, cut at its first zero byte, as a C text is.
  std::string Text(size_t most = 2000) { return Bytes(most).c_str(); }

  std::optional<std::string> OptionalText(size_t most = 2000) {
    if (ConsumeIntegralInRange(0, 7) == 0) return std::nullopt;
    return Text(most);
  }

  int Number() { return ConsumeIntegral<int>(); }
  int Number(int low, int high) { return ConsumeIntegralInRange(low, high); }
  bool Flag() { return ConsumeBool(); }

  // Once in `times`.
  bool Rarely(int times) { return Number(1, times) == times; }

  template <typename T, size_t N>
  const T& OneOf(const T (&values)[N]) {
    return values[ConsumeIntegralInRange<size_t>(0, N - 1)];
  }
};

// What a text is for a C function: null where there is none.
inline const char* OrNull(const std::optional<std::string>& text) {
  return text ? text->c_str() : nullptr;
}

}  // namespace fuzz
