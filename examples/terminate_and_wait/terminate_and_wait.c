/*
 * Ends an application and waits, with a limit, until it has gone. C11.
 *
 *   cc terminate_and_wait.c $(pkg-config --cflags --libs nuv-launcher-api) -o terminate_and_wait
 *   nuv-session -- sh -c 'nuvctl launch org.kelvo.app.clock --wait 10 && ./terminate_and_wait org.kelvo.app.clock'
 */
#define _POSIX_C_SOURCE 200809L
// snippet: terminate
#include <nuv/nuv_launcher_api.h>
#include <stdio.h>
#include <time.h>

/* 0 gone, -1 the service would not, -2 it still runs after the seconds. */
static int terminate_and_wait(const char* app_id, int seconds) {
  const struct timespec pause = {0, 50 * 1000 * 1000};
  struct timespec now, limit;
  if (nuv_terminate_app(app_id) != 0) return -1;
  clock_gettime(CLOCK_MONOTONIC, &limit);
  limit.tv_sec += seconds;
  for (;;) {
    int runs = 1;
    /* -1: nobody can tell now. The limit holds for that, too. */
    if (nuv_get_app_status(app_id, &runs) == 0 && runs == 0) return 0;
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (now.tv_sec > limit.tv_sec) return -2;
    nanosleep(&pause, NULL);
  }
}
// end of snippet

int main(int argc, char** argv) {
  const int ended = terminate_and_wait(argc > 1 ? argv[1] : "org.kelvo.app.clock", 10);
  puts(ended == 0 ? "it has ended" : ended == -1 ? "the service would not" : "it still runs");
  return -ended;
}
