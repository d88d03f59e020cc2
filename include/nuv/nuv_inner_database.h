/*
 * The application database as the service's own processes use it: lookups in full detail, and changes. C++17.
 *
 * This side has one connection of its own to the service's SQLite database, beside the read-only one of
 * nuv/nuv_app_database.h. It is open for reading only, or for reading and writing, and is switched between the two: a
 * change is first sent to the service over the bus, with the connection read-only, and only where that call fails does
 * the library make the change itself, with the connection read-write.
 *
 * What holds for every function of this header
 *
 *   Threads    Any thread may call. The functions of one process take turns at the connection, one query at a time; a
 *              function that is marked "serialised" also waits for the whole of a forwarded change of another thread,
 *              its calls of the service included. None waits for a launch.
 *   Blocking   A database that another process is using is tried 50 times, every second, for the statement (49 s) and
 *              again for its first row or its change (49 s): at most 98 s for a query or a change, 196 s for the
 *              list, which counts first. A function that asks the service takes at most 20 s for that: a probe of the
 *              service and the call, of at most 10 s each. The first one of a process sends no probe: it connects,
 *              which takes as long as the bus takes to accept it, without a limit, and waits at most 11 s. A healthy
 *              lookup takes well under a millisecond.
 *   Ownership  Arguments are copied; what is handed out belongs to the caller.
 *   Errors     0 done or found; -1 not found, refused, or a database that cannot be opened or read; -2 the database
 *              stayed busy. While the set's packages are being repaired the functions return -1 and leave the database
 *              alone, except where said otherwise. Each failure is in the platform log, with SQLite's own message. The
 *              next call tries again, also where the database could not be opened.
 *   Paths      The path of the database is cut at 127 characters; the log says so.
 *   Fork       A child of fork() opens a connection of its own. It cannot reach the service where its parent had
 *              connected to the bus: forwarded changes are then made locally. fork() waits, at most a second, for
 *              other threads that use SQLite; a child for which that is not enough has to exec before it uses the
 *              database, and each function fails in it with -1.
 *   Memory     A function that runs out of memory returns -1.
 *
 * None of these functions takes a callback, all of them may be called from one, and none leaves a statement open.
 */
#ifndef NUV_INNER_DATABASE_H
#define NUV_INNER_DATABASE_H

#include <nuv/nuv_export.h>

#include <string>

/** One application. Members are named after their columns; the values here are those of a fresh record. */
struct _APPSINFO_T {
  bool is_lock = false;
  bool is_support_voice = false;
  bool is_support_gesture = false;
  bool is_hidden = false;
  bool is_network = false;
  bool is_removable = true;
  bool is_display = true;
  bool is_premium_game = false;
  bool is_need_login = false;
  bool is_app_available = true;
  bool is_need_update = false;
  bool is_updated = false;
  bool is_ticker = false;
  bool is_need_reset = false;
  bool is_multi_screen2 = false;
  bool is_multi_tasking = true;
  bool is_system = false;
  bool is_ispbound = false;
  bool is_hybrid_tv = false;
  bool is_auto_update = false;
  bool is_age_auth = false;
  bool is_usb_app = false;
  bool reserved_tinyint_1 = false;
  int reserved_tinyint_2 = 0;
  bool reserved_tinyint_3 = false;
  bool reserved_tinyint_4 = false;
  bool reserved_tinyint_7 = false;
  bool reserved_tinyint_8 = false;
  bool reserved_tinyint_10 = false;
  int reserved_tinyint_5 = 0;
  int install_source_type = 1;
  int app_index = -1;
  int size = 0;
  int app_featured = 1;
  int app_type = 2;
  int use_count = 0;
  int install_state = 3;
  int limit_age = 0;
  int reserved_int_1 = 0;
  int reserved_tinyint_11 = 1;
  std::string id;
  std::string title;
  std::string install_path;
  std::string icon_path;
  std::string version;
  std::string install_date;
  std::string kelvo_id;
  std::string pkgname;
  std::string install_type;
  std::string widget_category;
  std::string run_title;
  std::string pkg_type;
  std::string pannel_icon_path; /**< column icon_path */
  std::string launch_date;
  std::string resources_path;
  std::string icon_updated_date;
  std::string firstscreen_icon_path; /**< column icon_path */
  std::string hbbTV;
  std::string ait_appid;
  std::string ait_orgid;
  std::string chanel_name;
  std::string duid;
  std::string hybrid_app;
  std::string reserved_string_2;
  std::string reserved_string_3; /**< column icon_path */
  std::string reserved_string_1;
  std::string reserved_string_6;
  std::string reserved_string_8;
  std::string reserved_string_10;
  std::string reserved_string_11;
  std::string reserved_string_16;
  std::string reserved_string_4;
  bool reserved_tinyint_14 = false;
};

/** A field that can be changed. */
typedef enum APPSINFO_UPDATE_KEY_e {
  APPSINFO_UPDATE_IS_UPDATED = 0,               /**< nuv_inner_update_app_by_key(): is_updated becomes 0 */
  APPSINFO_UPDATE_AIT_IDS = 1,                  /**< ait_appid and ait_orgid, separated by the first comma; without a
                                                     comma both become the whole value */
  APPSINFO_UPDATE_CP_NAME = 2,                  /**< cp_name */
  APPSINFO_UPDATE_VERSION = 3,                  /**< version */
  APPSINFO_UPDATE_IS_ISPBOUND = 4,              /**< is_ispbound */
  APPSINFO_UPDATE_IS_HYBRID_TV = 5,             /**< is_hybrid_tv */
  APPSINFO_UPDATE_IS_LOCK = 6,                  /**< is_lock */
  APPSINFO_UPDATE_RUN_TITLE = 7,                /**< run_title */
  APPSINFO_UPDATE_RANGE_MIN_ = -0x7fffffff - 1, /**< not a field: every 32-bit value is representable */
  APPSINFO_UPDATE_RANGE_MAX_ = 0x7fffffff       /**< not a field: every 32-bit value is representable */
} APPSINFO_UPDATE_KEY_e;

/**
 * Opens the connection read-write, unless one is open: 0, or -1. Does not ask whether packages are being repaired.
 * Serialised. Waits for no other process.
 */
NUV_API int nuv_inner_db_init();

/**
 * Switches the connection to read-write where its last opening was read-only; otherwise does nothing. Whether opening
 * succeeded shows in the next query. Waits for no other process. Does not ask whether packages are being repaired.
 */
NUV_API void nuv_db_rw_exchange();

/**
 * Switches the connection to read-only where its last opening was read-write; otherwise does nothing. Before the first
 * opening it opens the connection read-only. Otherwise like nuv_db_rw_exchange().
 */
NUV_API void nuv_db_ro_exchange();

/**
 * Finds an application by its id, kelvo id or run title. Where several match, the last one in the order of the database
 * is taken. Serialised.
 *
 * @param app_id         empty is refused
 * @param info           receives the application; unchanged when none is found
 * @param installed_only only an installed, available application that is not awaiting a reset
 */
NUV_API int nuv_inner_get_app_info_by_id(const std::string& app_id, _APPSINFO_T& info, bool installed_only);

/** Finds an application by its kelvo id, like nuv_inner_get_app_info_by_id(). Serialised. */
NUV_API int nuv_inner_get_app_info_by_kelvoid(const std::string& kelvo_id, _APPSINFO_T& info, bool installed_only);

/**
 * Finds an application by its run title, like nuv_inner_get_app_info_by_id(); installed_only leaves hidden ones out.
 * Not serialised.
 */
NUV_API int nuv_inner_get_app_info_by_runtitle(const std::string& run_title, _APPSINFO_T& info, bool installed_only);

/** Finds the id of the application with the given title, in whatever state; the last match counts. Serialised. */
NUV_API int nuv_inner_get_appid_by_title(const std::string& title, std::string& app_id);

/** Finds the id of the application with the given kelvo id or hybrid application; the last match counts. Serialised. */
NUV_API int nuv_inner_get_appid_by_kelvoid_or_nativeid(const std::string& id, std::string& app_id);

/** Whether an application is among the three with the most launches: 1 yes, 0 no, negative on failure. Serialised. */
NUV_API int nuv_inner_check_most_used_app(const std::string& app_id);

/** Whether an application is among the three launched last: 1 yes, 0 no, negative on failure. Serialised. */
NUV_API int nuv_inner_check_recently_used_app(const std::string& app_id);

/**
 * Lists all installed, available applications that are not awaiting a reset, by app_index. Serialised.
 *
 * @param list  receives an array, which the caller gives back with delete[]. Untouched when there is no application,
 *              and by a failure that came before they were counted; null after a later failure, memory included.
 * @param count receives the number of applications
 * @return 0, also when there is none; negative on failure
 */
NUV_API int nuv_inner_get_all_app_list(_APPSINFO_T** list, int* count);

/**
 * Writes the change of a field that takes no value into the database, without asking the service and whether or not
 * packages are being repaired. Not serialised. The connection has to be read-write: one that is read-only, or that this
 * call has to open, makes it fail with -1.
 *
 * @param key APPSINFO_UPDATE_IS_UPDATED; any other is refused
 * @return 0 done, also when no application has the id
 */
NUV_API int nuv_db_update_app_by_key(const std::string& app_id, APPSINFO_UPDATE_KEY_e key);

/**
 * Writes a field into the database, without asking the service. Serialised. The connection has to be read-write, as for
 * nuv_db_update_app_by_key().
 *
 * @param key APPSINFO_UPDATE_AIT_IDS to APPSINFO_UPDATE_RUN_TITLE; any other is refused
 * @return 0 done, also when no application has the id
 */
NUV_API int nuv_db_update_app_by_key_value(const std::string& app_id, APPSINFO_UPDATE_KEY_e key,
                                           const std::string& value);

/**
 * Writes one more launch, and the local time as its date, into the database, without asking the service and whether or
 * not packages are being repaired. Not serialised. The connection has to be read-write, as for
 * nuv_db_update_app_by_key().
 *
 * @return 0 done, also when no application has the id
 */
NUV_API int nuv_db_update_app_count(const std::string& app_id);

/**
 * Asks the service for the change, and makes it locally where the service answers -1 or cannot be asked. Serialised. A
 * change that the service made although its answer came too late is made twice. At most 118 s: 20 s for the service and
 * 98 s for the change.
 *
 * @param app_id empty is refused
 * @return the service's answer, or the result of nuv_db_update_app_by_key()
 */
NUV_API int nuv_inner_update_app_by_key(const std::string& app_id, APPSINFO_UPDATE_KEY_e key);

/** Counts a launch, like nuv_inner_update_app_by_key(). Serialised. */
NUV_API int nuv_inner_update_app_count(const std::string& app_id);

/**
 * Opens the connection anew, read-write, and does what nuv_db_update_app_by_key_value() does. Serialised, except for
 * the opening; where another thread has switched the connection back meanwhile, it is switched again for the change. An
 * empty app_id is refused.
 */
NUV_API int nuv_inner_update_app_by_key_value(const std::string& app_id, APPSINFO_UPDATE_KEY_e key,
                                              const std::string& value);

/** Asks the service to change the version: its answer, or -1. Never written locally. Not serialised. At most 20 s. */
NUV_API int nuv_inner_update_app_version(const std::string& app_id, const std::string& version);

/**
 * Sends the service a command, whose number and texts are its own: 0 whenever the bus can be reached, even where the
 * service cannot, or refuses; else -1. Not serialised. At most 20 s.
 */
NUV_API int nuv_inner_nuv_command(int command, const std::string& app_id, const std::string& pkg_path,
                                  const std::string& data);

/** Withdrawn: returns -1 at once. */
NUV_API int nuv_inner_check_app_installing(const std::string& app_id);

/**
 * What nuv_inner_update_app_count() asks the service: its answer, or -1 (it cannot be reached, refused, did not
 * answer in time or with another type). Leaves the database alone, and does not ask whether packages are being
 * repaired. Not serialised. At most 20 s.
 */
NUV_API int nuv_dbus_update_app_count(const std::string& app_id);

/** What nuv_inner_update_app_version() asks the service, like nuv_dbus_update_app_count(). */
NUV_API int nuv_dbus_update_app_version(const std::string& app_id, const std::string& version);

/** What nuv_inner_update_app_by_key() asks the service, like nuv_dbus_update_app_count(). */
NUV_API int nuv_dbus_update_app_by_key(const std::string& app_id, APPSINFO_UPDATE_KEY_e key);

/** What nuv_inner_nuv_command() sends, with its result. Does not ask whether packages are being repaired. */
NUV_API int nuv_dbus_nuv_command(int command, const std::string& app_id, const std::string& pkg_path,
                                 const std::string& data);

#endif  // NUV_INNER_DATABASE_H
