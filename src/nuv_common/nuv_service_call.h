// The common shape of the service's plain methods: the link, one call, its reply.
#pragma once

#include <nuv_common/nuv_handles.h>

#include "nuv_common/nuv_call_arguments.h"

class CNUVGdbus;

struct ServiceReply {
  bool succeeded = false;
  GVariantHandle reply;

  // The reply, where the call succeeded with one of the given type; else null, and a type that is not the agreed one is
  // in the log.
  GVariant* Of(const char* type) const;
};

// Calls a method on a usable link and waits at most 10 s. Arguments that cannot travel make a failed call.
ServiceReply CallService(CNUVGdbus& link, const char* method, CallArguments& arguments);
// The same without arguments.
ServiceReply CallService(CNUVGdbus& link, const char* method);

// Logs how a call that has no reply to read went, and turns it into the caller's result.
int ReportPlainCall(const ServiceReply& answer);

// Logs a failed call whose reply is needed.
void ReportMissingReply(const ServiceReply& answer);
