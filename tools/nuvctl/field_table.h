// How the fields of a record become a JSON object: a table of members.
#pragma once

#include <cstring>
#include <nlohmann/json.hpp>
#include <string>

template <size_t Size>
nlohmann::ordered_json Value(const char (&text)[Size]) {
  return std::string(text, strnlen(text, Size));
}

template <typename T>
nlohmann::ordered_json Value(const T& value) {
  return value;
}

template <typename Record>
struct Field {
  const char* name;
  nlohmann::ordered_json (*value)(const Record& record);
};

template <typename Record, auto Member>
nlohmann::ordered_json Read(const Record& record) {
  return Value(record.*Member);
}

#define FIELD(member) \
  { #member, Read < Record, &Record::member> }

// Specialised for each record with a table kAll and the record's name as Record.
template <typename Record>
struct Fields;

template <typename Record>
nlohmann::ordered_json AllFields(const Record& record) {
  nlohmann::ordered_json fields = nlohmann::ordered_json::object();
  for (const auto& field : Fields<Record>::kAll) fields[field.name] = field.value(record);
  return fields;
}
