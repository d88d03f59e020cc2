/*
 * Looking applications up in the catalogue of the Nuv service. Valid C11 and C++17. C++ only:
 * m_nuv_get_app_info, GetAppInfoByRuntitle, GetAppList, nuv_get_key_list.
 *
 * The catalogue is the service's SQLite database, which the library reads directly and never changes. A lookup sees
 * applications that are installed, available and not awaiting a reset; everything else counts as unknown.
 *
 * What holds for every function of this header
 *
 *   Threads    Any thread may call. The functions of one process take turns at the database, one query at a time. A
 *              function that is marked "serialised with launches" also waits for a launch that another thread has in
 *              flight, which may take 25 s and longer (see nuv/nuv_launcher_api.h); the others never do.
 *   Blocking   The first query of a process opens the database, which stays open. A database that the service is
 *              writing to is tried 50 times, every 10 ms, for the statement and again for its first row: at most 0.98 s
 *              for a lookup or a check, 1.96 s for a list, which counts first. A healthy lookup takes well under a
 *              millisecond. The service is never asked.
 *   Ownership  Arguments are copied; what is handed out belongs to the caller. Arrays are one block from malloc(),
 *              which the caller gives back with free().
 *   Errors     0 found or done; -1 not found, a bad argument, or a database that cannot be read; -2 the database stayed
 *              busy. While the set is being reset or its packages are being repaired every function returns -1 and
 *              leaves the database alone. Each failure is in the platform log, with SQLite's own message. The next call
 *              tries again, also where the database could not be opened.
 *   Fork       A child of fork() opens a connection of its own with its first query. fork() waits, at most a second,
 *              for other threads that use SQLite; a child for which that is not enough has to exec before it uses the
 *              database, and each function fails in it with -1.
 *   Memory     A function that runs out of memory returns -1.
 *
 * None of these functions takes a callback, all of them may be called from one, and none leaves a statement open, so
 * none keeps the service from writing.
 */
#ifndef NUV_APP_DATABASE_H
#define NUV_APP_DATABASE_H

#include <nuv/nuv_app_types.h>
#include <nuv/nuv_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Finds an application by the name under which it is started. Serialised with launches.
 *
 * @param runtitle run title, compared byte for byte; null or empty is refused
 * @param info     receives the first match. Clear it beforehand: see nuv_app_types.h. Unchanged when nothing is found.
 */
NUV_API int nuv_get_app_info_by_runtitle(const char* runtitle, nuv_app_info_s* info);

/**
 * Tells whether at least one of the given applications is locked: 0 yes, -1 no. Serialised with launches.
 *
 * @param app_id SQL list of quoted ids, such as "'org.kelvo.browser'" or "'first','second'". It becomes part of the
 *               statement as it is: put each id into single quotes and write a single quote inside an id twice. Never
 *               pass text from outside that has not been quoted so. An id without quotes makes the call fail with -1.
 */
NUV_API int nuv_check_app_is_locked(const char* app_id);

/**
 * Tells whether at least one of the given applications has its column reserved_tinyint_1 at 0, which is how the service
 * marks one that needs uninstalling: 0 yes, -1 no. Serialised with launches.
 *
 * @param app_id as for nuv_check_app_is_locked(), quoted in the same way
 */
NUV_API int nuv_check_app_is_need_uninstall(const char* app_id);

/**
 * Lists the applications that are bound to the internet provider. Serialised with launches.
 *
 * @param list  receives the array, in the order of the database. Untouched when there is none, null after a failure
 *              that came once the array was made.
 * @param count receives the number of applications
 * @return 0, also when there is none; negative on failure
 */
NUV_API int nuv_get_isp_bound_widget_list(nuv_app_info_s** list, int* count);

/** Lists the hybrid-TV applications, like nuv_get_isp_bound_widget_list(). Serialised with launches. */
NUV_API int nuv_get_hybrid_widget_list(nuv_app_info_s** list, int* count);

#ifdef __cplusplus
}  // extern "C"

#include <string>

/**
 * Finds an application by its id, its kelvo id or its package name. Not serialised with launches.
 *
 * @param app_id null or empty is refused
 * @param info   receives the first match, as for nuv_get_app_info_by_runtitle()
 */
NUV_API int m_nuv_get_app_info(const char* app_id, nuv_app_info_s* info);

/** Like nuv_get_app_info_by_runtitle(), but not serialised with launches. */
NUV_API int GetAppInfoByRuntitle(nuv_app_info_s* info, const char* runtitle);

/**
 * Lists installed, visible applications: filtered, ordered and by pages. Not serialised with launches.
 *
 * @param filter     which applications
 * @param view_mode  their order
 * @param index      first application wanted, from 0; negative: from the first on, and the page is cut only after the
 *                   query, so that "count" still holds
 * @param count      most applications wanted; below 1: all
 * @param ms         true: multi-screen records into *ms_list; false: full records into *list
 * @param real_count receives the number of records; 0 after most failures
 * @param list       receives the array; may be null where ms is true
 * @param ms_list    receives the array; may be null where ms is false
 * @return 0, also when nothing matches: the array is then untouched. Negative on failure: an index beyond the last
 *         match, a filter that is refused, no memory, or the database; an array that was made has then been given back
 *         and the pointer is null.
 *
 * The number of matches and the page are two queries: an application that comes or goes in between leaves the last
 * records zero, or is dropped.
 */
NUV_API int GetAppList(nuv_app_filter_s filter, nuv_app_viewmode_e view_mode, int index, int count, bool ms,
                       int* real_count, nuv_app_info_s** list, nuv_app_ms_s** ms_list);

/**
 * Lists the applications whose column `key` is 1, hidden ones included, in the order of the database. Serialised with
 * launches.
 *
 * @param key        name of an integer column. It becomes part of the statement as it is: never text from outside.
 * @param count      most applications wanted; below 1: all
 * @param list       receives the array, as for nuv_get_isp_bound_widget_list()
 * @param real_count receives the number of applications
 */
NUV_API int nuv_get_key_list(const std::string& key, int count, nuv_app_info_s** list, int* real_count);

#endif  // __cplusplus

#endif /* NUV_APP_DATABASE_H */
