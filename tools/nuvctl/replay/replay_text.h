// Calls, answers and results in words, in which what differs between runs that are the same does not show.
#pragma once

#include <gio/gio.h>

#include <optional>
#include <string>

// "launch_app app=..." for a person; short.
std::string CallInWords(GDBusMessage* call);

// An answer to a call of the method, or a result. Equal for what is to count as the same.
std::string AnswerInWords(const std::string& method, GDBusMessage* answer);
std::string ResultInWords(GDBusMessage* result);

// The number under which the client asked for what the result is about.
int EventIndexOf(GDBusMessage* result);

// Where a call wants its results: the name of the client object, and the number that they carry.
struct ResultAddress {
  std::string object_name;
  int event_index = 0;
};

// Nothing where it wants none.
std::optional<ResultAddress> ResultAddressIn(GDBusMessage* call);

// Whether the call came from the service's own PIN dialog, which answers the service of now by itself.
bool IsFromPinDialog(GDBusMessage* call);
