// Calls of the platform's application utility.
#pragma once

#include "nuv_launcher_api/nuv_launcher_data.h"

class ICAul {
 public:
  // Whether the application with the platform's id runs.
  static bool AulAppIsRunning(const char* platformId);

  // Asks the common-UI application, which shows the PIN dialog, for something; "kill" closes it. True when the request
  // was sent, or when nothing has to be closed. A text that is null is left out of the request. A null methodName
  // throws std::logic_error.
  static bool AulLaunchPINPopup(const char* methodName, _NUV_LAUNCHER_COMMUI_DATA& data);
  static bool AulLaunchPINPopup(const char* appId, const char* pid, const char* threadId, const char* methodName,
                                const char* apiName, int index, const char* appType);
};
