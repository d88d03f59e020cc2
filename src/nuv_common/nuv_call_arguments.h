// The arguments of one bus call.
#pragma once

#include <gio/gio.h>

#include <array>
#include <cstddef>
#include <cstdint>

// Collects arguments in order. The bus cannot carry a text that is null or not valid UTF-8. It answers a message that
// is too long by closing the connection, which the host may use as well. Such arguments are not valid and make no
// tuple.
class CallArguments {
 public:
  CallArguments() = default;
  ~CallArguments();
  CallArguments(const CallArguments&) = delete;
  CallArguments& operator=(const CallArguments&) = delete;

  CallArguments& Text(const char* text);
  CallArguments& Number(int32_t number);
  // Adds a value of any other type, which takes at most `bytes` bytes.
  CallArguments& Value(GVariant* floating, size_t bytes);

  // Why the arguments cannot travel; null where they can.
  const char* Problem() const;
  // The floating tuple, made once; null when the arguments are not valid.
  GVariant* TakeTuple();

 private:
  void Add(GVariant* floating, size_t bytes) {
    m_values.at(m_count++) = floating;
    m_bytes += bytes;
  }

  static constexpr size_t kMost = 24;
  // A system bus takes messages of 32 MiB; this leaves room for a header.
  static constexpr size_t kMostBytes = 32 * 1024 * 1024 - 4096;
  std::array<GVariant*, kMost> m_values{};
  size_t m_count = 0;
  size_t m_bytes = 0;
  bool m_textsAreValid = true;
};
