// Where the library's log goes: what nuvctl makes of the user's wish.
#pragma once

#include <string>

// Before the library's first use: it reads the variables once. The log stays quiet unless the user wants it.
void SetUpLog(bool verbose);

// NUV_LOG as the user has set it; empty where he has not.
std::string LogWish();
