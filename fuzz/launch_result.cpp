// Method calls on the client object: any method with any arguments, against a plain model of who hears what.
#include <nuv/nuv_launcher_api.h>

#include <vector>

#include "nuv_launcher_api/nuv_launch_callbacks.h"
#include "nuv_launcher_api/nuv_launch_result.h"
#include "nuv_launcher_api/nuv_launcher_client.h"
#include "support/bus.h"
#include "support/must.h"
#include "support/platform.h"
#include "support/variants.h"

namespace {

constexpr const char* kResultType = "(isiiiisi)";

// A call of the caller's callback, or the closing of the PIN popup.
struct Heard {
  std::string shape;
  std::string app_id;
  int first = 0;   // event or code
  int second = 0;  // status
  bool operator==(const Heard& other) const {
    return shape == other.shape && app_id == other.app_id && first == other.first && second == other.second;
  }
};

std::vector<Heard> heard;
char user_data;

void OnNotify(const char* app_id, nuv_notify_event_e event, int zero, int status, void* data) {
  MUST(data == &user_data && zero == 0);
  heard.push_back({"notify", app_id, static_cast<int>(event), status});
}

void OnResult(void* data, int zero, const char* app_id, int code) {
  MUST(data == &user_data && zero == 0);
  heard.push_back({"result", app_id, code, 0});
}

int CodeOf(int event, int status) {
  if (event == 900) return 600;
  if (event == 901) return 601;
  if (event == 902) return 602;
  if (event == 904) return 603;
  if (event == 906) return 612;
  if (event != 903 && event != 905 && event != 907) return 0;
  if (status == 400) return 604;
  if (status == 401) return 605;
  if (status == 403) return 609;
  if (status == 404 || status == 406) return 610;
  return status == 405 ? 611 : 0;
}

struct Result {
  int thread_id;
  std::string app_id;
  int status;
  int event;
  int index;
  int shape;
};

// The result in a call's arguments; false where they have another type.
bool Read(GVariant* parameters, Result& result) {
  if (std::string(g_variant_get_type_string(parameters)) != kResultType) return false;
  GVariant* members[8];
  for (gsize i = 0; i < 8; ++i) members[i] = g_variant_get_child_value(parameters, i);
  result = {g_variant_get_int32(members[0]), g_variant_get_string(members[1], nullptr),
            g_variant_get_int32(members[2]), g_variant_get_int32(members[3]),
            g_variant_get_int32(members[5]), g_variant_get_int32(members[7])};
  for (GVariant* member : members) g_variant_unref(member);
  return true;
}

// What is heard of a result under an event number that is known with the given shape.
std::vector<Heard> Model(const Result& result) {
  if (result.shape == 1) return {{"notify", result.app_id, result.event, result.status}};
  const int code = CodeOf(result.event, result.status);
  return code == 0 ? std::vector<Heard>{} : std::vector<Heard>{{"result", result.app_id, code, 0}};
}

bool ClosesPopup(const Result& result) {
  return result.shape == 1 ? result.status >= 400 && result.status <= 406
                           : result.status >= 604 && result.status <= 611;
}

GVariantHandle LikelyResult(fuzz::Input& input, int thread_id, int index) {
  constexpr int kEvents[] = {899, 900, 901, 902, 903, 904, 905, 906, 907, 908};
  const std::string text = input.Text(300);
  const GTextHandle app_id(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
  const int status = input.Flag() ? input.Number(398, 414) : input.Number(600, 615);
  return GVariantHandle(
      g_variant_ref_sink(g_variant_new(kResultType, thread_id, app_id.get(), status, input.OneOf(kEvents),
                                       input.Number(), index, "nuv_launch_app", input.Number(-1, 2))));
}

GVariantHandle Parameters(fuzz::Input& input, int thread_id, int index) {
  switch (input.Number(0, 4)) {
    case 0:
      return fuzz::AnyTuple(input);
    case 1:
      return fuzz::TupleOf(input, kResultType);
    case 2:
      return fuzz::UncheckedTuple(input, kResultType);
    default:
      return LikelyResult(input, thread_id, index);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static CNUVGdbus* const link = UsableLauncherProxy();
  MUST(link != nullptr);
  fuzz::Input input(data, size);
  const int known = input.Number(0, 3);
  const int index = input.Rarely(8) ? known + 1 : known;
  const int thread_id = input.Rarely(8) ? input.Number() : link->ListenerId();
  const std::string method = input.Rarely(8) ? input.Text(40) : "app_launch_result";
  const GVariantHandle parameters = Parameters(input, thread_id, index);

  Result result = {};
  const bool answered = method == "app_launch_result";
  const bool delivered =
      answered && Read(parameters.get(), result) && result.thread_id == link->ListenerId() && result.index == known;
  const uintptr_t callback =
      result.shape == 1 ? reinterpret_cast<uintptr_t>(OnNotify) : reinterpret_cast<uintptr_t>(OnResult);
  KeepLaunchCallback(known, {callback, &user_data});
  heard.clear();
  fuzz::launch_requests = 0;
  const int answers_before = fuzz::Invocation::Answers();
  {
    const fuzz::Invocation invocation;
    nuv_launcher_handle_event(nullptr, nullptr, nullptr, nullptr, method.c_str(), parameters.get(), invocation.get(),
                              nullptr);
    MUST(invocation.LetGo());
  }
  MUST(fuzz::Invocation::Answers() - answers_before == (answered ? 1 : 0));
  MUST(heard == (delivered ? Model(result) : std::vector<Heard>{}));
  MUST(fuzz::launch_requests == (delivered && ClosesPopup(result) ? 1 : 0));
  ForgetLaunchCallback(known);
  ForgetLaunchCallback(result.index);
  return 0;
}
