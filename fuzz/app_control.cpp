// Launching from app-control requests of any content, against a plain model of the request that reaches the service.
#include <nuv/nuv_launcher_api.h>
#include <nuv_platform/platform_app_control.h>

#include <vector>

#include "nuv_launcher_api/nuv_launch_callbacks.h"
#include "nuv_launcher_api/nuv_launcher_client.h"
#include "support/bus.h"
#include "support/must.h"
#include "support/variants.h"

namespace {

constexpr const char* kRequestType = "(sisssssssisiiiiiiiiiiiaay)";
constexpr size_t kHalf = 512;

using AppControl = Handle<app_control_s, app_control_destroy>;
using ExtraData = std::vector<std::pair<std::string, std::string>>;

// What one launch does, apart from its result.
struct Outcome {
  std::vector<std::string> methods;
  GVariantHandle request;
  int callbacks = 0;
  bool callback_has_app = false;
};
Outcome outcome;

void OnNotify(const char* app_id, nuv_notify_event_e event, int zero, int, void* data) {
  MUST(event == NUV_NOTIFY_LAUNCH_FAILED && zero == 0 && data == &outcome);
  ++outcome.callbacks;
  outcome.callback_has_app = app_id != nullptr;
}

// Often of about the length at which it is cut.
std::string Datum(fuzz::Input& input) {
  const std::string padding(input.Rarely(4) ? kHalf - 5 : 0, 'x');
  return padding + input.Text(600);
}

AppControl MakeRequest(fuzz::Input& input) {
  constexpr const char* kKeys[] = {
      "PayLoad",     "CallerId", "Operation", "Entry", "RelocateBelowApp", "SkipPIN", "__K_EX_LAUNCH_REQUESTOR",
      "AC_Operation"};
  app_control_h created = nullptr;
  app_control_create(&created);
  AppControl request(created);
  app_control_set_app_id(created, fuzz::OrNull(input.OptionalText()));
  app_control_set_operation(created, fuzz::OrNull(input.OptionalText()));
  app_control_set_uri(created, fuzz::OrNull(input.OptionalText()));
  const int count = input.Number(0, 12);
  for (int i = 0; i < count; ++i) {
    const std::string key = input.Flag() ? input.OneOf(kKeys) : Datum(input);
    app_control_add_extra_data(created, key.c_str(), Datum(input).c_str());
  }
  return request;
}

std::string Take(char* text) {
  const std::string copy = text == nullptr ? "" : text;
  free(text);
  return copy;
}

template <typename Getter>
std::string TextOf(const AppControl& request, Getter getter) {
  char* text = nullptr;
  getter(request.get(), &text);
  return Take(text);
}

std::string ExtraDatum(app_control_h request, const char* key) {
  char* text = nullptr;
  app_control_get_extra_data(request, key, &text);
  return Take(text);
}

ExtraData AllExtraData(const AppControl& request) {
  ExtraData all;
  app_control_foreach_extra_data(
      request.get(),
      [](app_control_h each, const char* key, void* list) {
        static_cast<ExtraData*>(list)->emplace_back(key, ExtraDatum(each, key));
        return true;
      },
      &all);
  return all;
}

// The texts of the request in their order, from the application id on.
std::vector<std::string> ModelTexts(const AppControl& request) {
  std::vector<std::string> texts = {TextOf(request, app_control_get_app_id), ExtraDatum(request.get(), "PayLoad"),
                                    TextOf(request, app_control_get_uri)};
  for (const char* key : {"CallerId", "Entry", "RelocateBelowApp", "__K_EX_LAUNCH_REQUESTOR"}) {
    texts.push_back(ExtraDatum(request.get(), key));
  }
  return texts;
}

bool AllUtf8(const std::vector<std::string>& texts) {
  for (const std::string& text : texts) {
    if (g_utf8_validate(text.c_str(), -1, nullptr) == FALSE) return false;
  }
  return true;
}

GVariantHandle Member(gsize index) {
  return GVariantHandle(g_variant_get_child_value(outcome.request.get(), index));
}

void CheckFlags(const AppControl& request) {
  const std::string operation = ExtraDatum(request.get(), "Operation");
  const bool both = operation == "BackgroundAndDeeplink";
  const bool deep_link = operation == "DeepLink" || both;
  const bool force = operation == "ForceLaunch" || deep_link;
  const bool background = operation == "BackGround" || both;
  const bool skip_pin = ExtraDatum(request.get(), "SkipPIN") == "true";
  const auto flag = [](gsize index) { return g_variant_get_int32(Member(index).get()); };
  MUST(flag(11) == force);
  MUST(flag(12) == (operation == "PreLoad"));
  MUST(flag(17) == 1);  // shape of the callback
  MUST(flag(18) == deep_link);
  MUST(flag(20) == background);
  MUST(flag(21) == skip_pin);
}

// Each datum is a block of two halves, each cut so that a zero ends it.
void CheckExtraData(const ExtraData& expected) {
  const GVariantHandle blocks = Member(22);
  MUST(g_variant_n_children(blocks.get()) == expected.size());
  for (gsize i = 0; i < expected.size(); ++i) {
    const GVariantHandle block(g_variant_get_child_value(blocks.get(), i));
    gsize size = 0;
    const char* bytes = static_cast<const char*>(g_variant_get_fixed_array(block.get(), &size, 1));
    MUST(size == 2 * kHalf && bytes[kHalf - 1] == '\0' && bytes[size - 1] == '\0');
    MUST(bytes == expected[i].first.substr(0, kHalf - 1));
    MUST(bytes + kHalf == expected[i].second.substr(0, kHalf - 1));
  }
}

void CheckRequest(const AppControl& request, const std::vector<std::string>& texts) {
  MUST(outcome.methods == std::vector<std::string>{"launch_app"});
  MUST(g_variant_is_normal_form(outcome.request.get()));
  MUST(std::string(kRequestType) == g_variant_get_type_string(outcome.request.get()));
  MUST(g_variant_get_int32(Member(1).get()) == get_launcher_proxy()->ListenerId());
  for (gsize i = 0; i < texts.size(); ++i) MUST(texts[i] == g_variant_get_string(Member(2 + i).get(), nullptr));
  MUST(std::string("nuv_launch_app") == g_variant_get_string(Member(10).get(), nullptr));
  CheckFlags(request);
  CheckExtraData(AllExtraData(request));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const AppControl request = MakeRequest(input);
  char* app_id = nullptr;
  app_control_get_app_id(request.get(), &app_id);
  const bool has_app = app_id != nullptr;
  free(app_id);
  const bool accepts = !input.Rarely(4);
  const std::string error_message = input.Text(100);
  fuzz::AnswerCalls([&](const fuzz::Call& call, GError** error) -> GVariant* {
    outcome.methods.push_back(call.method);
    if (call.method == "launch_app") outcome.request.reset(g_variant_ref(call.parameters));
    if (!accepts) *error = fuzz::RemoteError(error_message);
    return accepts ? g_variant_ref_sink(g_variant_new("()")) : nullptr;
  });

  outcome = {};
  const int result = nuv_launch_app_ex(request.get(), OnNotify, &outcome);
  const std::vector<std::string> texts = ModelTexts(request);
  const bool sent = has_app && AllUtf8(texts);
  MUST(result == (sent && accepts ? 0 : -1));
  MUST(outcome.callbacks == (result == 0 ? 0 : 1));
  MUST(result == 0 || outcome.callback_has_app == has_app);
  MUST(sent == (outcome.request != nullptr));
  if (sent) {
    CheckRequest(request, texts);
    ForgetLaunchCallback(g_variant_get_int32(Member(9).get()));
  }
  outcome = {};
  return 0;
}
