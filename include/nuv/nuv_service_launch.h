/*
 * Launching and terminating on behalf of others, the PIN dialog, and which application shows: what the service's own
 * components use beside nuv/nuv_launcher_api.h. C++17.
 *
 * Threads, blocking, ownership, callbacks, memory, fork, exit and restart are as in nuv/nuv_launcher_api.h, but for
 * nuv_get_showing_appid(), which has no result for it and lets std::bad_alloc pass. No function here is serialised with
 * launches, so a callback of a request that failed runs without a lock.
 *
 * Exported as well, but declared with the platform's own header, because its record is the platform's:
 *   int nuv_get_running_appIter_func(const aul_app_info* info, void* buffer);
 * It takes the id of the first visible application that the database knows into a buffer of 255 bytes, which is to
 * begin with a zero byte, as an iterator of aul_app_get_running_app_info(): -1 ends the walk (the id is there, or the
 * buffer is null), 0 goes on. It asks the database about each visible application, which takes at most 98 s
 * (nuv/nuv_inner_database.h says when). A visible one without a platform id makes it throw std::logic_error.
 */
#ifndef NUV_SERVICE_LAUNCH_H
#define NUV_SERVICE_LAUNCH_H

#include <nuv/nuv_export.h>
#include <nuv/nuv_launcher_api.h>

#include <cstdint>
#include <list>
#include <string>
#include <utility>

/** Options of a service-side launch. bOption1 to bOption4 are the service's. */
struct Launch_Opinion {
  uint8_t bPreLoad = 0; /**< start without showing */
  uint8_t bOption1 = 0; /**< handed to the service as it is */
  uint8_t bOption2 = 1; /**< handed to the service as it is */
  uint8_t bOption3 = 1; /**< handed to the service as it is */
  uint8_t bOption4 = 0; /**< handed to the service as it is */
  std::string callerId; /**< sent as it is */
};

/** A whole launch. Fields that say "not sent" do not reach the service. */
struct _NUV_LAUNCHER_DATA {
  std::string appId;            /**< application to launch */
  std::string payload;          /**< for the application, sent as it is */
  std::string uri;              /**< of a deep link */
  std::string callerId;         /**< who launches */
  std::string entry;            /**< where in the application, in its own words */
  std::string relocateBelowApp; /**< application below which the launched one is to be placed */
  std::string launchRequestor;  /**< requesting component */
  uintptr_t callback = 0;       /**< of the shape that cbType names; 0: none */
  void* userData = nullptr;     /**< passed to the callback */
  uint8_t bReady = 1;           /**< not sent */
  uint8_t bForceLaunch = 0;     /**< 1: launch where the service would otherwise decline */
  uint8_t bDeepLink = 0;        /**< 1: payload and URI say where in the application */
  uint8_t bPreLoad = 0;         /**< 1: start without showing */
  uint8_t bOption1 = 0;         /**< handed to the service as it is */
  uint8_t bOption2 = 1;         /**< handed to the service as it is */
  uint8_t bOption3 = 1;         /**< handed to the service as it is */
  uint8_t bOption4 = 0;         /**< handed to the service as it is */
  std::string reservedText;     /**< not sent */
  int32_t nReserved = -1;       /**< not sent */
  int32_t cbType = 1;           /**< 1: nuv_launch_notify_cb, any other value: nuv_launch_result_cb */
  uint8_t bExtraOption = 0;     /**< handed to the service as it is */
  uint8_t bBackground = 0;      /**< 1: leave the current application in front */
  uint8_t bSkipPIN = 0;         /**< 1: do not ask for the PIN */
  std::list<std::pair<std::string, std::string>> extraDatas; /**< for the launched application, in order */
};

/**
 * Launches an application with the given options, under the id that the catalogue has for it. Fails like
 * nuv_launch_webapp(). Before the launch the catalogue is read, which takes at most 1 s (see nuv/nuv_app_database.h).
 *
 * @param app_id    id, kelvo id or package name. Null: -1, and no callback. Unknown, or the catalogue cannot be read:
 *                  the callback is called at once with (app_id, 903, 0, 400, user_data), and -1.
 * @param payload   launch payload, sent as it is; null counts as empty
 * @param callback  hears the outcome, or null
 * @param user_data passed to the callback
 * @param opinion   the options, which stay the caller's
 * @return 0 when the service accepted the request; -1 otherwise
 */
NUV_API int nuv_launch_app_internal(const char* app_id, const char* payload, nuv_launch_notify_cb callback,
                                    void* user_data, Launch_Opinion& opinion);

/** Asks the service to terminate an application: nuv_terminate_app_client() with the option 0. */
NUV_API int nuv_terminate_app_internal(const char* app_id, const std::string& caller_id, const std::string& reason);

/**
 * Has the common-UI application ask the user for the PIN before a launch. The outcome arrives at the record's callback
 * like that of any launch. Takes at most 10 s, for the probe of the service, and what the platform takes to start the
 * application.
 *
 * @param reserved ignored
 * @param app_type type of the application, handed to the common-UI application
 * @param record   the launch; copied
 * @return 0 when the common-UI application was started; -1 when the bus cannot be reached or the start was refused, and
 *         then no callback is called, unless a result was faster than the refusal
 */
extern "C" NUV_API int nuv_launch_Pin_Popup(int reserved, int app_type, _NUV_LAUNCHER_DATA& record);

/** nuv_get_android_app_status_client(), with the argument checked beforehand. At most 20 s. */
NUV_API int nuv_get_android_app_status_internal(const char* app_id, int& status);

/** What nuv_get_current_showing_app() does. */
NUV_API int nuv_get_current_showing_app_client(char** app_id);

/**
 * Id of the application that shows, cut at 254 bytes, or of the HbbTV application that runs, cut at 255 bytes; empty
 * when there is none. Otherwise as nuv_get_current_showing_app().
 */
NUV_API std::string nuv_get_showing_appid();

#endif  // NUV_SERVICE_LAUNCH_H
