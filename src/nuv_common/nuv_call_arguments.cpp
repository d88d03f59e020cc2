#include "nuv_common/nuv_call_arguments.h"

CallArguments::~CallArguments() {
  for (size_t i = 0; i < m_count; ++i) g_variant_unref(g_variant_ref_sink(m_values[i]));
}

CallArguments& CallArguments::Text(const char* text) {
  const char* end = nullptr;
  if (text == nullptr || !g_utf8_validate(text, -1, &end)) {
    m_textsAreValid = false;
    return *this;
  }
  constexpr size_t kLengthZeroAndPadding = 8;
  Add(g_variant_new_string(text), static_cast<size_t>(end - text) + kLengthZeroAndPadding);
  return *this;
}

CallArguments& CallArguments::Number(int32_t number) {
  Add(g_variant_new_int32(number), sizeof number);
  return *this;
}

CallArguments& CallArguments::Value(GVariant* floating, size_t bytes) {
  Add(floating, bytes);
  return *this;
}

const char* CallArguments::Problem() const {
  if (!m_textsAreValid) return "a text is null or not valid UTF-8";
  return m_bytes > kMostBytes ? "the arguments are longer than the bus takes" : nullptr;
}

GVariant* CallArguments::TakeTuple() {
  if (Problem() != nullptr) return nullptr;
  GVariant* tuple = g_variant_new_tuple(m_values.data(), m_count);
  m_count = 0;
  return tuple;
}
