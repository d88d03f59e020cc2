#include "support/variants.h"

#include <vector>

#include "support/must.h"

namespace fuzz {
namespace {

constexpr int kDeepest = 4;

std::string Utf8(Input& input) {
  const std::string text = input.Text(300);
  const GTextHandle valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
  return valid.get();
}

GVariant* Basic(Input& input, char type) {
  switch (type) {
    case 'b':
      return g_variant_new_boolean(input.Flag());
    case 'y':
      return g_variant_new_byte(input.ConsumeIntegral<uint8_t>());
    case 'i':
      return g_variant_new_int32(input.Number());
    case 'u':
      return g_variant_new_uint32(input.ConsumeIntegral<uint32_t>());
    case 'x':
      return g_variant_new_int64(input.ConsumeIntegral<int64_t>());
    case 'd':
      return g_variant_new_double(input.ConsumeFloatingPoint<double>());
    case 'o':
      return g_variant_new_object_path("/org/kelvo/tv");
    case 'g':
      return g_variant_new_signature("a{sv}");
    default:
      return g_variant_new_string(Utf8(input).c_str());
  }
}

GVariant* Any(Input& input, int depth);

GVariant* Tuple(Input& input, int depth) {
  std::vector<GVariant*> members(static_cast<size_t>(input.Number(0, 9)));
  for (GVariant*& member : members) member = Any(input, depth + 1);
  return g_variant_new_tuple(members.data(), members.size());
}

// All members have the first one's type.
GVariant* Array(Input& input, int depth) {
  std::vector<GVariant*> members = {Any(input, depth + 1)};
  const int more = input.Number(0, 3);
  for (int i = 0; i < more; ++i) members.push_back(members.front());
  return g_variant_new_array(nullptr, members.data(), members.size());
}

GVariant* Any(Input& input, int depth) {
  constexpr char kBasic[] = {'b', 'y', 'i', 'u', 'x', 'd', 'o', 'g', 's'};
  constexpr char kContainers[] = {'v', 'a', 'm', '(', '{'};
  if (depth >= kDeepest || input.Flag()) return Basic(input, input.OneOf(kBasic));
  switch (input.OneOf(kContainers)) {
    case 'v':
      return g_variant_new_variant(Any(input, depth + 1));
    case 'a':
      return Array(input, depth);
    case 'm':
      return g_variant_new_maybe(nullptr, Any(input, depth + 1));
    case '(':
      return Tuple(input, depth);
    default:
      return g_variant_new_dict_entry(Basic(input, input.OneOf(kBasic)), Any(input, depth + 1));
  }
}

}  // namespace

GVariantHandle AnyTuple(Input& input) {
  return GVariantHandle(g_variant_ref_sink(Tuple(input, 0)));
}

GVariantHandle TupleOf(Input& input, const char* type) {
  std::vector<GVariant*> members;
  for (const char member : std::string(type)) {
    if (member != '(' && member != ')') members.push_back(Basic(input, member));
  }
  GVariantHandle tuple(g_variant_ref_sink(g_variant_new_tuple(members.data(), members.size())));
  MUST(g_variant_is_of_type(tuple.get(), G_VARIANT_TYPE(type)));
  return tuple;
}

GVariantHandle UncheckedTuple(Input& input, const char* type) {
  const std::string bytes = input.Bytes(300);
  GBytes* block = g_bytes_new(bytes.data(), bytes.size());
  GVariantHandle tuple(g_variant_ref_sink(g_variant_new_from_bytes(G_VARIANT_TYPE(type), block, FALSE)));
  g_bytes_unref(block);
  return tuple;
}

}  // namespace fuzz
