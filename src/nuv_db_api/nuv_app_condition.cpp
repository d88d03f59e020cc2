#include "nuv_db_api/nuv_app_condition.h"

#include "nuv_db_common/nuv_statement.h"

namespace {

constexpr int kTypes[] = {2, 4};
constexpr int kCategories[] = {1, 2, 4, 8};
constexpr int kAllCategories = 1 | 2 | 4 | 8;

}  // namespace

int FeaturedCategories(int featured) {
  return featured == 3 ? 1 | 2 | 8 : featured;
}

int AddFeatured(AppCondition& condition, int categories, const LogOrigin& origin) {
  if ((categories & kAllCategories) == 0) {
    NUV_ERROR_FROM(origin, NUV_RED "in param featured error" NUV_PLAIN);
    return -1;
  }
  if (categories == NUV_APP_FILTER_ANY) return 0;
  const std::string marks = MarksOf(categories, kCategories, condition.binds);
  condition.text += " and app_featured in (" + marks + ") ";
  return 0;
}

int GetStrAppType(int app_type, std::string& text, std::vector<_NUVDB_BIND_T>& binds) try {
  NUV_INFO("Start to get app type");
  if (static_cast<unsigned>(app_type) > 127) {
    NUV_ERROR(NUV_RED "in param app_type is error" NUV_PLAIN);
    return -1;
  }
  text = MarksOf(app_type, kTypes, binds);
  NUV_INFO("Type:%s", text.c_str());
  return 0;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}
