/*
 * Calls of the Nuv service other than a launch. C++17.
 *
 * What holds for every function of this header
 *
 *   Threads    Any thread may call; no lock is held while the service is asked. None waits for a launch unless it says
 *              so.
 *   Blocking   At most 20 s: a probe of the service and the call, of at most 10 s each. The first call of a process
 *              sends no probe: it connects, which takes as long as the bus takes to accept it, without a limit, and
 *              waits at most 11 s for its listener. One that finds the bus lost connects anew and waits at most 1 s.
 *   Ownership  Everything is copied. Text arguments must not be null unless said otherwise.
 *   Errors     0 done, -1 not done: the bus or the service cannot be reached, the service refused or did not answer
 *              in time, its answer has another type than agreed, or a text is not valid UTF-8. Output arguments are
 *              then left as they were. Each failure is in the platform log.
 *   Memory     A function that runs out of memory returns -1.
 *   Fork       In a child of fork() without exec each function that asks the service returns -1 at once, where the
 *              parent had connected to the bus.
 *
 * None of these functions takes a callback; all of them may be called from one.
 */
#ifndef NUV_SERVICE_API_H
#define NUV_SERVICE_API_H

#include <nuv/nuv_export.h>
#include <nuv/nuv_launch_codes.h>

#include <string>

/**
 * Asks the service to terminate an application. The catalogue is read first, which takes at most 1 s (see
 * nuv/nuv_app_database.h).
 *
 * @param app_id    id, kelvo id or package name; the service is given the id that the catalogue has. Null or unknown is
 *                  a failure.
 * @param option    the service's terminate option
 * @param caller_id who asks
 * @param reason    why
 */
NUV_API int nuv_terminate_app_client(const char* app_id, int option, const std::string& caller_id,
                                     const std::string& reason);

/**
 * Asks the service to terminate the application with the given run title, which the catalogue must know. While the
 * catalogue is read, at most 1 s, the call is serialised with launches.
 *
 * @param runtitle run title, compared byte for byte and sent as it is; null or unknown is a failure
 */
NUV_API int nuv_terminate_app_by_runtitle_client(const char* runtitle);

/** Asks the service to show the system error popup of the given kind. */
NUV_API int nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE type);

/**
 * Reports an application-execution event (KPI).
 *
 * @param log_type     the service's log type
 * @param app_id       application the event is about
 * @param caller_id    who started it; null is sent as an empty text
 * @param preload_type the service's preload type
 * @param pt           the service's event text
 *
 * Another text that is null is a failure.
 */
NUV_API int nuv_send_appexec_kpi_client(int log_type, const char* app_id, const char* caller_id, int preload_type,
                                        const char* pt);

/**
 * Asks for the running state of an Android application.
 *
 * @param app_id application; null is a failure
 * @param status receives the service's own status value
 */
NUV_API int nuv_get_android_app_status_client(const char* app_id, int& status);

/** Terminates all running applications on behalf of caller_id, for the given reason. */
NUV_API int nuv_terminate_allApps_internal(const std::string& caller_id, const std::string& reason);

/** Asks for the id of the extra application, which replaces the text in app_id (empty when there is none). */
NUV_API int nuv_get_extra_app(std::string& app_id);

/** Announces that the extra application is now app_id. */
NUV_API int nuv_notify_extra_app_changed(std::string app_id);

/**
 * Records the last launch failure in the settings store, under "rtc/litenuv/webapp/launch_fail".
 *
 * The library itself records the application id (or "NULL"), ":" and a reason number: 100 unknown application, 101 no
 * application id, 102 no link to the bus, 103 the launch call failed. Does not ask the service: it takes as long
 * as the settings store takes.
 *
 * @return 0, or -1 when the settings store refuses
 */
NUV_API int nuv_set_launch_fail(std::string text);

#endif  // NUV_SERVICE_API_H
