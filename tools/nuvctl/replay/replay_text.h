// Calls, answers and results in words, in which what differs between runs that are the same does not show.
#pragma once

#include <gio/gio.h>

#include <string>

// "launch_app app=..." for a person; short.
std::string CallInWords(GDBusMessage* call);

// An answer to a call of the method, or a result. Equal for what is to count as the same.
std::string AnswerInWords(const std::string& method, GDBusMessage* answer);
std::string ResultInWords(GDBusMessage* result);

// The number under which the client asked for what the result is about.
int EventIndexOf(GDBusMessage* result);

// The name of the client object that the call wants its results on; empty where it wants none.
std::string ObjectNameIn(GDBusMessage* call);
