// What the functions of the inner side have in common: the guard, the checks of their arguments, and their failures.
#pragma once

#include <nuv/nuv_inner_database.h>
#include <nuv_common/nuv_log.h>

#include <string>

// Whether packages are being repaired.
bool InnerCheckPkgmgrRecovering();

// True, and logged for the caller, while packages are being repaired.
bool RefusedWhileRecovering(const LogOrigin& origin = Here());

// False, and logged for the caller, where the key is empty. Like any text, it ends at its first zero byte.
bool RequireKey(const std::string& key, const char* complaint, const LogOrigin& origin);
