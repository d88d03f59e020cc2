/*
 * Looks an application up by the name under which it is started, and lists the hybrid-TV applications. C11.
 *
 *   cc catalogue.c $(pkg-config --cflags --libs nuv-launcher-api) -o catalogue
 *   nuv-session -- ./catalogue
 */
// snippet: catalogue
#include <nuv/nuv_app_database.h>
#include <stdio.h>
#include <stdlib.h>

static int show(const char* runtitle) {
  nuv_app_info_s app = {0}; /* cleared: the last byte of each text is never written */
  const int found = nuv_get_app_info_by_runtitle(runtitle, &app);
  if (found == 0) printf("%s is %s, version %s\n", runtitle, app.app_id, app.app_version);
  if (found == -1) printf("%s: not found\n", runtitle);
  if (found == -2) printf("%s: the database is busy, try again\n", runtitle);
  return found;
}

static int list_hybrid(void) {
  nuv_app_info_s* apps = NULL; /* stays so where there is none */
  int count = 0;
  if (nuv_get_hybrid_widget_list(&apps, &count) != 0) return -1;
  for (int i = 0; i < count; ++i) printf("hybrid: %s\n", apps[i].app_title);
  free(apps); /* the array is the caller's */
  return count;
}
// end of snippet

int main(void) {
  const int clock = show("Clock");
  const int nobody = show("Nobody knows this");
  return clock == 0 && nobody == -1 && list_hybrid() > 0 ? 0 : 1;
}
