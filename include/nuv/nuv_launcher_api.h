/*
 * Launching applications through the Nuv service. Valid C11 and C++17.
 *
 * What holds for every function of this header
 *
 *   Threads    Any thread may call. The functions that are marked "serialised" take turns within the process: a call
 *              waits for the launch that another thread has in flight, its failure callback included. The others never
 *              wait for a launch.
 *   Blocking   A function that asks the service makes two synchronous calls on the system bus: a probe, of at most
 *              10 s, and the request, of at most 15 s for a launch and 10 s for everything else, the system error popup
 *              included. The first one of a process sends no probe: it connects, which takes as long as the bus takes
 *              to accept it, without a limit, and waits 10 s where the path of the results cannot be set up. One that
 *              finds the bus lost connects anew. On a healthy bus a launch takes well under a millisecond.
 *   Ownership  Texts are copied; the caller keeps what it passes. Texts given to a callback are valid only during it.
 *   Texts      UTF-8. A text that is not valid UTF-8 cannot travel on the bus and makes the request fail. So does a
 *              request of more than 32 MiB, for which the bus would close the connection.
 *   Errors     The result says only whether the request was accepted: 0 accepted, -1 not. The outcome of an accepted
 *              launch comes later, through the callback, or never: where the service or the bus ends before it was
 *              sent, and where the service sends none. The library sets no limit; a caller that waits sets one. Each
 *              failure is in the platform log.
 *   Memory     A serialised launch that runs out of memory lets std::bad_alloc pass; it can be called again at once,
 *              but the CPU priority of the calling thread stays lent to the service. Any other function returns -1.
 *              GLib, in whose memory requests travel, ends the process where it gets none.
 *   Fork       In a child of fork() that has not exec'ed each function that asks the service returns -1 at once, where
 *              the parent had connected to the bus. The parent goes on undisturbed.
 *   Exit       Once exit() destroys what the host made before its first call of the library, no callback is entered.
 *              exit() gives those that run a quarter of a second to return, and goes on.
 *   Bus        The library uses the process's shared connection to the system bus, like g_bus_get_sync(), and switches
 *              its exit-on-close off: a lost bus ends no host. A host that wants to end with its bus connects to the
 *              "closed" signal of that connection, or sets exit-on-close again after its first call. No other
 *              connection is touched, but for a private one of the library's own.
 *   Resources  Where no descriptor or thread is free for the bus, a request fails; it works again once there are some.
 *              Descriptors that the host did not open are not its to close.
 *   Cancelling A thread that is cancelled inside the library ends when the library has returned what it holds, not in
 *              the middle of a call of the bus.
 *   Restart    When the bus is back after it was lost, the next call connects anew. A launch that was accepted before
 *              hears nothing more.
 *
 * Callbacks
 *
 *   The outcome is delivered on a listener thread that the library owns, one callback at a time and without a lock that
 *   a launch waits for. One launch may get several callbacks, the first one even before the function has returned. A
 *   callback that blocks holds up all later results of the process, and no launch. All signals are blocked on the
 *   listener thread.
 *   A request that fails calls the callback at once, on the calling thread, before the function returns -1 (see
 *   nuv_launch_app). Other serialised calls wait for that callback.
 *   Callback and user data of an accepted launch have to stay valid as long as the process lives: a launch may hear
 *   something more at any time, and nothing says which result is the last one. After -1 they are not used again.
 *   Either kind of callback may call every function of the library. It has to return: a listener thread that is ended
 *   in one is made again by the next launch, and what was on its way is lost.
 *   An exception that leaves a callback is caught and logged.
 *   Where the link to the bus cannot be made, where memory runs out, and where a function says so, a request fails
 *   without a callback. A caller that gets -1 therefore looks at the result and waits for no callback.
 */
#ifndef NUV_LAUNCHER_API_H
#define NUV_LAUNCHER_API_H

#include <nuv/nuv_export.h>
#include <nuv/nuv_launch_codes.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Hears about a launch of the web-application functions.
 *
 * @param app_id    application the event is about; NULL when the launch was asked for without one
 * @param event     what happened (nuv_notify_event_e, or a number that has no name)
 * @param reserved  always 0
 * @param result    the service's status number (nuv_launch_status_e, or a number that has no name)
 * @param user_data as given to the launch function
 */
typedef void (*nuv_launch_notify_cb)(const char* app_id, nuv_notify_event_e event, int reserved, int result,
                                     void* user_data);

/**
 * Hears the outcome of a launch of the nuv_launch_app functions.
 *
 * @param user_data as given to the launch function
 * @param reserved  always 0
 * @param app_id    application the outcome is about; NULL when the launch was asked for without one
 * @param result    nuv_launch_result_e
 *
 * When a request fails on the bus, the immediate call reaches this callback with the arguments of a
 * nuv_launch_notify_cb (application id, 903, 0, 404 or 412, user data) in their places; a callback that is given
 * to these functions and reads its arguments has to be ready for both orders. NULL as callback avoids that: the
 * function's result tells the same.
 */
typedef void (*nuv_launch_result_cb)(void* user_data, int reserved, const char* app_id, int result);

/**
 * Launches an application. Serialised.
 *
 * @param app_id    id of the application. NULL: the system error popup of kind 4 is raised, the callback is called
 *                  with (user_data, 0, NULL, 610) and the result is -1.
 * @param payload   launch payload for the application, "&"-separated parameters, or NULL for none. A parameter
 *                  "&callerid=" in it names the caller where no caller id is given.
 * @param callback  hears the outcome, or NULL
 * @param user_data passed to the callback
 * @return 0 when the service accepted the request; -1 otherwise. After a call that ran out of time the callback has
 *         been called with status 412, after any other failed call with 404 (see nuv_launch_result_cb).
 */
NUV_API int nuv_launch_app(const char* app_id, const char* payload, nuv_launch_result_cb callback, void* user_data);

/**
 * Like nuv_launch_app(), naming the caller. Serialised.
 *
 * @param caller_id id of the caller. It takes the place of the value of a "&callerid=" parameter in the payload; an
 *                  empty text counts as given; NULL leaves it to the payload.
 */
NUV_API int nuv_launch_app_with_param(const char* app_id, const char* payload, const char* caller_id,
                                      nuv_launch_result_cb callback, void* user_data);

/** Like nuv_launch_app(), forcing the launch where the service would otherwise decline. Serialised. */
NUV_API int nuv_force_launch_app(const char* app_id, const char* payload, nuv_launch_result_cb callback,
                                 void* user_data);

/** Like nuv_launch_app_with_param(), forcing the launch. Serialised. */
NUV_API int nuv_force_launch_app_with_param(const char* app_id, const char* payload, const char* caller_id,
                                            nuv_launch_result_cb callback, void* user_data);

/**
 * Launches an application and hears the service's events as they are. Serialised.
 *
 * Arguments and result as for nuv_launch_app_with_param(). With a NULL app_id the callback is called with
 * (NULL, 903, 0, 404, user_data); after a failed call with (app_id, 903, 0, 412 or 404, user_data).
 */
NUV_API int nuv_launch_webapp(const char* app_id, const char* payload, const char* caller_id,
                              nuv_launch_notify_cb callback, void* user_data);

/** Like nuv_launch_webapp(), forcing the launch. Serialised. */
NUV_API int nuv_force_launch_webapp(const char* app_id, const char* payload, const char* caller_id,
                                    nuv_launch_notify_cb callback, void* user_data);

/** Like nuv_launch_webapp(), leaving the current application in front. Serialised. */
NUV_API int nuv_background_launch_webapp(const char* app_id, const char* payload, const char* caller_id,
                                         nuv_launch_notify_cb callback, void* user_data);

/** Like nuv_launch_webapp(), as a deep link: the payload says where in the application. Always forces. Serialised. */
NUV_API int nuv_launch_webapp_for_deeplink(const char* app_id, const char* payload, const char* caller_id,
                                           nuv_launch_notify_cb callback, void* user_data);

/** Like nuv_launch_webapp_for_deeplink(), leaving the current application in front. Serialised. */
NUV_API int nuv_background_launch_webapp_for_deeplink(const char* app_id, const char* payload, const char* caller_id,
                                                      nuv_launch_notify_cb callback, void* user_data);

/**
 * Looks an application up by the name under which it is started, and launches it like nuv_launch_app(). Serialised.
 *
 * Before the launch the catalogue is read, which takes at most 1 s (nuv/nuv_app_database.h says when).
 *
 * @param runtitle run title, compared byte for byte. Unknown, empty or null: the system error popup of kind 0 is
 *                 raised, the callback is not called and the result is -1. The same when the catalogue cannot be read.
 */
NUV_API int nuv_launch_app_by_runtitle(const char* runtitle, const char* payload, nuv_launch_result_cb callback,
                                       void* user_data);

/** Like nuv_launch_app_by_runtitle(), naming the caller as nuv_launch_app_with_param() does. Serialised. */
NUV_API int nuv_launch_app_by_runtitle_with_param(const char* runtitle, const char* payload, const char* caller_id,
                                                  nuv_launch_result_cb callback, void* user_data);

/**
 * Looks an application up by the name under which it is started, and launches it like nuv_launch_webapp(). Serialised;
 * takes as long as nuv_launch_app_by_runtitle().
 *
 * @param runtitle as for nuv_launch_app_by_runtitle(); an unknown one is also recorded as the last launch failure, with
 *                 reason 100. Must not be null: after the popup std::logic_error leaves the function.
 */
NUV_API int nuv_launch_webapp_by_runtitle(const char* runtitle, const char* payload, const char* caller_id,
                                          nuv_launch_notify_cb callback, void* user_data);

/* The platform's app-control request, its app_control_h. */
struct app_control_s;

/**
 * Launches from an app-control request of the platform. Not serialised. Fails like nuv_launch_webapp().
 *
 * The request's application id, operation, URI and extra data become the launch; of the extra data "PayLoad",
 * "CallerId", "Operation" (ForceLaunch, DeepLink, PreLoad, BackGround, BackgroundAndDeeplink), "Entry",
 * "RelocateBelowApp", "SkipPIN" ("true") and "__K_EX_LAUNCH_REQUESTOR" also set the launch's options. All extra data
 * travel to the application, in their order. The operation is added to the request itself as "AC_Operation".
 *
 * @param request   the request, which stays the caller's. NULL, or without an application id: the system error popup of
 *                  kind 4 is raised, the callback is called with (NULL, 903, 0, 404, user_data) and the result is -1.
 * @param callback  hears the outcome, or NULL
 * @return 0 when the service accepted the request; -1 otherwise
 */
NUV_API int nuv_launch_app_ex(struct app_control_s* request, nuv_launch_notify_cb callback, void* user_data);

/**
 * Starts an application without showing it. Not serialised. Fails like nuv_launch_webapp(), under the id that the
 * catalogue has. Before the launch the catalogue is read, which takes at most 1 s.
 *
 * @param app_id    id, kelvo id or package name. NULL: -1, and no callback. Unknown, or the catalogue cannot be read:
 *                  the callback is called at once with (app_id, 903, 0, 400, user_data), and -1.
 * @param payload   launch payload, sent as it is; NULL counts as empty
 * @param caller_id ignored
 */
NUV_API int nuv_launch_webapp_for_preload(const char* app_id, const char* payload, const char* caller_id,
                                          nuv_launch_notify_cb callback, void* user_data);

/**
 * Asks the service to terminate an application: 0 done, -1 not (unknown, the catalogue cannot be read, the service
 * cannot be reached, refused or did not answer in time). Not serialised. The catalogue is read first, which takes at
 * most 1 s.
 *
 * @param app_id id, kelvo id or package name; NULL is a failure
 */
NUV_API int nuv_terminate_app(const char* app_id);

/** Like nuv_terminate_app(), asking for the service's variant for preloaded applications. */
NUV_API int nuv_terminate_app_with_preload(const char* app_id);

/** Like nuv_terminate_app(), for the application with the given run title. Serialised while the catalogue is read. */
NUV_API int nuv_terminate_app_by_runtitle(const char* runtitle);

/**
 * Tells whether an application runs. Not serialised.
 *
 * The database is read first, which takes at most 98 s (nuv/nuv_inner_database.h says when); then the platform is
 * asked, or for an Android application the service.
 *
 * @param app_id id, kelvo id or run title of an installed application. Must not be NULL: std::logic_error leaves the
 *               function.
 * @param status receives 1 when it runs and 0 when not; for an Android application the service's own value
 * @return 0, or -1: unknown, the database cannot be read, status is NULL, or the service cannot tell. *status is then
 *         as before.
 */
NUV_API int nuv_get_app_status(const char* app_id, int* status);

/**
 * Tells which application shows: the HbbTV application that runs, else the first visible application that the database
 * knows. Not serialised. Asks the platform, and for each visible application the database, which takes at most 98 s
 * (nuv/nuv_inner_database.h says when).
 *
 * @param app_id receives its id, at most 127 bytes, which the caller gives back with free(); an empty text when none
 *               shows
 * @return 0, or -1: app_id is NULL, or there is no memory (*app_id is then NULL). An application that the database
 *         cannot tell does not show. Where a visible application has no platform id, std::logic_error leaves the
 *         function; *app_id is then an empty text, to be given back as ever.
 */
NUV_API int nuv_get_current_showing_app(char** app_id);

/**
 * Reports an application-execution event (KPI). Not serialised. The catalogue is read first, which takes at most 1 s.
 *
 * @param log_type     the service's log type
 * @param app_id       id, kelvo id or package name of the application that the event is about; the service is given the
 *                     id that the catalogue has, or an empty one where the database stayed busy
 * @param caller_id    who started it; NULL is sent as an empty text
 * @param preload_type the service's preload type
 * @param pt           the service's event text; NULL is a failure
 * @return 0 done; -1 not: unknown or NULL, or the service cannot be reached, refused or did not answer in time
 */
NUV_API int nuv_send_appexec_kpi(int log_type, const char* app_id, const char* caller_id, int preload_type,
                                 const char* pt);

#ifdef __cplusplus
}
#endif

#endif /* NUV_LAUNCHER_API_H */
