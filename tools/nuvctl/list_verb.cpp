#include "list_verb.h"

#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <limits>
#include <memory>

#include "catalogue_state.h"
#include "record_fields.h"

namespace {

using Json = nlohmann::ordered_json;

struct NamedNumber {
  const char* name;
  int number;
};

// The library takes category 3 for 1, 2 and 8.
constexpr int kCategoriesOf3 = 11;
constexpr NamedNumber kCategories[] = {
    {"1", 1}, {"2", 2}, {"3", kCategoriesOf3}, {"4", 4}, {"8", 8}, {"any", NUV_APP_FILTER_ANY},
};
constexpr NamedNumber kTypes[] = {{"2", 2}, {"4", 4}, {"any", NUV_APP_FILTER_ANY}};
constexpr NamedNumber kViews[] = {
    {"most-used", NUV_APP_VIEWMODE_MOST_USED},         {"index", NUV_APP_VIEWMODE_INDEX},
    {"last-download", NUV_APP_VIEWMODE_LAST_DOWNLOAD}, {"title", NUV_APP_VIEWMODE_TITLE_ASC},
    {"title-desc", NUV_APP_VIEWMODE_TITLE_DESC},
};

template <size_t Size>
const NamedNumber* Find(const NamedNumber (&table)[Size], const std::string& name) {
  for (const NamedNumber& row : table) {
    if (name == row.name) return &row;
  }
  return nullptr;
}

template <size_t Size>
std::string NamesOf(const NamedNumber (&table)[Size]) {
  std::string names;
  for (const NamedNumber& row : table) names += (names.empty() ? "" : ", ") + std::string(row.name);
  return names;
}

// Replaces names with commas between them by their number; otherwise says what is wrong.
template <const auto& Table>
std::string SetNumber(std::string& text) {
  int number = 0;
  for (const std::string& name : CLI::detail::split(text, ',')) {
    const NamedNumber* row = Find(Table, name);
    if (row == nullptr) return "not one or more of " + NamesOf(Table) + ": " + text;
    number |= row->number;
  }
  text = std::to_string(number);
  return "";
}

std::string CategoriesNumber(std::string& text) {
  const std::string given = text;
  std::string wrong = SetNumber<kCategories>(text);
  if (!wrong.empty()) return wrong;
  return text == "3" ? "the library has no list of " + given + " without 8; ask for 3, which is 1, 2 and 8" : "";
}

std::string ViewNumber(std::string& text) {
  const NamedNumber* view = Find(kViews, text);
  if (view == nullptr) return "no view: " + text + "; the views are " + NamesOf(kViews);
  text = std::to_string(view->number);
  return "";
}

// What the library has put into an array: one block, which is the caller's.
template <typename Record>
class RecordArray {
 public:
  RecordArray() = default;
  ~RecordArray() { std::free(records_); }
  RecordArray(const RecordArray&) = delete;
  RecordArray& operator=(const RecordArray&) = delete;

  Record** slot() { return &records_; }
  Json ToJson(int count) const {
    Json records = Json::array();
    for (int i = 0; records_ != nullptr && i < count; ++i) records.push_back(FieldsOf(records_[i]));
    return records;
  }

 private:
  Record* records_ = nullptr;
};

struct ListResult {
  int result = -1;
  Json records = Json::array();
};

nuv_app_filter_s FilterOf(const ListChoice& choice) {
  return {choice.featured, 0, choice.type};
}

ListResult ReadApps(const ListChoice& choice) {
  RecordArray<nuv_app_info_s> records;
  int count = 0;
  const int result = GetAppList(FilterOf(choice), static_cast<nuv_app_viewmode_e>(choice.view), choice.index,
                                choice.count, false, &count, records.slot(), nullptr);
  return {result, records.ToJson(count)};
}

ListResult ReadMultiScreen(const ListChoice& choice) {
  RecordArray<nuv_app_ms_s> records;
  int count = 0;
  const int result = GetAppList(FilterOf(choice), static_cast<nuv_app_viewmode_e>(choice.view), choice.index,
                                choice.count, true, &count, nullptr, records.slot());
  return {result, records.ToJson(count)};
}

template <int (*List)(nuv_app_info_s**, int*)>
ListResult ReadMarked(const ListChoice&) {
  RecordArray<nuv_app_info_s> records;
  int count = 0;
  const int result = List(records.slot(), &count);
  return {result, records.ToJson(count)};
}

ListResult ReadForService(const ListChoice& choice) {
  std::vector<_APPS_INNER_INFO_T> list;
  ListResult read;
  read.result = GetNUVAppList(std::to_string(choice.featured), std::to_string(choice.view), choice.with_hidden, list);
  for (const _APPS_INNER_INFO_T& record : list) read.records.push_back(FieldsOf(record));
  return read;
}

constexpr size_t kWidestTitle = 32;

struct ListKind {
  bool ListChoice::*chosen;
  ListResult (*read)(const ListChoice& choice);
  std::vector<FieldColumn> columns;
};

const ListKind& KindOf(const ListChoice& choice) {
  static const std::vector<FieldColumn> app_columns = {{"ID", "app_id"},
                                                       {"TITLE", "app_title", kWidestTitle},
                                                       {"RUN TITLE", "app_runtitle", kWidestTitle},
                                                       {"VERSION", "app_version"},
                                                       {"TYPE", "app_type"},
                                                       {"FEATURED", "app_featured"},
                                                       {"INDEX", "app_index"},
                                                       {"USED", "use_count"},
                                                       {"LOCKED", "is_lock"}};
  static const std::vector<FieldColumn> service_columns = {{"ID", "id"},
                                                           {"TITLE", "title", kWidestTitle},
                                                           {"RUN TITLE", "run_title", kWidestTitle},
                                                           {"VERSION", "version"},
                                                           {"TYPE", "app_type"},
                                                           {"FEATURED", "app_featured"},
                                                           {"INDEX", "app_index"},
                                                           {"USED", "use_count"},
                                                           {"LOCKED", "is_lock"},
                                                           {"HIDDEN", "is_hidden"}};
  static const ListKind kinds[] = {
      {&ListChoice::multi_screen, ReadMultiScreen, {{"ID", "app_id"}, {"MULTI-SCREEN", "is_multi_screen2"}}},
      {&ListChoice::hybrid, ReadMarked<nuv_get_hybrid_widget_list>, app_columns},
      {&ListChoice::isp_bound, ReadMarked<nuv_get_isp_bound_widget_list>, app_columns},
      {&ListChoice::service, ReadForService, service_columns},
  };
  static const ListKind all = {nullptr, ReadApps, app_columns};
  for (const ListKind& kind : kinds) {
    if (choice.*kind.chosen) return kind;
  }
  return all;
}

// A page beyond the last application is a failure to the library, which does not say so.
Diagnosis WhyNoList(const ListChoice& choice) {
  if (choice.index < 0) return {Outcome::kFailed, "the list could not be read"};
  return {Outcome::kNotFound, "the list has no application at index " + std::to_string(choice.index)};
}

}  // namespace

void AddListArguments(CLI::App& command, Options& options) {
  ListChoice& list = options.list;
  const int most = std::numeric_limits<int>::max();
  auto* featured =
      command.add_option("--featured", list.featured, "Categories: any, or of 1, 2, 3, 4, 8 (default any)")
          ->transform(CLI::Validator(CategoriesNumber, ""))
          ->type_name("SET");
  auto* type = command.add_option("--type", list.type, "Types: any, or of 2, 4 (default any)")
                   ->transform(CLI::Validator(SetNumber<kTypes>, ""))
                   ->type_name("SET");
  auto* view = command.add_option("--view", list.view, "Order: " + NamesOf(kViews) + " (default index)")
                   ->transform(CLI::Validator(ViewNumber, ""))
                   ->type_name("NAME");
  auto* index = command.add_option("--index", list.index, "First application to list, from 0 on")
                    ->check(CLI::Range(0, most))
                    ->type_name("N");
  auto* count = command.add_option("--count", list.count, "Most applications to list")
                    ->check(CLI::Range(1, most))
                    ->type_name("N");
  auto* multi_screen = command.add_flag("--ms", list.multi_screen, "List the multi-screen records");
  auto* hybrid = command.add_flag("--hybrid", list.hybrid, "List the hybrid-TV applications");
  auto* isp_bound = command.add_flag("--isp-bound", list.isp_bound, "List those bound to the internet provider");
  auto* service = command.add_flag("--service", list.service, "List the service's records");
  command.add_flag("--hidden", list.with_hidden, "With --service: hidden applications, too")->needs(service);
  for (auto* marked : {hybrid, isp_bound}) {
    for (auto* other : {featured, type, view, index, count, multi_screen, service}) marked->excludes(other);
  }
  hybrid->excludes(isp_bound);
  for (auto* other : {type, index, count, multi_screen}) service->excludes(other);
}

Report RunList(const Options& options) {
  const ListKind& kind = KindOf(options.list);
  const ListResult list = kind.read(options.list);
  Report report;
  if (list.result != 0) report = ReportOf(DiagnoseCatalogue(list.result, WhyNoList(options.list)));
  report.details["records"] = list.result == 0 ? list.records : Json();
  if (list.result == 0) report.text = RecordTable(list.records, kind.columns);
  return report;
}
