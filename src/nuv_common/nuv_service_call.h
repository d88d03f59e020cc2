// The common shape of the service's plain methods: the link, one call, its reply.
#pragma once

#include <nuv_common/nuv_log.h>

#include "nuv_common/nuv_call_arguments.h"
#include "nuv_common/nuv_handles.h"

class CNUVGdbus;

// A link for plain calls, and the log line for the case that it is not usable.
struct ServiceLink {
  CNUVGdbus* (*usable)();  // null where it is not; may block as CNUVGdbus::GetProxy() does
  const char* complaint;
};

struct ServiceReply {
  bool asked = false;  // a link was usable; where none was, the log says so
  bool succeeded = false;
  GVariantHandle reply;

  // The reply; null where the call failed, or where the reply has another type than the given one, which is logged.
  GVariant* Of(const char* type) const;
};

// The link, usable; null, and logged for the caller, where it is not.
CNUVGdbus* UsableLink(const ServiceLink& link, const LogOrigin& origin = Here());

// Calls a method over the link and waits at most 10 s. Arguments that cannot travel count as a failed call; an unusable
// link and a lack of memory count as no call. Both are logged for the caller.
ServiceReply AskService(const ServiceLink& link, const char* method, CallArguments& arguments,
                        const LogOrigin& origin = Here());

// Logs how a call that has no reply to read went, and turns it into the caller's result.
int ReportPlainCall(const ServiceReply& answer);

// Logs a failed call whose reply is needed.
void ReportMissingReply(const ServiceReply& answer);
