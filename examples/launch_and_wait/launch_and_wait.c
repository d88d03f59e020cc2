/*
 * Launches an application and waits, with a limit, for what comes of it. C11.
 *
 *   cc launch_and_wait.c $(pkg-config --cflags --libs nuv-launcher-api) -o launch_and_wait
 *   nuv-session -- ./launch_and_wait org.kelvo.app.clock
 */
#define _GNU_SOURCE /* pthread_cond_clockwait(): a clock that is set changes no limit */
// snippet: launch
#include <nuv/nuv_launch_names.h>
#include <nuv/nuv_launcher_api.h>
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <time.h>

/* The launch that is waited for. Results may be late, doubled, or never come: each launch has a number, which is all
 * that the library gets as user data, so that nothing has to live as long as a late result may take. */
static struct {
  pthread_mutex_t mutex;
  pthread_cond_t heard;
  uintptr_t launch;
  int event, status; /* event 0: nothing was heard yet */
} waited = {PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER, 0, 0, 0};

/* On the library's listener thread, or, where the request fails, on the caller's before the function returns. */
static void on_result(const char* app_id, nuv_notify_event_e event, int reserved, int status, void* user_data) {
  (void)app_id, (void)reserved;
  pthread_mutex_lock(&waited.mutex);
  const int undecided = event == NUV_NOTIFY_LAUNCH_FAILED && status == NUV_LAUNCH_STATUS_PENDING;
  if ((uintptr_t)user_data == waited.launch && waited.event == 0 && !undecided) {
    waited.event = event;
    waited.status = status;
    pthread_cond_signal(&waited.heard);
  }
  pthread_mutex_unlock(&waited.mutex);
}

/* The event, or 0 where none came within the seconds. One launch at a time. */
static int launch_and_wait(const char* app_id, const char* payload, int seconds, int* status) {
  struct timespec limit;
  clock_gettime(CLOCK_MONOTONIC, &limit);
  limit.tv_sec += seconds;
  pthread_mutex_lock(&waited.mutex);
  const uintptr_t launch = ++waited.launch;
  waited.event = waited.status = 0;
  pthread_mutex_unlock(&waited.mutex);

  const int accepted = nuv_launch_webapp(app_id, payload, "org.kelvo.menu", on_result, (void*)launch);
  pthread_mutex_lock(&waited.mutex);
  /* Not accepted: nothing more comes, and nothing at all where the bus could not be reached. */
  while (accepted == 0 && waited.event == 0 &&
         pthread_cond_clockwait(&waited.heard, &waited.mutex, CLOCK_MONOTONIC, &limit) == 0) {
  }
  const int event = accepted == 0 || waited.event != 0 ? waited.event : NUV_NOTIFY_LAUNCH_FAILED;
  *status = waited.status;
  waited.launch = launch + 1; /* what comes now is too late */
  pthread_mutex_unlock(&waited.mutex);
  return event;
}
// end of snippet

int main(int argc, char** argv) {
  int status = 0;
  const int event =
      launch_and_wait(argc > 1 ? argv[1] : "org.kelvo.app.clock", "zone=Seoul", argc > 2 ? 1 : 20, &status);
  if (event == 0) {
    puts("nothing was heard in time");
    return 2;
  }
  printf("%s: %s\n", nuv_notify_event_name(event), status == 0 ? "well" : nuv_launch_status_text(status));
  return event == NUV_NOTIFY_LAUNCHED ? 0 : 1;
}
