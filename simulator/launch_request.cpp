#include "launch_request.h"

#include <cstring>

#include "glib_ptr.h"

namespace simulator {
namespace {

constexpr gsize kBlockSize = 1024;
constexpr gsize kHalf = kBlockSize / 2;

// Positions in the request. Members that nothing here depends on are left out.
enum Member {
  kObjectName = 0,
  kThreadId = 1,
  kAppId = 2,
  kPayload = 3,
  kUri = 4,
  kCallerId = 5,
  kEntry = 6,
  kRelocateBelowApp = 7,
  kLaunchRequestor = 8,
  kEventIndex = 9,
  kMethodCall = 10,
  kForceLaunch = 11,
  kPreload = 12,
  kCbType = 17,
  kDeepLink = 18,
  kBackground = 20,
  kSkipPin = 21,
  kExtraData = 22,
};

VariantPtr Child(GVariant* parameters, gsize member) {
  return VariantPtr(g_variant_get_child_value(parameters, member));
}

std::string Text(GVariant* parameters, Member member) {
  return g_variant_get_string(Child(parameters, member).get(), nullptr);
}

int Number(GVariant* parameters, Member member) {
  return g_variant_get_int32(Child(parameters, member).get());
}

ExtraData UnpackBlocks(GVariant* blocks) {
  ExtraData pairs;
  for (gsize i = 0; i < g_variant_n_children(blocks); ++i) {
    const VariantPtr block = Child(blocks, i);
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
  request.object_name = Text(parameters, kObjectName);
  request.thread_id = Number(parameters, kThreadId);
  request.event_index = Number(parameters, kEventIndex);
  request.method_call = Text(parameters, kMethodCall);
  request.cb_type = Number(parameters, kCbType);
  request.app_id = Text(parameters, kAppId);
  request.payload = Text(parameters, kPayload);
  request.uri = Text(parameters, kUri);
  request.caller_id = Text(parameters, kCallerId);
  request.entry = Text(parameters, kEntry);
  request.relocate_below_app = Text(parameters, kRelocateBelowApp);
  request.launch_requestor = Text(parameters, kLaunchRequestor);
  request.extra_data = UnpackBlocks(Child(parameters, kExtraData).get());
  request.force_launch = Number(parameters, kForceLaunch) != 0;
  request.preload = Number(parameters, kPreload) != 0;
  request.deep_link = Number(parameters, kDeepLink) != 0;
  request.background = Number(parameters, kBackground) != 0;
  request.skip_pin = Number(parameters, kSkipPin) != 0;
  return request;
}

}  // namespace simulator
