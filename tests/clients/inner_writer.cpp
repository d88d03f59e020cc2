// Counts launches of the application "app" in the database: inner_writer TIMES, or 0 for without end. Says "ready",
// then one character for each result: "." for a launch that was counted, "b" for a busy database, "x" for any other
// failure.
#include <nuv/nuv_inner_app_database.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace {

void Say(const char* text) {
  if (write(STDOUT_FILENO, text, strlen(text)) < 0) _exit(2);
}

}  // namespace

int main(int, char** arguments) {
  const int times = atoi(arguments[1]);
  if (nuv_inner_db_init() != 0) return 1;
  Say("ready\n");
  for (int i = 0; times == 0 || i < times; ++i) {
    const int result = nuv_db_update_app_count("app");
    Say(result == 0 ? "." : result == -2 ? "b" : "x");
  }
}
