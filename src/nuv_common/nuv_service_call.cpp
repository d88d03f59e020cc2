#include "nuv_common/nuv_service_call.h"

#include <nuv_common/nuv_log.h>
#include <nuv_common/nuv_proxy.h>

namespace {

constexpr int kTimeoutMs = 10000;

ServiceReply Call(CNUVGdbus& link, const char* method, GVariant* parameters) {
  const GVariantHandle owned = OwnVariant(parameters);
  ServiceReply result;
  GVariant* reply = nullptr;
  int isTimeOutError = 0;
  result.succeeded = link.MethodCall(method, owned.get(), &reply, kTimeoutMs, &isTimeOutError) == 1;
  result.reply.reset(reply);
  return result;
}

}  // namespace

GVariant* ServiceReply::Of(const char* type) const {
  if (!succeeded || reply == nullptr) return nullptr;
  if (g_variant_is_of_type(reply.get(), G_VARIANT_TYPE(type))) return reply.get();
  NUV_ERROR("the reply has type %s instead of %s", g_variant_get_type_string(reply.get()), type);
  return nullptr;
}

ServiceReply CallService(CNUVGdbus& link, const char* method, CallArguments& arguments) {
  GVariant* parameters = arguments.TakeTuple();
  if (parameters == nullptr) {
    NUV_ERROR("%s: %s", method, arguments.Problem());
    return {};
  }
  return Call(link, method, parameters);
}

ServiceReply CallService(CNUVGdbus& link, const char* method) {
  return Call(link, method, nullptr);
}

int ReportPlainCall(const ServiceReply& answer) {
  if (answer.succeeded) {
    NUV_INFO("Call success ");
    return 0;
  }
  NUV_ERROR("Call failed");
  return -1;
}

void ReportMissingReply(const ServiceReply& answer) {
  if (answer.succeeded) return;
  NUV_ERROR("MethodCall failed.");
  if (answer.reply != nullptr) NUV_ERROR("MethodCall error.");
}
