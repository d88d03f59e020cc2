#include "replay/recorded_call.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "glib_ptr.h"
#include "launch_request.h"
#include "pin/pin_popup.h"
#include "service_methods.h"

namespace simulator {
namespace {

constexpr const char* kLaunchType = "(sisssssssisiiiiiiiiiiiaay)";
constexpr const char* kPlainLaunchMethod = "LaunchRequest";
constexpr const char* kPlainLaunchType = "(sssa(ss))";
constexpr gsize kPlainExtraData = 3;
constexpr glong kLongestArguments = 120;

// What does not count, because it is another one in each run.
struct Uncounted {
  const char* method;
  std::vector<gsize> positions;         // of arguments
  std::vector<std::string> extra_keys;  // of extra data, in pairs of texts
};

const std::vector<Uncounted>& UncountedArguments() {
  static const std::vector<Uncounted> table = {
      {kLaunchMethod, {0, 1, 9}, {}},                          // object name, thread id, event number
      {kPlainLaunchMethod, {}, {"Pid", "ThreadId", "Index"}},  // the same, of a request for the PIN dialog
      {"EnterPin", {0}, {}},                                   // number of the question
      {"CancelPin", {0}, {}},
  };
  return table;
}

const Uncounted& UncountedOf(const std::string& method) {
  static const Uncounted nothing = {"", {}, {}};
  for (const Uncounted& row : UncountedArguments()) {
    if (method == row.method) return row;
  }
  return nothing;
}

template <typename T>
bool Has(const std::vector<T>& items, const T& item) {
  return std::find(items.begin(), items.end(), item) != items.end();
}

class KeyMaker {
 public:
  explicit KeyMaker(const std::string& method) : sum_(g_checksum_new(G_CHECKSUM_SHA256)) {
    Add(method.c_str(), method.size() + 1);
  }
  ~KeyMaker() { g_checksum_free(sum_); }
  KeyMaker(const KeyMaker&) = delete;
  KeyMaker& operator=(const KeyMaker&) = delete;

  // The type and the size first: what follows cannot be taken for another value.
  void Add(GVariant* value) {
    const VariantPtr normal(g_variant_get_normal_form(value));
    const std::string type = g_variant_get_type_string(normal.get());
    const gsize size = g_variant_get_size(normal.get());
    Add(type.c_str(), type.size() + 1);
    Add(&size, sizeof size);
    Add(g_variant_get_data(normal.get()), size);
  }

  std::string Key() const { return g_checksum_get_string(sum_); }

 private:
  void Add(const void* data, gsize size) {
    if (size != 0) g_checksum_update(sum_, static_cast<const guchar*>(data), static_cast<gssize>(size));
  }

  GChecksum* const sum_;
};

bool Counts(const Uncounted& uncounted, GVariant* pair) {
  return !Has(uncounted.extra_keys, TextOf(pair, 0));
}

void AddArgument(KeyMaker& key, const Uncounted& uncounted, GVariant* argument) {
  if (uncounted.extra_keys.empty() || !g_variant_is_of_type(argument, G_VARIANT_TYPE("a(ss)"))) {
    return key.Add(argument);
  }
  for (gsize i = 0; i < g_variant_n_children(argument); ++i) {
    const VariantPtr pair = ChildOf(argument, i);
    if (Counts(uncounted, pair.get())) key.Add(pair.get());
  }
}

std::optional<LaunchRequest> RequestFor(const std::string& method, GVariant* arguments) {
  if (method == kLaunchMethod && g_variant_is_of_type(arguments, G_VARIANT_TYPE(kLaunchType))) {
    return UnpackLaunchRequest(arguments);
  }
  if (method != kPlainLaunchMethod || !g_variant_is_of_type(arguments, G_VARIANT_TYPE(kPlainLaunchType))) {
    return std::nullopt;
  }
  const ExtraData extra_data = UnpackPairs(ChildOf(arguments, kPlainExtraData).get());
  if (!AsksForPin(extra_data)) return std::nullopt;
  try {
    return UnpackPinPopup(extra_data);
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
}

std::string Shortened(const std::string& text) {
  if (g_utf8_strlen(text.c_str(), -1) <= kLongestArguments) return text;
  const char* end = g_utf8_offset_to_pointer(text.c_str(), kLongestArguments);
  return std::string(text.c_str(), end) + "...";
}

}  // namespace

std::string KeyOf(const std::string& method, GVariant* arguments) {
  KeyMaker key(method);
  const Uncounted& uncounted = UncountedOf(method);
  for (gsize i = 0; i < g_variant_n_children(arguments); ++i) {
    if (!Has(uncounted.positions, i)) AddArgument(key, uncounted, ChildOf(arguments, i).get());
  }
  return key.Key();
}

std::optional<ResultAddress> AddressIn(const std::string& method, GVariant* arguments) {
  const std::optional<LaunchRequest> request = RequestFor(method, arguments);
  if (!request) return std::nullopt;
  return ResultAddress{request->object_name, request->thread_id, request->event_index};
}

std::string CallInWords(const std::string& method, GVariant* arguments) {
  const ServiceMethod* known = FindServiceMethod(method);
  if (known != nullptr && known->app_argument >= 0) {
    const auto position = static_cast<gsize>(known->app_argument);
    return method + " app=\"" + TextOf(arguments, position) + "\"";
  }
  const StringPtr text(g_variant_print(arguments, FALSE));
  return method + " " + Shortened(text.get());
}

}  // namespace simulator
