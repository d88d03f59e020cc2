// The methods of the service and of its clients: what their arguments are, and how each is shown.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

enum class Show {
  kApp,     // id of the application that the call is about
  kText,    // left out of a line where it is empty
  kSecret,  // a text that says what somebody watches or says
  kPin,     // a text that nobody is shown
  kNumber,
  kNamed,     // an event or a status number
  kPopup,     // a kind of error popup
  kFlag,      // its name is said where it is not 0
  kPairs,     // extra data in records of 1024 bytes: key and value
  kTextPairs  // extra data as texts
};

struct Part {
  const char* name;
  Show show;
};

struct Method {
  const char* name;
  const char* signature;  // of all arguments
  std::vector<Part> arguments;
  const char* reply_signature;
  std::vector<Part> reply;
};

// Null for a method that is not known with such arguments.
const Method* FindMethod(const std::string& name, const std::string& signature);

// Which argument says what application a call is about; nothing where none does.
std::optional<size_t> AppArgument(const Method& method);

bool IsSecret(Show show);
