#include "nuv_common/nuv_service_call.h"

#include <nuv_common/nuv_out_of_memory.h>

#include "nuv_common/nuv_proxy.h"

namespace {

constexpr int kTimeoutMs = 10000;

void CallService(CNUVGdbus& link, const char* method, CallArguments& arguments, ServiceReply& answer) {
  const GVariantHandle parameters = OwnVariant(arguments.TakeTuple());
  if (parameters == nullptr) {
    NUV_ERROR("%s: %s", method, arguments.Problem());
    return;
  }
  GVariant* reply = nullptr;
  int isTimeOutError = 0;
  answer.succeeded = link.MethodCall(method, parameters.get(), &reply, kTimeoutMs, &isTimeOutError) == 1;
  answer.reply.reset(reply);
}

}  // namespace

GVariant* ServiceReply::Of(const char* type) const {
  if (!succeeded || reply == nullptr) return nullptr;
  if (g_variant_is_of_type(reply.get(), G_VARIANT_TYPE(type))) return reply.get();
  NUV_ERROR("the reply has type %s instead of %s", g_variant_get_type_string(reply.get()), type);
  return nullptr;
}

CNUVGdbus* UsableLink(const ServiceLink& link, const LogOrigin& origin) {
  CNUVGdbus* usable = link.usable();
  if (usable == nullptr) NUV_ERROR_FROM(origin, "%s", link.complaint);
  return usable;
}

ServiceReply AskService(const ServiceLink& link, const char* method, CallArguments& arguments,
                        const LogOrigin& origin) try {
  ServiceReply answer;
  CNUVGdbus* usable = UsableLink(link, origin);
  answer.asked = usable != nullptr;
  if (answer.asked) CallService(*usable, method, arguments, answer);
  return answer;
} catch (const std::bad_alloc&) {
  OutOfMemory(origin);
  return {};
}

int ReportPlainCall(const ServiceReply& answer) {
  if (!answer.asked) return -1;
  if (answer.succeeded) {
    NUV_INFO("Call success ");
    return 0;
  }
  NUV_ERROR("Call failed");
  return -1;
}

void ReportMissingReply(const ServiceReply& answer) {
  if (!answer.asked || answer.succeeded) return;
  NUV_ERROR("MethodCall failed.");
  if (answer.reply != nullptr) NUV_ERROR("MethodCall error.");
}
