/* A component written in C: launches an application and waits until it is told that it runs. */
#include <nuv/nuv_launcher_api.h>
#include <stdio.h>
#include <string.h>
#include <threads.h>
#include <time.h>

struct outcome {
  mtx_t mutex;
  cnd_t changed;
  int result;
  int calls;
};

static void on_result(void* user_data, int reserved, const char* app_id, int result) {
  struct outcome* outcome = user_data;
  mtx_lock(&outcome->mutex);
  outcome->result = result;
  outcome->calls += app_id != NULL && strcmp(app_id, "org.kelvo.app.clock") == 0 && reserved == 0;
  cnd_signal(&outcome->changed);
  mtx_unlock(&outcome->mutex);
}

int main(void) {
  static struct outcome outcome;
  struct timespec limit;
  mtx_init(&outcome.mutex, mtx_plain);
  cnd_init(&outcome.changed);
  timespec_get(&limit, TIME_UTC);
  limit.tv_sec += 20;

  if (nuv_launch_app("org.kelvo.app.clock", NULL, on_result, &outcome) != 0) {
    fputs("the request was not accepted\n", stderr);
    return 1;
  }
  mtx_lock(&outcome.mutex);
  while (outcome.calls == 0 && cnd_timedwait(&outcome.changed, &outcome.mutex, &limit) == thrd_success) {
  }
  printf("result %d\n", outcome.result);
  mtx_unlock(&outcome.mutex);
  return outcome.calls == 1 && outcome.result == NUV_LAUNCH_RESULT_LAUNCHED ? 0 : 1;
}
