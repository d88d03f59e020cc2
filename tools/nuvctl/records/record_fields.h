// The records of the catalogue as fields of an answer: each member under its name, in the order of the record.
#pragma once

#include <nuv/nuv_app_records.h>
#include <nuv/nuv_app_types.h>
#include <nuv/nuv_inner_database.h>

#include <optional>
#include <string>
#include <vector>

#include "command/verb.h"
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
  int dropped = 0;         // where the terminal is too narrow: 1 first, 0 never
  bool gives_way = false;  // before any is dropped
  bool state = false;      // in colour

  static constexpr size_t kUnlimited = static_cast<size_t>(-1);
};

// Fields of many records, a row each, below the headings; made to fit the width where there is one.
std::string RecordTable(const List& records, const std::vector<FieldColumn>& columns,
                        const std::optional<size_t>& width = std::nullopt);

// How the columns of a table are named: by their headings, and by all fields of the record.
std::vector<std::string> ColumnNames(const std::vector<FieldColumn>& columns, const Fields& blank);

// "--columns" and "--wide", of the verbs that write a table.
Argument ColumnsOption(Argument::Suggest names);
Argument WideFlag();

// What is wrong with the columns that the user has chosen, or the table with them. A column may be any field of the
// record; its heading names it, too.
struct ChosenTable {
  std::string error;
  std::string text;
};
ChosenTable TableOf(const List& records, const std::vector<FieldColumn>& columns, const Fields& blank,
                    const Values& values);

// The report of a wrong choice.
Report WrongColumns(const ChosenTable& table);

// All fields of one record, a row each.
std::string RecordSheet(const Fields& record);
