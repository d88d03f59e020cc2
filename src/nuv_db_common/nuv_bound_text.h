// Statement texts together with the parameters of their "?".
#pragma once

#include <sqlite3.h>

#include <string>
#include <vector>

// A text ends at its first zero byte, whatever follows in the string.
inline std::string UpToZero(const std::string& text) {
  return text.substr(0, text.find('\0'));
}

enum BindType { kBindText = 1, kBindInteger = 2 };

// One parameter, as either side has it: a record of a type, a text and an integer.
template <typename Bind>
void AppendBind(std::vector<Bind>& binds, const std::string& value) {
  binds.push_back({kBindText, value, 0});
}

template <typename Bind>
void AppendBind(std::vector<Bind>& binds, int value) {
  binds.push_back({kBindInteger, {}, value});
}

// Binds record i to parameter i + 1; one of another type leaves its parameter null. Texts are not copied.
template <typename Bind>
void BindParameters(sqlite3_stmt* statement, const std::vector<Bind>& binds) {
  int position = 0;
  for (const Bind& bind : binds) {
    ++position;
    if (bind.type == kBindText) {
      sqlite3_bind_text(statement, position, bind.text.c_str(), -1, SQLITE_STATIC);
    } else if (bind.type == kBindInteger) {
      sqlite3_bind_int(statement, position, bind.value);
    }
  }
}

template <typename Bind>
struct BoundText {
  // Appends to the text, with the values of its "?" in their order.
  template <typename... Values>
  BoundText& Add(const char* part, const Values&... values) {
    text += part;
    (AppendBind(binds, values), ...);
    return *this;
  }

  std::string text;
  std::vector<Bind> binds;
};
