// The arguments of one bus call.
#pragma once

#include <gio/gio.h>

#include <array>
#include <cstddef>
#include <cstdint>

// Collects arguments in order. A text that is null or not valid UTF-8 cannot travel on the bus: the arguments are then
// not valid and make no tuple.
class CallArguments {
 public:
  CallArguments() = default;
  ~CallArguments();
  CallArguments(const CallArguments&) = delete;
  CallArguments& operator=(const CallArguments&) = delete;

  CallArguments& Text(const char* text);
  CallArguments& Number(int32_t number);
  CallArguments& Value(GVariant* floating);

  bool Valid() const { return m_valid; }
  // The floating tuple, made once; null when the arguments are not valid.
  GVariant* TakeTuple();

 private:
  static constexpr size_t kMost = 24;
  std::array<GVariant*, kMost> m_values{};
  size_t m_count = 0;
  bool m_valid = true;
};
