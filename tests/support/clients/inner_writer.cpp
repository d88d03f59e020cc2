// Counts launches of the application "app": inner_writer TIMES [forward], or 0 for without end. Writes the database by
// itself, or with "forward" asks the service first. Says "ready", then one character for each result: "." for a launch
// that was counted, "b" for a busy database, "x" for any other failure.
#include <nuv/nuv_inner_database.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace {

void Say(const char* text) {
  if (write(STDOUT_FILENO, text, strlen(text)) < 0) _exit(2);
}

}  // namespace

int main(int count, char** arguments) {
  const int times = atoi(arguments[1]);
  const auto update = count > 2 ? nuv_inner_update_app_count : nuv_db_update_app_count;
  if (nuv_inner_db_init() != 0) return 1;
  Say("ready\n");
  for (int i = 0; times == 0 || i < times; ++i) {
    const int result = update("app");
    Say(result == 0 ? "." : result == -2 ? "b" : "x");
  }
}
