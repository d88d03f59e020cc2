#include "host_launch_request.h"

#include <nuv_platform/platform_log.h>

#include "host_bus_session.h"

namespace nuv::host {

namespace {

constexpr guint kLimitMs = 5000;
constexpr BusSession::Target kLaunchRequest = {"org.kelvo.tv.corvane.server", "/org/kelvo/tv/NuvSimulator",
                                               "org.kelvo.tv.NuvSimulator1", "LaunchRequest"};

bool Refused(const char* app_id, const char* reason) {
  __dlog_print(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_ERROR, "NuvHost", "launch request for app [%s] failed: %s", app_id,
               reason);
  return false;
}

bool IsUtf8(const std::string& text) {
  return g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != FALSE;
}

bool IsUtf8(const app_control_s& request) {
  for (const app_control_s::Text* text : {&request.app_id, &request.operation, &request.uri}) {
    if (*text && !IsUtf8(**text)) return false;
  }
  for (const auto& [key, value] : request.extra_data) {
    if (!IsUtf8(key) || !IsUtf8(value)) return false;
  }
  return true;
}

GVariant* NewArguments(const app_control_s& request) {
  GVariantBuilder extra;
  g_variant_builder_init(&extra, G_VARIANT_TYPE("a(ss)"));
  for (const auto& [key, value] : request.extra_data) g_variant_builder_add(&extra, "(ss)", key.c_str(), value.c_str());
  const char* const operation = request.operation ? request.operation->c_str() : APP_CONTROL_OPERATION_DEFAULT;
  const char* const uri = request.uri ? request.uri->c_str() : "";
  return g_variant_new("(sssa(ss))", request.app_id->c_str(), operation, uri, &extra);
}

}  // namespace

bool SendLaunchRequest(const app_control_s& request) {
  if (!request.app_id || request.app_id->empty()) return Refused("", "no application id");
  const char* const app_id = request.app_id->c_str();
  if (!IsUtf8(request)) return Refused(app_id, "a text is not valid UTF-8");
  if (!BusSession::CanBeMade()) return Refused(app_id, "no descriptors or no thread are free for the bus");
  BusSession session(kLimitMs);
  GlibPtr<GError> error;
  if (!session.Connect(error)) return Refused(app_id, error->message);
  const auto reply = session.Call(kLaunchRequest, NewArguments(request), G_VARIANT_TYPE("(i)"), error);
  if (reply == nullptr) return Refused(app_id, error->message);
  gint32 pid = 0;
  g_variant_get(reply.get(), "(i)", &pid);
  return pid > 0 || Refused(app_id, "the service started no process");
}

}  // namespace nuv::host
