// Holds a lock on a database until it is killed: database_locker PATH. Says "locked" once it has it.
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>

int main(int, char** arguments) {
  sqlite3* connection = nullptr;
  if (sqlite3_open(arguments[1], &connection) != SQLITE_OK) return 1;
  if (sqlite3_exec(connection, "begin exclusive", nullptr, nullptr, nullptr) != SQLITE_OK) return 1;
  puts("locked");
  fflush(stdout);
  pause();
}
