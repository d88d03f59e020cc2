// The records of the catalogue as JSON objects: each member under its name, in the order of the record.
#pragma once

#include <nuv/nuv_app_records.h>
#include <nuv/nuv_app_types.h>
#include <nuv/nuv_inner_database.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

// Texts are the catalogue's bytes, which need not be UTF-8.
nlohmann::ordered_json FieldsOf(const nuv_app_info_s& record);
nlohmann::ordered_json FieldsOf(const nuv_app_ms_s& record);
nlohmann::ordered_json FieldsOf(const _APPS_INNER_INFO_T& record);
nlohmann::ordered_json FieldsOf(const _APPSINFO_T& record);

// A field's value in words, as it is: not yet printable.
std::string FieldText(const nlohmann::ordered_json& value);

// A column of a table: its heading, the field below it, and how many columns of the terminal a text may take.
struct FieldColumn {
  const char* heading;
  const char* field;
  size_t widest = kUnlimited;

  static constexpr size_t kUnlimited = static_cast<size_t>(-1);
};

// Fields of many records, a row each, below the headings.
std::string RecordTable(const nlohmann::ordered_json& records, const std::vector<FieldColumn>& columns);

// All fields of one record, a row each.
std::string RecordSheet(const nlohmann::ordered_json& record);
