#include "nuv_launcher_api/nuv_launch_result.h"

#include <nuv_common/nuv_log.h>
#include <nuv_common/nuv_out_of_memory.h>

#include <cstring>
#include <optional>

#include "nuv_common/nuv_handles.h"
#include "nuv_common/nuv_proxy.h"
#include "nuv_launcher_api/IAAul.h"
#include "nuv_launcher_api/nuv_callback_guard.h"
#include "nuv_launcher_api/nuv_launch_callbacks.h"
#include "nuv_launcher_api/nuv_launcher_client.h"
#include "nuv_launcher_api/nuv_launcher_data.h"

namespace {

struct CodeRule {
  int32_t number;
  int32_t code;
};

// Events that are an outcome by themselves.
constexpr CodeRule kEventCodes[] = {
    {NUV_NOTIFY_LAUNCHED, NUV_LAUNCH_RESULT_LAUNCHED},
    {NUV_NOTIFY_BROUGHT_TO_FRONT, NUV_LAUNCH_RESULT_BROUGHT_TO_FRONT},
    {NUV_NOTIFY_STARTED_IN_BACKGROUND, NUV_LAUNCH_RESULT_STARTED_IN_BACKGROUND},
    {NUV_NOTIFY_PRELOADED, NUV_LAUNCH_RESULT_PRELOADED},
    {NUV_NOTIFY_DEEPLINK_DELIVERED, NUV_LAUNCH_RESULT_DEEPLINK_DELIVERED},
};

// The outcome that a status stands for when the event is a failure.
constexpr CodeRule kStatusCodes[] = {
    {NUV_LAUNCH_STATUS_UNKNOWN_APP, NUV_LAUNCH_RESULT_UNKNOWN_APP},
    {NUV_LAUNCH_STATUS_NOT_INSTALLED, NUV_LAUNCH_RESULT_NOT_INSTALLED},
    {NUV_LAUNCH_STATUS_REFUSED, NUV_LAUNCH_RESULT_REFUSED},
    {NUV_LAUNCH_STATUS_FAILED, NUV_LAUNCH_RESULT_FAILED},
    {NUV_LAUNCH_STATUS_CRASHED, NUV_LAUNCH_RESULT_FAILED},
    {NUV_LAUNCH_STATUS_CANCELLED, NUV_LAUNCH_RESULT_CANCELLED},
};

// The PIN popup is closed after these numbers in the service's Res. The two callback shapes differ on purpose.
struct Range {
  int32_t first;
  int32_t last;
  bool Holds(int32_t number) const { return first <= number && number <= last; }
};
constexpr Range kNotifyClosesPopup = {NUV_LAUNCH_STATUS_UNKNOWN_APP, NUV_LAUNCH_STATUS_CRASHED};
constexpr Range kResultClosesPopup = {NUV_LAUNCH_RESULT_UNKNOWN_APP, NUV_LAUNCH_RESULT_CANCELLED};

template <size_t N>
std::optional<int32_t> Lookup(const CodeRule (&rules)[N], int32_t number) {
  for (const CodeRule& rule : rules) {
    if (rule.number == number) return rule.code;
  }
  return std::nullopt;
}

bool IsFailure(int32_t event) {
  return event == NUV_NOTIFY_LAUNCH_FAILED || event == NUV_NOTIFY_PRELOAD_FAILED || event == NUV_NOTIFY_DEEPLINK_FAILED;
}

std::optional<int32_t> ResultCode(int32_t event, int32_t status) {
  return IsFailure(event) ? Lookup(kStatusCodes, status) : Lookup(kEventCodes, event);
}

struct LaunchResult {
  int32_t threadId = -1;
  const char* appId = nullptr;
  int32_t res = 0;
  int32_t eventType = -1;
  int32_t eventIndex = 0;
  int32_t cbType = 0;
};

std::optional<LaunchResult> Unpack(GVariant* parameters) {
  if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(isiiiisi)"))) {
    NUV_ERROR("a result of type %s is dropped", g_variant_get_type_string(parameters));
    return std::nullopt;
  }
  LaunchResult result;
  g_variant_get(parameters, "(i&siiii&si)", &result.threadId, &result.appId, &result.res, &result.eventType, nullptr,
                &result.eventIndex, nullptr, &result.cbType);
  return result;
}

void Deliver(const LaunchResult& result, const nuv_launcher_user_callback& user) {
  bool closesPopup = false;
  if (result.cbType == kNotifyCallback) {
    CallUserCallback<nuv_launch_notify_cb>(
        user.callback, result.appId, static_cast<nuv_notify_event_e>(result.eventType), 0, result.res, user.userData);
    closesPopup = kNotifyClosesPopup.Holds(result.res);
  } else {
    if (const auto code = ResultCode(result.eventType, result.res)) {
      CallUserCallback<nuv_launch_result_cb>(user.callback, user.userData, 0, result.appId, *code);
    }
    closesPopup = kResultClosesPopup.Holds(result.res);
  }
  if (closesPopup) ICAul::AulLaunchPINPopup(nullptr, nullptr, nullptr, "kill", nullptr, 0, nullptr);
}

}  // namespace

void nuv_launcher_app_result(GVariant* parameters, GDBusMethodInvocation* invocation) {
  // The answer releases the invocation, which owns the parameters.
  const GVariantHandle owned(g_variant_ref(parameters));
  g_dbus_method_invocation_return_value(invocation, nullptr);
  const auto result = Unpack(parameters);
  if (!result) return;
  // A result for another process, or for a listener of an earlier connection.
  if (result->threadId != get_launcher_proxy()->ListenerId()) {
    NUV_ERROR("thread != manager_thread_id");
    return;
  }
  const nuv_launcher_user_callback user = FindLaunchCallback(result->eventIndex);
  if (user.callback == 0) return;
  NUV_INFO("Notify callback");
  Deliver(*result, user);
}

void nuv_launcher_handle_event(GDBusConnection*, const char*, const char*, const char*, const char* methodName,
                               GVariant* parameters, GDBusMethodInvocation* invocation, void*) {
  NUV_MILESTONE("RECEIVED  %s ", methodName);
  if (strcmp(methodName, "app_launch_result") == 0) {
    try {
      nuv_launcher_app_result(parameters, invocation);
    } catch (const std::bad_alloc&) {
      OutOfMemory();  // no exception may pass through GLib
    }
    return;
  }
  // Nothing else is answered, "check_dbus_connection" included, as documented. The invocation, which holds the
  // connection, is let go all the same.
  const GInvocationHandle released(invocation);
}
