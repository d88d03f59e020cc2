// The caller id of a launch, which its payload may name as well.
#pragma once

#include <string>

constexpr int kKeepPayload = 2;

// Settles payload and caller id so that the service sees one caller id, and the same one in the payload where that
// names one. payload and callerId may be null; an empty callerId counts as given. Any mode but kKeepPayload adds a
// given caller id to a payload that names none. The outputs are overwritten.
void nuv_ProcessPayloadCallerID_internal(int mode, const char* payload, const char* callerId, std::string& payloadOut,
                                         std::string& callerIdOut);
