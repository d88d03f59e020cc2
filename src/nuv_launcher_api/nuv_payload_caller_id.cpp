#include "nuv_launcher_api/nuv_payload_caller_id.h"

#include <nuv_common/nuv_log.h>

#include <algorithm>
#include <string_view>

namespace {

constexpr std::string_view kMarker = "&callerid=";
constexpr char kSeparator = '&';

}  // namespace

void nuv_ProcessPayloadCallerID_internal(int mode, const char* payload, const char* callerId, std::string& payloadOut,
                                         std::string& callerIdOut) {
  payloadOut = payload == nullptr ? "" : payload;
  const size_t marker = payloadOut.find(kMarker);
  const bool found = marker != std::string::npos;
  size_t value = 0;
  size_t valueEnd = 0;
  if (found) {
    NUV_INFO(NUV_YELLOW "callerid found in payload [%s]." NUV_PLAIN, payloadOut.c_str());
    value = marker + kMarker.size();
    valueEnd = std::min(payloadOut.find(kSeparator, value), payloadOut.size());
  } else {
    NUV_INFO(NUV_YELLOW "no callerid found in payload [%s]." NUV_PLAIN, payloadOut.c_str());
  }

  if (callerId == nullptr) {
    callerIdOut = payloadOut.substr(value, valueEnd - value);
    return;
  }
  callerIdOut = callerId;
  if (found) {
    payloadOut.replace(value, valueEnd - value, callerIdOut);
  } else if (mode != kKeepPayload) {
    payloadOut.append(kMarker).append(callerIdOut);
  }
}
