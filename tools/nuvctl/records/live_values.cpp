#include "records/live_values.h"

#include <nuv/nuv_inner_database.h>

#include <memory>
#include <set>

#include "report/text.h"

namespace {

using completion::Candidate;

struct Source {
  Live live;
  std::string _APPSINFO_T::*value;
  std::string _APPSINFO_T::*meaning;
};

constexpr Source kSources[] = {
    {Live::kAppIds, &_APPSINFO_T::id, &_APPSINFO_T::title},
    {Live::kPlatformIds, &_APPSINFO_T::kelvo_id, &_APPSINFO_T::title},
    {Live::kRunTitles, &_APPSINFO_T::run_title, &_APPSINFO_T::id},
};

bool CanBeTyped(const std::string& text) {
  return !text.empty() && Printable(text) == text;
}

std::vector<Candidate> ValuesFrom(const Source& source, const _APPSINFO_T* apps, int count) {
  std::vector<Candidate> values;
  std::set<std::string> seen;
  for (int i = 0; i < count; ++i) {
    const std::string& value = apps[i].*source.value;
    if (!CanBeTyped(value) || !seen.insert(value).second) continue;
    values.push_back({value, Printable(apps[i].*source.meaning)});
  }
  return values;
}

}  // namespace

std::vector<Candidate> LiveValues(Live live) {
  for (const Source& source : kSources) {
    if (source.live != live) continue;
    _APPSINFO_T* apps = nullptr;
    int count = 0;
    const int result = nuv_inner_get_all_app_list(&apps, &count);
    const std::unique_ptr<_APPSINFO_T[]> owned(apps);
    return result == 0 && apps != nullptr ? ValuesFrom(source, apps, count) : std::vector<Candidate>();
  }
  return {};
}
