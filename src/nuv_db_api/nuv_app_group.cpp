// Groups: names that the service's configuration gives to applications.
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <nuv_common/nuv_handle.h>
#include <nuv_common/nuv_log.h>

#include "nuv_db_api/nuv_app_queries.h"
#include "nuv_db_common/nuv_bound_text.h"

namespace {

constexpr const char* kGroupListName = "RESERVED_27";

enum GroupResult { kGroupFound = 0, kGroupAppNotInstalled = 1, kNoSuchGroup = 3 };

std::string ReadGroupList() {
  char* value = nullptr;
  GetConfigTableValue(kGroupListName, &value);
  const AllocatedText owned(value);
  return value == nullptr ? "" : value;
}

// Adds the pair of an item that has a separator and a value behind it.
void AddPair(const std::string& item, const std::string& separators, std::map<std::string, std::string>& out) {
  const size_t separator = item.find_first_of(separators);
  if (separator == std::string::npos || separator + 1 == item.size()) return;
  const std::string key = item.substr(0, separator);
  const std::string value = item.substr(separator + 1);
  out.emplace(key, value);
  NUV_INFO("find %s %s", key.c_str(), value.c_str());
}

}  // namespace

void ParseStringToList(std::string text, std::string item_separators, std::string pair_separators,
                       std::map<std::string, std::string>& out) {
  if (text.empty()) {
    NUV_INFO("String is empty!");
    return;
  }
  size_t start = 0;
  while (start < text.size()) {
    const size_t end = std::min(text.find_first_of(item_separators, start), text.size());
    AddPair(text.substr(start, end - start), pair_separators, out);
    start = end + 1;
  }
}

void GetAppIDFromAppGroupList(const std::string& key, std::string& app_id, int& result) {
  const std::string list = ReadGroupList();
  NUV_INFO(NUV_YELLOW "the runtitle list %s" NUV_PLAIN, list.c_str());
  std::map<std::string, std::string> groups;
  ParseStringToList(list, ",", ":", groups);
  const auto group = groups.find(UpToZero(key));
  if (group == groups.end()) {
    result = kNoSuchGroup;
    return;
  }
  app_id = group->second;
  nuv_app_info_s info = {};
  result = m_nuv_get_app_info(app_id.c_str(), &info) == 0 ? kGroupFound : kGroupAppNotInstalled;
}
