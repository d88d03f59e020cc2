/*
 * App-control requests: an application id, an operation, a URI and text extra data, sent as a launch request.
 * Valid C11 and C++17.
 *
 * All functions return 0 on success and a negative value on failure. Texts handed out are malloc'ed; the caller
 * releases them with free(). A value that is not set is handed out as NULL with result 0, except extra data: a key that
 * is absent is a failure. On failure NULL is handed out. A NULL request, key or value is refused. A request belongs to
 * one thread at a time.
 */
#ifndef NUV_PLATFORM_APP_CONTROL_H
#define NUV_PLATFORM_APP_CONTROL_H

#include <nuv_platform/platform_export.h>
#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct app_control_s* app_control_h;

/* The platform's default operation. */
#define APP_CONTROL_OPERATION_DEFAULT "http://nuv/appcontrol/operation/default"

/* Called once per extra datum, in insertion order; false stops. It may change the request: data it adds are not
 * visited. */
typedef bool (*app_control_extra_data_cb)(app_control_h request, const char* key, void* user_data);

typedef void (*app_control_reply_cb)(app_control_h request, app_control_h reply, int result, void* user_data);

NUV_PLATFORM_API int app_control_create(app_control_h* request);
NUV_PLATFORM_API int app_control_destroy(app_control_h request);

NUV_PLATFORM_API int app_control_set_app_id(app_control_h request, const char* value);
NUV_PLATFORM_API int app_control_set_operation(app_control_h request, const char* value);
NUV_PLATFORM_API int app_control_set_uri(app_control_h request, const char* value);

NUV_PLATFORM_API int app_control_get_app_id(app_control_h request, char** value);
NUV_PLATFORM_API int app_control_get_operation(app_control_h request, char** value);
NUV_PLATFORM_API int app_control_get_uri(app_control_h request, char** value);

/* Adds a datum, or replaces the value of a key that is there already. A NULL key or value is refused. */
NUV_PLATFORM_API int app_control_add_extra_data(app_control_h request, const char* key, const char* value);
NUV_PLATFORM_API int app_control_get_extra_data(app_control_h request, const char* key, char** value);
NUV_PLATFORM_API int app_control_foreach_extra_data(app_control_h request, app_control_extra_data_cb callback,
                                                    void* user_data);

/*
 * Sends the request; callback may be NULL. On a host the call waits for the service's answer, for at most about 5
 * seconds, and on success calls back once, on the calling thread, with result 0 and no reply; on failure not at all.
 */
NUV_PLATFORM_API int app_control_send_launch_request(app_control_h request, app_control_reply_cb callback,
                                                     void* user_data);

#ifdef __cplusplus
}
#endif

#endif /* NUV_PLATFORM_APP_CONTROL_H */
