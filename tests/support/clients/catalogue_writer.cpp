// Writes to an application database until it is killed, like the service at work: catalogue_writer PATH MODE (a journal
// mode of SQLite) [PAUSE] (between two transactions, in microseconds). In each transaction all columns of the pair that
// readers compare get the same number, and an application comes or goes. Says "writing" after the first one.
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

bool Run(sqlite3* connection, const std::string& sql) {
  const bool done = sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
  if (!done) fprintf(stderr, "%s: %s\n", sql.c_str(), sqlite3_errmsg(connection));
  return done;
}

std::string Change(int number) {
  const std::string text = std::to_string(number);
  return "update widgetinfo set title = '" + text + "', version = '" + text + "', size = " + text +
         ", use_count = " + text + " where id in ('pair', 'twin');" +
         (number % 2 == 0 ? "delete from widgetinfo where id = 'guest'"
                          : "insert into widgetinfo (id, install_state, is_app_available, is_need_reset, is_hidden, "
                            "app_featured, app_type) values ('guest', 3, 1, 0, 0, 1, 2)");
}

}  // namespace

int main(int count, char** arguments) {
  // Readers of a rollback journal need a gap.
  const int pause_us = count > 3 ? atoi(arguments[3]) : 500;
  sqlite3* connection = nullptr;
  if (sqlite3_open(arguments[1], &connection) != SQLITE_OK) return 1;
  sqlite3_busy_timeout(connection, 60000);
  if (!Run(connection, "pragma journal_mode = " + std::string(arguments[2]) + "; pragma synchronous = off")) return 1;
  for (int number = 1;; ++number) {
    if (!Run(connection, "begin immediate;" + Change(number) + ";commit")) return 1;
    if (number == 1) {
      puts("writing");
      fflush(stdout);
    }
    usleep(pause_us);
  }
}
