/*
 * Numbers that travel between a caller, libnuv_launcher_api and the Nuv service. Valid C11 and C++17.
 *
 * The numbers are the contract; the names are ours. The service may send numbers that have no name here, so a
 * callback has to expect any value. nuv/nuv_launch_names.h has the names as texts.
 */
#ifndef NUV_LAUNCH_CODES_H
#define NUV_LAUNCH_CODES_H

#ifdef __cplusplus
extern "C" {
#endif

/** What happened, as told to a nuv_launch_notify_cb. */
typedef enum nuv_notify_event_e {
  NUV_NOTIFY_LAUNCHED = 900,               /**< the application was started */
  NUV_NOTIFY_BROUGHT_TO_FRONT = 901,       /**< it ran already and came to the front */
  NUV_NOTIFY_STARTED_IN_BACKGROUND = 902,  /**< it was started (or kept) behind the current application */
  NUV_NOTIFY_LAUNCH_FAILED = 903,          /**< the launch failed; the result says why */
  NUV_NOTIFY_PRELOADED = 904,              /**< it was started without being shown */
  NUV_NOTIFY_PRELOAD_FAILED = 905,         /**< the preload failed; the result says why */
  NUV_NOTIFY_DEEPLINK_DELIVERED = 906,     /**< the application got its deep link */
  NUV_NOTIFY_DEEPLINK_FAILED = 907,        /**< the deep link was not delivered; the result says why */
  NUV_NOTIFY_RANGE_MIN_ = -0x7fffffff - 1, /**< not an event: every 32-bit value is representable */
  NUV_NOTIFY_RANGE_MAX_ = 0x7fffffff       /**< not an event: every 32-bit value is representable */
} nuv_notify_event_e;

/** The service's status number that goes with an event; 0 where there is nothing to say. */
typedef enum nuv_launch_status_e {
  NUV_LAUNCH_STATUS_UNKNOWN_APP = 400,   /**< the catalogue does not know the application */
  NUV_LAUNCH_STATUS_NOT_INSTALLED = 401, /**< known, but not installed or not available */
  NUV_LAUNCH_STATUS_PENDING = 402,       /**< not decided yet; has no result code */
  NUV_LAUNCH_STATUS_REFUSED = 403,       /**< locked: the PIN was wrong, or asking for it is not possible */
  NUV_LAUNCH_STATUS_FAILED = 404,        /**< the request could not be carried out */
  NUV_LAUNCH_STATUS_CANCELLED = 405,     /**< the user cancelled */
  NUV_LAUNCH_STATUS_CRASHED = 406,       /**< the application ended while it was starting */
  NUV_LAUNCH_STATUS_TIMED_OUT = 412      /**< the service did not answer in time (set by the library) */
} nuv_launch_status_e;

/** The outcome of a launch, as told to a nuv_launch_result_cb. 606 to 608 are reserved and never sent. */
typedef enum nuv_launch_result_e {
  NUV_LAUNCH_RESULT_LAUNCHED = 600,              /**< event 900 */
  NUV_LAUNCH_RESULT_BROUGHT_TO_FRONT = 601,      /**< event 901 */
  NUV_LAUNCH_RESULT_STARTED_IN_BACKGROUND = 602, /**< event 902 */
  NUV_LAUNCH_RESULT_PRELOADED = 603,             /**< event 904 */
  NUV_LAUNCH_RESULT_UNKNOWN_APP = 604,           /**< event 903, 905 or 907 with status 400 */
  NUV_LAUNCH_RESULT_NOT_INSTALLED = 605,         /**< event 903, 905 or 907 with status 401 */
  NUV_LAUNCH_RESULT_RESERVED_606 = 606,
  NUV_LAUNCH_RESULT_RESERVED_607 = 607,
  NUV_LAUNCH_RESULT_RESERVED_608 = 608,
  NUV_LAUNCH_RESULT_REFUSED = 609,           /**< event 903, 905 or 907 with status 403 */
  NUV_LAUNCH_RESULT_FAILED = 610,            /**< event 903, 905 or 907 with status 404 or 406 */
  NUV_LAUNCH_RESULT_CANCELLED = 611,         /**< event 903, 905 or 907 with status 405 */
  NUV_LAUNCH_RESULT_DEEPLINK_DELIVERED = 612 /**< event 906 */
} nuv_launch_result_e;

/** The system error popup that the service is asked to show. */
typedef enum LAUNCH_ERROR_POPUP_TYPE {
  LAUNCH_ERROR_POPUP_UNKNOWN_TITLE = 0,            /**< the run title is not in the catalogue */
  LAUNCH_ERROR_POPUP_TYPE_1 = 1,                   /**< the service's own */
  LAUNCH_ERROR_POPUP_TYPE_2 = 2,                   /**< the service's own */
  LAUNCH_ERROR_POPUP_TYPE_3 = 3,                   /**< the service's own */
  LAUNCH_ERROR_POPUP_NO_APP_ID = 4,                /**< a launch was asked for without an application id */
  LAUNCH_ERROR_POPUP_RANGE_MIN_ = -0x7fffffff - 1, /**< not a kind: every 32-bit value is representable */
  LAUNCH_ERROR_POPUP_RANGE_MAX_ = 0x7fffffff       /**< not a kind: every 32-bit value is representable */
} LAUNCH_ERROR_POPUP_TYPE;

#ifdef __cplusplus
}
#endif

#endif /* NUV_LAUNCH_CODES_H */
