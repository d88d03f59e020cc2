// Lists of applications: the functions that callers see. Each makes a condition, counts, makes the array and leaves the
// reading to a worker.
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <nuv_common/nuv_handle.h>
#include <nuv_common/nuv_lock.h>
#include <nuv_common/nuv_log.h>

#include <cstdint>
#include <cstdlib>
#include <new>

#include "nuv_db_api/nuv_app_condition.h"
#include "nuv_db_api/nuv_app_list_query.h"
#include "nuv_db_api/nuv_app_queries.h"
#include "nuv_db_api/nuv_db_guards.h"
#include "nuv_db_common/nuv_statement.h"

namespace {

constexpr const char* kByIndex = " order by app_index asc ";

// The "order by" clause for full records. The last-download order is made later, in the array.
const char* OrderOf(int view_mode) {
  switch (view_mode) {
    case NUV_APP_VIEWMODE_MOST_USED:
      return " order by use_count desc ";
    case NUV_APP_VIEWMODE_TITLE_ASC:
      return " order by upper(title) asc ";
    case NUV_APP_VIEWMODE_TITLE_DESC:
      return " order by upper(title) desc ";
    default:
      return kByIndex;
  }
}

const char* MultiScreenOrderOf(int view_mode) {
  return view_mode == NUV_APP_VIEWMODE_LAST_DOWNLOAD ? " order by install_date desc " : OrderOf(view_mode);
}

// An array for the caller.
template <typename Record>
AllocatedRecords<Record> AllocateRecords(int count) {
  const size_t records = static_cast<size_t>(count);
  if (records > SIZE_MAX / sizeof(Record)) return nullptr;
  return AllocatedRecords<Record>(static_cast<Record*>(malloc(records * sizeof(Record))));
}

// The rows that a caller wants.
struct Page {
  int index;  // negative: no paging
  int count;  // below 1: all
};

// Cuts the number of matches to those of the page: 0, or -1 when there is none.
int CutToPage(const Page& page, int* real_count, const LogOrigin& origin) {
  int total = *real_count;
  NUV_INFO_FROM(origin, "before set,count: %d,index:%d,real_count:%d", page.count, page.index, total);
  if (total <= page.index) {
    NUV_INFO_FROM(origin, "offect >= real count:offect:%d, real count:%d ", page.index, total);  // misspelt; known
    *real_count = 0;
    return -1;
  }
  if (page.index >= 0) total -= page.index;
  if (page.count >= 1 && page.count < total) total = page.count;
  *real_count = total;
  NUV_INFO_FROM(origin, "after set,real_count: %d", total);
  if (total < 1) {
    NUV_ERROR_FROM(origin, NUV_RED "real_count <=0, it's wrong " NUV_PLAIN);
    return -1;
  }
  return 0;
}

int AddType(int type, AppCondition& condition, const LogOrigin& origin) {
  if (type == NUV_APP_FILTER_ANY) return 0;
  std::string marks;
  const int result = GetStrAppType(type, marks, condition.binds);
  if (result != 0) {
    NUV_ERROR_FROM(origin, NUV_RED "filterAppType error" NUV_PLAIN);
    return result;
  }
  condition.text += " and app_type in (" + marks + ") ";
  return 0;
}

// What GetAppList() was asked for.
struct ListRequest {
  nuv_app_filter_s filter;
  int view_mode;
  Page page;
};

int MakeListCondition(const ListRequest& request, AppCondition& condition, const LogOrigin& origin) {
  const nuv_app_filter_s& filter = request.filter;
  NUV_INFO_FROM(
      origin, NUV_GREEN "featured:[%d],type:[%d],premium_game:[%d],view_mode:[%d],index:[%d],count:[%d]" NUV_PLAIN,
      filter.featured, filter.type, filter.premium_game, request.view_mode, request.page.index, request.page.count);
  condition.binds.reserve(12);
  condition.Add(" where is_app_available = ? and install_state = ? ", kAvailable, kInstalled);
  const int typed = AddType(filter.type, condition, origin);
  if (typed != 0) return typed;
  const int categories = FeaturedCategories(filter.featured);
  NUV_INFO_FROM(origin,
                NUV_GREEN "featured:[%d],type:[%d],view_mode:[%d],index:[%d],count:[%d],app_featured:[%d]" NUV_PLAIN,
                filter.featured, filter.type, request.view_mode, request.page.index, request.page.count, categories);
  const int featured = AddFeatured(condition, categories, origin);
  if (featured != 0) return featured;
  condition.Add(" and is_hidden = ? and is_need_reset = ? ", kVisible, kNoResetNeeded);
  return 0;
}

// What differs between a list of full and one of multi-screen records.
struct FullList {
  using Record = nuv_app_info_s;
  static constexpr const char* kNoMemory = NUV_RED "failed to malloc app_list" NUV_PLAIN;
  static constexpr const char* kFailed = NUV_RED "failed to get app list" NUV_PLAIN;
  static const char* Order(int view_mode) { return OrderOf(view_mode); }
  static int Fill(Record* list, int count, int view_mode, const AppCondition& condition) {
    return GetAppsTableList(list, count, condition.text, 0, condition.binds,
                            view_mode == NUV_APP_VIEWMODE_LAST_DOWNLOAD);
  }
};

struct MultiScreenList {
  using Record = nuv_app_ms_s;
  static constexpr const char* kNoMemory = NUV_RED "failed to malloc app_list_ms" NUV_PLAIN;
  static constexpr const char* kFailed = NUV_RED "failed to get app list ms" NUV_PLAIN;
  static const char* Order(int view_mode) { return MultiScreenOrderOf(view_mode); }
  static int Fill(Record* list, int count, int /*view_mode*/, const AppCondition& condition) {
    return GetAppsMSList(list, count, condition.text, condition.binds);
  }
};

// Makes the array of the *real_count records of the page and reads them into it.
template <typename List>
int ReadPage(const ListRequest& request, AppCondition& condition, int* real_count, typename List::Record** list,
             const LogOrigin& origin) {
  const int wanted = *real_count;
  AllocatedRecords<typename List::Record> block = AllocateRecords<typename List::Record>(wanted);
  *list = nullptr;
  if (block == nullptr) {
    NUV_ERROR_FROM(origin, "%s", List::kNoMemory);
    return -1;
  }
  *real_count = 0;  // until the array is filled: memory may run out on the way
  condition.Add(List::Order(request.view_mode));
  if (request.page.index >= 0) condition.Add("limit ?,? ", request.page.index, wanted);
  const int result = List::Fill(block.get(), wanted, request.view_mode, condition);
  if (result != 0) {
    NUV_ERROR_FROM(origin, "%s", List::kFailed);
    return result;
  }
  *list = block.release();
  *real_count = wanted;
  NUV_INFO_FROM(origin, NUV_GREEN "Finish,real_count:[%d]" NUV_PLAIN, *real_count);
  return 0;
}

// Counts the matches; logs a failure, or a count of 0, as GetAppList() documents it.
int CountMatches(int* real_count, const AppCondition& condition, const LogOrigin& origin) {
  const int result = GetAppsTableCount(real_count, condition.text, 0, condition.binds);
  if (result != 0) {
    *real_count = 0;
    NUV_ERROR_FROM(origin, NUV_RED "get app count fail" NUV_PLAIN);
  } else if (*real_count == 0) {
    NUV_INFO_FROM(origin, "real_count is 0 ");
  }
  return result;
}

int ReadList(const ListRequest& request, bool ms, int* real_count, nuv_app_info_s** list, nuv_app_ms_s** ms_list,
             const LogOrigin& origin = Here()) {
  AppCondition condition;
  const int made = MakeListCondition(request, condition, origin);
  if (made != 0) return made;
  const int counted = CountMatches(real_count, condition, origin);
  if (counted != 0 || *real_count == 0) return counted;
  if (CutToPage(request.page, real_count, origin) != 0) return -1;
  return ms ? ReadPage<MultiScreenList>(request, condition, real_count, ms_list, origin)
            : ReadPage<FullList>(request, condition, real_count, list, origin);
}

// Reads the applications of the condition, at most `count` of them.
int ReadKeyList(const AppCondition& condition, int count, nuv_app_info_s** list, int* real_count,
                const LogOrigin& origin = Here()) {
  const int counted = GetAppsTableCount(real_count, condition.text, 1, condition.binds);
  if (counted != 0) {
    NUV_ERROR_FROM(origin, NUV_RED "failed to get AppsTable Count " NUV_PLAIN);
    return counted;
  }
  if (*real_count == 0) {
    NUV_INFO_FROM(origin, "real_count is 0 ");
    return 0;
  }
  NUV_INFO_FROM(origin, "before set,in_param count: %d,real_count:%d", count, *real_count);
  NUV_INFO_FROM(origin, "in_param count: %d", count);
  if (count >= 1 && count < *real_count) *real_count = count;
  NUV_INFO_FROM(origin, "after set,real_count: %d", *real_count);
  const int wanted = *real_count;
  AllocatedRecords<nuv_app_info_s> block = AllocateRecords<nuv_app_info_s>(wanted);
  *list = nullptr;
  if (block == nullptr) {
    NUV_ERROR_FROM(origin, NUV_RED "Failed to malloc app_list" NUV_PLAIN);
    return -1;
  }
  *real_count = 0;  // until the array is filled: memory may run out on the way
  const int result = GetAppsTableList(block.get(), wanted, condition.text, 1, condition.binds, false);
  if (result != 0) {
    NUV_ERROR_FROM(origin, NUV_RED "get app list fail " NUV_PLAIN);
    return result;
  }
  *list = block.release();
  *real_count = wanted;
  NUV_INFO_FROM(origin, NUV_GREEN "Finish:real_count:[%d]" NUV_PLAIN, *real_count);
  return 0;
}

}  // namespace

int GetAppList(nuv_app_filter_s filter, nuv_app_viewmode_e view_mode, int index, int count, bool ms, int* real_count,
               nuv_app_info_s** list, nuv_app_ms_s** ms_list) try {
  NUV_INFO(NUV_GREEN "Start" NUV_PLAIN);
  if (ReadingIsRefused(kFactoryResetMilestone)) return -1;  // takes no mutex: callers rely on that
  const bool hasList = ms ? ms_list != nullptr : list != nullptr;
  if (!RequireParameters(hasList && real_count != nullptr)) return -1;
  if (filter.type != NUV_APP_FILTER_ANY && static_cast<unsigned>(filter.type) > 255) {
    NUV_ERROR(NUV_RED "in param app_type is error" NUV_PLAIN);
    return -1;
  }
  return ReadList({filter, view_mode, {index, count}}, ms, real_count, list, ms_list);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_get_key_list(const std::string& key, int count, nuv_app_info_s** list, int* real_count) try {
  const CNUVClientAutoLock lock(g_Mute);
  NUV_INFO(NUV_GREEN "Start,count:[%d], key:[%s]" NUV_PLAIN, count, key.c_str());
  if (ReadingIsRefused()) return -1;
  if (!RequireParameters(real_count != nullptr && list != nullptr)) return -1;
  constexpr int kSet = 1;
  AppCondition condition;
  condition.Add("  where install_state = ? and is_app_available = ? and ", kInstalled, kAvailable);
  condition.text += UpToZero(key);
  condition.Add(" = ? and is_need_reset = ?  ", kSet, kNoResetNeeded);
  NUV_INFO("param:%s", condition.text.c_str());
  return ReadKeyList(condition, count, list, real_count);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int GetNUVAppList(const std::string& app_featured, const std::string& view_mode, bool with_hidden,
                  std::vector<_APPS_INNER_INFO_T>& list) try {
  const CNUVClientAutoLock lock(g_Mute);
  NUV_INFO(NUV_GREEN "Start, app_featured:[%s], view_mode:[%s]" NUV_PLAIN, app_featured.c_str(), view_mode.c_str());
  const int featured = static_cast<int>(strtol(app_featured.c_str(), nullptr, 10));
  const int mode = static_cast<int>(strtol(view_mode.c_str(), nullptr, 10));
  if (ReadingIsRefused()) return -1;
  AppCondition condition;
  condition.Add(" where install_state = ? and is_app_available = ? and is_need_reset = ? ", kInstalled, kAvailable,
                kNoResetNeeded);
  if (!with_hidden) condition.Add(" and is_hidden = ? ", kVisible);
  if (AddFeatured(condition, FeaturedCategories(featured)) != 0) return -1;
  condition.Add(OrderOf(mode));
  const int result = m_GetAppsTableInnerList(list, condition.text, condition.binds);
  NUV_INFO(NUV_GREEN "Finish ret[%d]" NUV_PLAIN, result);
  return result;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}
