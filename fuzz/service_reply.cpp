// Replies of the service, of any type and content, and its errors, through every function that makes a plain call.
#include <nuv/nuv_inner_database.h>
#include <nuv/nuv_service_api.h>
#include <nuv/nuv_service_launch.h>

#include "nuv_common/nuv_service_call.h"
#include "nuv_launcher_api/nuv_launcher_client.h"
#include "support/bus.h"
#include "support/must.h"
#include "support/variants.h"

namespace {

constexpr int kUntouched = 12345;

// The reply to all calls of one input: null with an error, else a tuple.
struct Reply {
  GVariantHandle tuple;
  std::string error;

  bool IsOf(const char* type) const {
    return tuple != nullptr && type == std::string(g_variant_get_type_string(tuple.get()));
  }
  GVariantHandle Member() const { return GVariantHandle(g_variant_get_child_value(tuple.get(), 0)); }
  // The number in "(i)", else the given one.
  int NumberOr(int other) const { return IsOf("(i)") ? g_variant_get_int32(Member().get()) : other; }
};

GVariantHandle AnyReply(fuzz::Input& input) {
  constexpr const char* kTypes[] = {"(i)", "(s)", "(u)", "(is)", "()", "(b)"};
  switch (input.Number(0, 4)) {
    case 0:
      return fuzz::AnyTuple(input);
    case 1:
      return fuzz::UncheckedTuple(input, input.OneOf(kTypes));
    case 2:
      return nullptr;
    default:
      return fuzz::TupleOf(input, input.OneOf(kTypes));
  }
}

// A text that may be no UTF-8; such a one must not be sent.
struct Argument {
  explicit Argument(fuzz::Input& input)
      : text(input.Text(200)), valid(g_utf8_validate(text.c_str(), -1, nullptr) != FALSE) {}
  std::string text;
  bool valid;
};

void CheckExtraApp(const Reply& reply) {
  std::string app_id = "untouched";
  const bool read = reply.IsOf("(s)");
  MUST(nuv_get_extra_app(app_id) == (read ? 0 : -1));
  MUST(app_id == (read ? g_variant_get_string(reply.Member().get(), nullptr) : "untouched"));
}

void CheckAndroidStatus(const Reply& reply, const Argument& app_id) {
  int status = kUntouched;
  const bool read = app_id.valid && reply.IsOf("(i)");
  MUST(nuv_get_android_app_status_client(app_id.text.c_str(), status) == (read ? 0 : -1));
  MUST(status == (read ? reply.NumberOr(0) : kUntouched));
}

void CheckStates(const Reply& reply, const Argument& app_id, const Argument& other) {
  const int state = reply.NumberOr(-1);
  MUST(nuv_dbus_update_app_count(app_id.text) == (app_id.valid ? state : -1));
  MUST(nuv_dbus_update_app_by_key(app_id.text, APPSINFO_UPDATE_VERSION) == (app_id.valid ? state : -1));
  MUST(nuv_dbus_update_app_version(app_id.text, other.text) == (app_id.valid && other.valid ? state : -1));
}

// The calls whose reply is not read.
void CheckPlainCalls(const Reply& reply, const Argument& app_id, const Argument& other) {
  const bool succeeds = reply.tuple != nullptr;
  const bool valid = app_id.valid && other.valid;
  MUST(nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_NO_APP_ID) == (succeeds ? 0 : -1));
  MUST(nuv_send_appexec_kpi_client(1, app_id.text.c_str(), nullptr, 2, other.text.c_str()) ==
       (succeeds && valid ? 0 : -1));
  MUST(nuv_terminate_allApps_internal(app_id.text, other.text) == (succeeds && valid ? 0 : -1));
  MUST(nuv_notify_extra_app_changed(app_id.text) == (succeeds && app_id.valid ? 0 : -1));
  MUST(nuv_dbus_nuv_command(1, app_id.text, other.text, "") == 0);
}

// The reader of replies, which all these calls use.
void CheckReader(const Reply& reply, bool succeeded) {
  ServiceReply answer;
  answer.succeeded = succeeded;
  if (reply.tuple != nullptr) answer.reply.reset(g_variant_ref(reply.tuple.get()));
  for (const char* type : {"(i)", "(s)", "()", "(isiiiisi)"}) {
    MUST((answer.Of(type) != nullptr) == (succeeded && reply.IsOf(type)));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  Reply reply;
  reply.tuple = AnyReply(input);
  reply.error = input.Text(200);
  const Argument app_id(input);
  const Argument other(input);
  fuzz::AnswerCalls([&](const fuzz::Call& call, GError** error) -> GVariant* {
    if (call.parameters != nullptr) MUST(g_variant_is_normal_form(call.parameters));
    if (reply.tuple != nullptr) return g_variant_ref(reply.tuple.get());
    *error = fuzz::RemoteError(reply.error);
    return nullptr;
  });
  CheckReader(reply, input.Flag());
  CheckExtraApp(reply);
  CheckAndroidStatus(reply, app_id);
  CheckStates(reply, app_id, other);
  CheckPlainCalls(reply, app_id, other);
  return 0;
}
