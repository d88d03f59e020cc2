#include "monitor/extra_data.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "glib_handles.h"

namespace {

constexpr std::size_t kHalf = kExtraRecord / 2;  // the last byte of each ends its text

std::string TextIn(const char* half) {
  return {half, strnlen(half, kHalf)};
}

void Put(char* half, const std::string& text) {
  std::copy_n(text.begin(), std::min(text.size(), kHalf - 1), half);
}

}  // namespace

ExtraData ExtraDataOf(GVariant* value) {
  ExtraData pairs;
  const bool records = g_variant_is_of_type(value, G_VARIANT_TYPE("aay")) != FALSE;
  const gsize count = g_variant_n_children(value);
  pairs.reserve(count);
  for (gsize i = 0; i < count; ++i) {
    const VariantOwner item(g_variant_get_child_value(value, i));
    if (records) {
      gsize size = 0;
      const auto* bytes = static_cast<const char*>(g_variant_get_fixed_array(item.get(), &size, 1));
      if (size == kExtraRecord) pairs.emplace_back(TextIn(bytes), TextIn(bytes + kHalf));
    } else {
      const char* key = nullptr;
      const char* text = nullptr;
      g_variant_get(item.get(), "(&s&s)", &key, &text);
      pairs.emplace_back(key, text);
    }
  }
  return pairs;
}

GVariant* RecordOf(const std::string& key, const std::string& value) {
  std::array<char, kExtraRecord> record{};
  Put(record.data(), key);
  Put(record.data() + kHalf, value);
  return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, record.data(), record.size(), 1);
}
