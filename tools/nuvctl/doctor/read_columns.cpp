#include "doctor/read_columns.h"

#include <nuv_db_api/nuv_app_columns.h>
#include <nuv_inner_db_api/nuv_inner_app_columns.h>

#include <algorithm>
#include <iterator>

namespace {

std::vector<std::string> MakeReadColumns() {
  std::vector<std::string> columns(std::begin(Column), std::end(Column));
  for (const char* name : InnerColumn) {
    if (std::find(columns.begin(), columns.end(), name) == columns.end()) columns.emplace_back(name);
  }
  return columns;
}

}  // namespace

const std::vector<std::string>& ReadColumns() {
  static const std::vector<std::string> columns = MakeReadColumns();
  return columns;
}
