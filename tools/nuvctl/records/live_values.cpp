#include "records/live_values.h"

#include <nuv/nuv_inner_database.h>

#include <memory>
#include <set>

#include "report/text.h"
#include "service/running_apps.h"

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

struct Catalogue {
  std::unique_ptr<_APPSINFO_T[]> apps;
  int count = 0;  // 0 where it cannot be read
};

Catalogue ReadCatalogue() {
  _APPSINFO_T* apps = nullptr;
  int count = 0;
  const int result = nuv_inner_get_all_app_list(&apps, &count);
  Catalogue catalogue{std::unique_ptr<_APPSINFO_T[]>(apps)};
  if (result == 0 && apps != nullptr) catalogue.count = count;
  return catalogue;
}

// The platform has its own ids, and may run what the catalogue does not have.
std::vector<Candidate> RunningIds(const Catalogue& catalogue) {
  std::set<std::string> running;
  for (const RunningApp& app : RunningApps()) running.insert(app.platform_id);
  std::vector<Candidate> values;
  for (int i = 0; i < catalogue.count; ++i) {
    const _APPSINFO_T& app = catalogue.apps[static_cast<size_t>(i)];
    if (running.erase(app.kelvo_id) != 0 && CanBeTyped(app.id)) values.push_back({app.id, Printable(app.title)});
  }
  for (const std::string& id : running) {
    if (CanBeTyped(id)) values.push_back({id, ""});
  }
  return values;
}

}  // namespace

std::vector<Candidate> LiveValues(Live live) {
  if (live == Live::kRunningIds) return RunningIds(ReadCatalogue());
  for (const Source& source : kSources) {
    if (source.live != live) continue;
    const Catalogue catalogue = ReadCatalogue();
    return ValuesFrom(source, catalogue.apps.get(), catalogue.count);
  }
  return {};
}
