#include "launch_request.h"

#include <cstring>

#include "glib_ptr.h"

namespace simulator {
namespace {

constexpr gsize kBlockSize = 1024;
constexpr gsize kHalf = kBlockSize / 2;

// Where the members stand in the request. Those that nothing here depends on are left out.
template <typename T>
struct Place {
  gsize position;
  T LaunchRequest::*member;
};

constexpr Place<std::string> kTexts[] = {{0, &LaunchRequest::object_name},
                                         {2, &LaunchRequest::app_id},
                                         {3, &LaunchRequest::payload},
                                         {4, &LaunchRequest::uri},
                                         {5, &LaunchRequest::caller_id},
                                         {6, &LaunchRequest::entry},
                                         {7, &LaunchRequest::relocate_below_app},
                                         {8, &LaunchRequest::launch_requestor},
                                         {10, &LaunchRequest::method_call}};
constexpr Place<int> kNumbers[] = {
    {1, &LaunchRequest::thread_id}, {9, &LaunchRequest::event_index}, {17, &LaunchRequest::cb_type}};
constexpr Place<bool> kFlags[] = {{11, &LaunchRequest::force_launch},
                                  {12, &LaunchRequest::preload},
                                  {18, &LaunchRequest::deep_link},
                                  {20, &LaunchRequest::background},
                                  {21, &LaunchRequest::skip_pin}};
constexpr gsize kExtraData = 22;

int Number(GVariant* parameters, gsize position) {
  return g_variant_get_int32(ChildOf(parameters, position).get());
}

ExtraData UnpackBlocks(GVariant* blocks) {
  ExtraData pairs;
  for (gsize i = 0; i < g_variant_n_children(blocks); ++i) {
    const VariantPtr block = ChildOf(blocks, i);
    gsize size = 0;
    const auto* bytes = static_cast<const char*>(g_variant_get_fixed_array(block.get(), &size, 1));
    if (size != kBlockSize) continue;
    pairs.emplace_back(std::string(bytes, strnlen(bytes, kHalf)),
                       std::string(bytes + kHalf, strnlen(bytes + kHalf, kHalf)));
  }
  return pairs;
}

}  // namespace

LaunchRequest UnpackLaunchRequest(GVariant* parameters) {
  LaunchRequest request;
  for (const auto& place : kTexts) request.*place.member = TextOf(parameters, place.position);
  for (const auto& place : kNumbers) request.*place.member = Number(parameters, place.position);
  for (const auto& place : kFlags) request.*place.member = Number(parameters, place.position) != 0;
  request.extra_data = UnpackBlocks(ChildOf(parameters, kExtraData).get());
  return request;
}

ExtraData UnpackPairs(GVariant* pairs) {
  ExtraData extra_data;
  const gsize count = g_variant_n_children(pairs);
  extra_data.reserve(count);
  for (gsize i = 0; i < count; ++i) {
    const VariantPtr pair = ChildOf(pairs, i);
    extra_data.emplace_back(TextOf(pair.get(), 0), TextOf(pair.get(), 1));
  }
  return extra_data;
}

}  // namespace simulator
