#include "nuv_common/nuv_call_arguments.h"

CallArguments::~CallArguments() {
  for (size_t i = 0; i < m_count; ++i) g_variant_unref(g_variant_ref_sink(m_values[i]));
}

CallArguments& CallArguments::Text(const char* text) {
  if (text == nullptr || !g_utf8_validate(text, -1, nullptr)) {
    m_valid = false;
    return *this;
  }
  return Value(g_variant_new_string(text));
}

CallArguments& CallArguments::Number(int32_t number) {
  return Value(g_variant_new_int32(number));
}

CallArguments& CallArguments::Value(GVariant* floating) {
  m_values.at(m_count++) = floating;
  return *this;
}

GVariant* CallArguments::TakeTuple() {
  if (!m_valid) return nullptr;
  GVariant* tuple = g_variant_new_tuple(m_values.data(), m_count);
  m_count = 0;
  return tuple;
}
