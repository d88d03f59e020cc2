// nuvctl list
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>

#include <cstdlib>
#include <sstream>

#include "command/verb.h"
#include "obstacles/obstacles.h"
#include "records/record_fields.h"
#include "report/text.h"

namespace list_verb {
namespace {

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
std::vector<std::string> NamesOf(const NamedNumber (&table)[Size]) {
  std::vector<std::string> names;
  for (const NamedNumber& row : table) names.emplace_back(row.name);
  return names;
}

std::vector<std::string> SplitAtCommas(const std::string& text) {
  std::vector<std::string> parts;
  std::istringstream rest(text);
  for (std::string part; std::getline(rest, part, ',');) parts.push_back(part);
  if (parts.empty()) parts.emplace_back();
  return parts;
}

// Replaces names with commas between them by their number; otherwise says what is wrong.
template <const auto& Table>
std::string SetNumber(std::string& text) {
  int number = 0;
  for (const std::string& name : SplitAtCommas(text)) {
    const NamedNumber* row = Find(Table, name);
    if (row == nullptr) return "not one or more of " + Joined(NamesOf(Table)) + ": " + text;
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
  if (view == nullptr) return "no view: " + text + "; the views are " + Joined(NamesOf(kViews));
  text = std::to_string(view->number);
  return "";
}

// Which applications, and in which order.
struct Choice {
  nuv_app_filter_s filter;
  int view;
  int index;
  int count;
  bool with_hidden;
};

Choice ChoiceOf(const Values& values) {
  return {{values.Number("--featured", NUV_APP_FILTER_ANY), 0, values.Number("--type", NUV_APP_FILTER_ANY)},
          values.Number("--view", NUV_APP_VIEWMODE_INDEX),
          values.Number("--index", -1),  // from the first on
          values.Number("--count"),      // all
          values.Flag("--hidden")};
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
  List ToList(int count) const {
    List records;
    for (int i = 0; records_ != nullptr && i < count; ++i) records.emplace_back(FieldsOf(records_[i]));
    return records;
  }

 private:
  Record* records_ = nullptr;
};

struct ListResult {
  int result = -1;
  List records = {};
};

ListResult ReadApps(const Choice& choice) {
  RecordArray<nuv_app_info_s> records;
  int count = 0;
  const int result = GetAppList(choice.filter, static_cast<nuv_app_viewmode_e>(choice.view), choice.index, choice.count,
                                false, &count, records.slot(), nullptr);
  return {result, records.ToList(count)};
}

ListResult ReadMultiScreen(const Choice& choice) {
  RecordArray<nuv_app_ms_s> records;
  int count = 0;
  const int result = GetAppList(choice.filter, static_cast<nuv_app_viewmode_e>(choice.view), choice.index, choice.count,
                                true, &count, nullptr, records.slot());
  return {result, records.ToList(count)};
}

template <int (*List)(nuv_app_info_s**, int*)>
ListResult ReadMarked(const Choice&) {
  RecordArray<nuv_app_info_s> records;
  int count = 0;
  const int result = List(records.slot(), &count);
  return {result, records.ToList(count)};
}

ListResult ReadForService(const Choice& choice) {
  std::vector<_APPS_INNER_INFO_T> list;
  ListResult read;
  read.result =
      GetNUVAppList(std::to_string(choice.filter.featured), std::to_string(choice.view), choice.with_hidden, list);
  for (const _APPS_INNER_INFO_T& record : list) read.records.emplace_back(FieldsOf(record));
  return read;
}

constexpr size_t kWidestTitle = 32;
constexpr size_t kWhole = FieldColumn::kUnlimited;

template <typename Record>
Fields Blank() {
  return FieldsOf(Record());
}

struct ListKind {
  const char* flag;
  ListResult (*read)(const Choice& choice);
  std::vector<FieldColumn> columns;
  Fields (*blank)();
};

const ListKind& KindOf(const Values& values) {
  static const std::vector<FieldColumn> app_columns = {{"ID", "app_id"},
                                                       {"TITLE", "app_title", kWidestTitle, 0, true},
                                                       {"RUN TITLE", "app_runtitle", kWidestTitle, 7, true},
                                                       {"VERSION", "app_version", kWhole, 5},
                                                       {"TYPE", "app_type", kWhole, 2},
                                                       {"FEATURED", "app_featured", kWhole, 1},
                                                       {"INDEX", "app_index", kWhole, 3},
                                                       {"USED", "use_count", kWhole, 4},
                                                       {"LOCKED", "is_lock", kWhole, 6}};
  static const std::vector<FieldColumn> service_columns = {{"ID", "id"},
                                                           {"TITLE", "title", kWidestTitle, 0, true},
                                                           {"RUN TITLE", "run_title", kWidestTitle, 7, true},
                                                           {"VERSION", "version", kWhole, 5},
                                                           {"TYPE", "app_type", kWhole, 2},
                                                           {"FEATURED", "app_featured", kWhole, 1},
                                                           {"INDEX", "app_index", kWhole, 3},
                                                           {"USED", "use_count", kWhole, 4},
                                                           {"LOCKED", "is_lock", kWhole, 6},
                                                           {"HIDDEN", "is_hidden", kWhole, 6}};
  static const ListKind kinds[] = {
      {"--ms", ReadMultiScreen, {{"ID", "app_id"}, {"MULTI-SCREEN", "is_multi_screen2"}}, Blank<nuv_app_ms_s>},
      {"--hybrid", ReadMarked<nuv_get_hybrid_widget_list>, app_columns, Blank<nuv_app_info_s>},
      {"--isp-bound", ReadMarked<nuv_get_isp_bound_widget_list>, app_columns, Blank<nuv_app_info_s>},
      {"--service", ReadForService, service_columns, Blank<_APPS_INNER_INFO_T>},
  };
  static const ListKind all = {nullptr, ReadApps, app_columns, Blank<nuv_app_info_s>};
  for (const ListKind& kind : kinds) {
    if (values.Flag(kind.flag)) return kind;
  }
  return all;
}

std::vector<std::string> ColumnsOf(const Values& values) {
  const ListKind& kind = KindOf(values);
  return ColumnNames(kind.columns, kind.blank());
}

// A page beyond the last application is a failure to the library, which does not say so.
Diagnosis WhyNoList(const Choice& choice) {
  if (choice.index < 0) return {Outcome::kFailed, "the list could not be read"};
  return {Outcome::kNotFound, "the list has no application at index " + std::to_string(choice.index)};
}

Report ListApps(const Values& values) {
  const ListKind& kind = KindOf(values);
  const Choice choice = ChoiceOf(values);
  const ListResult list = kind.read(choice);
  if (list.result != 0) {
    return ReportOf(DiagnoseCatalogue(list.result, WhyNoList(choice)), {{"records", nullptr}});
  }
  const ChosenTable table = TableOf(list.records, kind.columns, kind.blank(), values);
  if (!table.error.empty()) return WrongColumns(table);
  Report report;
  report.text = table.text;
  report.details["records"] = list.records;
  return report;
}

// What a list of marked applications, and a list of the service's records, do not go with.
std::vector<const char*> With(std::vector<const char*> others, const std::vector<const char*>& more) {
  others.insert(others.end(), more.begin(), more.end());
  return others;
}

const std::vector<const char*> kNotForService = {"--type", "--index", "--count", "--ms"};
const std::vector<const char*> kNotForMarked = With(kNotForService, {"--featured", "--view", "--service"});

const RegisteredVerb kList(
    {"list",
     Group::kCatalogue,
     "List installed applications",
     {Option("--featured", "SET", "Categories: any, or of 1, 2, 3, 4, 8 (default any)")
          .Number()
          .List(NamesOf(kCategories), CategoriesNumber),
      Option("--type", "SET", "Types: any, or of 2, 4 (default any)").Number().List(NamesOf(kTypes), SetNumber<kTypes>),
      Option("--view", "NAME", "Order: " + Joined(NamesOf(kViews)) + " (default index)")
          .Number()
          .Words(NamesOf(kViews), ViewNumber),
      Option("--index", "N", "First application to list, from 0 on").NumberFrom(0),
      Option("--count", "N", "Most applications to list").NumberFrom(1), Flag("--ms", "List the multi-screen records"),
      Flag("--hybrid", "List the hybrid-TV applications").Excludes(With(kNotForMarked, {"--isp-bound"})),
      Flag("--isp-bound", "List those bound to the internet provider").Excludes(kNotForMarked),
      Flag("--service", "List the service's records").Excludes(kNotForService),
      Flag("--hidden", "With --service: hidden applications, too").Needs("--service"), ColumnsOption(ColumnsOf),
      WideFlag()},
     ListApps});

}  // namespace
}  // namespace list_verb
