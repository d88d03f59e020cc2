/*
 * A platform library to begin with: every call of the seam, and behind each one the least that is right. A TV's own
 * takes the place of what is marked TODO, a function at a time; nuv-platform-check says after each step what still
 * holds.
 */
#include <nuv_platform/platform_app_control.h>
#include <nuv_platform/platform_aul.h>
#include <nuv_platform/platform_hbbtv.h>
#include <nuv_platform/platform_log.h>
#include <nuv_platform/platform_path.h>
#include <nuv_platform/platform_resource.h>
#include <nuv_platform/platform_settings.h>
#include <nuv_platform/platform_trace.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

/* Log. TODO: the TV's log, by buffer. syslog() waits for a reader that is slow; the TV's log must not. */

int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...) {
  static const int levels[] = {LOG_INFO, LOG_WARNING, LOG_ERR};
  const int known = priority >= NUV_LOG_PRIORITY_INFO && priority <= NUV_LOG_PRIORITY_ERROR;
  char line[1024];
  va_list arguments;
  (void)buffer;
  va_start(arguments, format);
  const int length = vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  syslog(known ? levels[priority - NUV_LOG_PRIORITY_INFO] : LOG_INFO, "%s: %s", tag, line);
  return length;
}

/* Settings. TODO: the TV's store. This one has no setting and takes none. */

int vconf_get_int(const char* key, int* value) {
  (void)key;
  (void)value;
  return -1;
}

int vconf_set_str(const char* key, const char* value) {
  (void)key;
  (void)value;
  return -1;
}

/* Running applications. TODO: the TV's list. Here nothing ever runs. */

int aul_app_is_running(const char* app_id) {
  (void)app_id;
  return 0;
}

int aul_app_get_running_app_info(aul_app_info_iter_fn iter, void* data) {
  (void)iter;
  (void)data;
  return 0;
}

/* HbbTV. TODO: ask the TV's HbbTV engine. */

int GetRunningHbbtvApp(char** app_id) {
  (void)app_id;
  return 0;
}

/* App-control requests. These hold what they are told; only sending is the TV's. */

struct extra {
  char* key;
  char* value;
};

struct app_control_s {
  char* app_id;
  char* operation;
  char* uri;
  struct extra* extras;
  size_t count;
};

int app_control_create(app_control_h* request) {
  if (request == NULL) return -1;
  *request = calloc(1, sizeof **request);
  return *request == NULL ? -1 : 0;
}

int app_control_destroy(app_control_h request) {
  if (request == NULL) return -1;
  for (size_t i = 0; i < request->count; ++i) {
    free(request->extras[i].key);
    free(request->extras[i].value);
  }
  free(request->extras);
  free(request->app_id);
  free(request->operation);
  free(request->uri);
  free(request);
  return 0;
}

static int replace(char** text, const char* value) {
  char* const copy = value == NULL ? NULL : strdup(value);
  if (value != NULL && copy == NULL) return -1;
  free(*text);
  *text = copy;
  return 0;
}

static int hand_out(const char* text, char** value) {
  *value = text == NULL ? NULL : strdup(text);
  return text != NULL && *value == NULL ? -1 : 0;
}

int app_control_set_app_id(app_control_h request, const char* value) {
  return request == NULL ? -1 : replace(&request->app_id, value);
}

int app_control_set_operation(app_control_h request, const char* value) {
  return request == NULL ? -1 : replace(&request->operation, value);
}

int app_control_set_uri(app_control_h request, const char* value) {
  return request == NULL ? -1 : replace(&request->uri, value);
}

int app_control_get_app_id(app_control_h request, char** value) {
  return request == NULL ? -1 : hand_out(request->app_id, value);
}

int app_control_get_operation(app_control_h request, char** value) {
  return request == NULL ? -1 : hand_out(request->operation, value);
}

int app_control_get_uri(app_control_h request, char** value) {
  return request == NULL ? -1 : hand_out(request->uri, value);
}

static struct extra* find(app_control_h request, const char* key) {
  for (size_t i = 0; i < request->count; ++i) {
    if (strcmp(request->extras[i].key, key) == 0) return &request->extras[i];
  }
  return NULL;
}

static int append(app_control_h request, char* key, char* value) {
  if (key == NULL || value == NULL) return -1;
  struct extra* const grown = realloc(request->extras, (request->count + 1) * sizeof *grown);
  if (grown == NULL) return -1;
  request->extras = grown;
  grown[request->count++] = (struct extra){key, value};
  return 0;
}

int app_control_add_extra_data(app_control_h request, const char* key, const char* value) {
  if (request == NULL || key == NULL || value == NULL) return -1;
  struct extra* const known = find(request, key);
  if (known != NULL) return replace(&known->value, value);
  char* const own_key = strdup(key);
  char* const own_value = strdup(value);
  if (append(request, own_key, own_value) == 0) return 0;
  free(own_key);
  free(own_value);
  return -1;
}

int app_control_get_extra_data(app_control_h request, const char* key, char** value) {
  if (value == NULL) return -1;
  *value = NULL;
  if (request == NULL || key == NULL) return -1;
  const struct extra* const known = find(request, key);
  return known == NULL ? -1 : hand_out(known->value, value);
}

/* Only what is there at the beginning is visited: the callback may add data. Keys never move, the array may. */
int app_control_foreach_extra_data(app_control_h request, app_control_extra_data_cb callback, void* user_data) {
  if (request == NULL || callback == NULL) return -1;
  const size_t count = request->count;
  for (size_t i = 0; i < count; ++i) {
    if (!callback(request, request->extras[i].key, user_data)) break;
  }
  return 0;
}

/* TODO: hand the request to the TV's launcher. Here there is none, so nothing is sent. */
int app_control_send_launch_request(app_control_h request, app_control_reply_cb callback, void* user_data) {
  (void)request;
  (void)callback;
  (void)user_data;
  return -1;
}

/* Tracing. TODO: the TV's tracer, where it has one. */

void trace_begin(const char* text) {
  (void)text;
}

void trace_end(void) {}

/* CPU priority. TODO: the TV's resource manager, where it has one. */

int resource_set_cpu_inheritance(int tid, const char* destination, int priority) {
  (void)tid;
  (void)destination;
  (void)priority;
  return 0;
}

int resource_clear_cpu_inheritance(int tid, const char* destination) {
  (void)tid;
  (void)destination;
  return 0;
}

/* Paths. TODO: where the TV's service keeps the application database. */

const char* nuv_platform_get_path(int variable) {
  return variable == NUV_PATH_APP_DATABASE_DIR ? "/opt/nuv/database" : NULL;
}
