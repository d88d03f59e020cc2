// The records of the catalogue as fields of an answer: each member under its name, in the order of the record.
#pragma once

#include <nuv/nuv_app_records.h>
#include <nuv/nuv_app_types.h>
#include <nuv/nuv_inner_database.h>

#include <string>
#include <vector>

#include "report/report.h"

// Texts are the catalogue's bytes, which need not be UTF-8.
Fields FieldsOf(const nuv_app_info_s& record);
Fields FieldsOf(const nuv_app_ms_s& record);
Fields FieldsOf(const _APPS_INNER_INFO_T& record);
Fields FieldsOf(const _APPSINFO_T& record);

// A column of a table: its heading, the field below it, and how many columns of the terminal a text may take.
struct FieldColumn {
  const char* heading;
  const char* field;
  size_t widest = kUnlimited;

  static constexpr size_t kUnlimited = static_cast<size_t>(-1);
};

// Fields of many records, a row each, below the headings.
std::string RecordTable(const List& records, const std::vector<FieldColumn>& columns);

// All fields of one record, a row each.
std::string RecordSheet(const Fields& record);
