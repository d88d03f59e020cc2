// Calls of the platform's application utility.
#pragma once

class ICAul {
 public:
  // Asks the common-UI application, which shows the PIN dialog, for something; "kill" closes it. True when the request
  // was sent, or when nothing has to be closed. A text that is null is left out of the request. A null methodName
  // throws std::logic_error.
  static bool AulLaunchPINPopup(const char* appId, const char* pid, const char* threadId, const char* methodName,
                                const char* apiName, int index, const char* appType);
};
