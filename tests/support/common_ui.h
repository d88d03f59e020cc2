// What a request to the common-UI application does, as effects.
#pragma once

#include "effects.h"

const std::string kCommonUi = "org.kelvo.corvane-commui";
const std::string kRunning = "running? " + kCommonUi;
const std::string kDefaultOperation = "operation http://nuv/appcontrol/operation/default";
const std::string kSent = "launch request " + kCommonUi;
const std::string kDestroyed = "app_control destroyed";
const std::string kSuccess = LogEffect('I', Yellow("launch commui App success"));
const std::string kFailure = LogEffect('E', Red("launch commui error"));
