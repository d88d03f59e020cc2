// The statement cycle of the application database: what the reading and the writing side of the library have in common.
#pragma once

#include <nuv_common/nuv_cancellation.h>
#include <nuv_common/nuv_lock.h>
#include <nuv_common/nuv_log.h>
#include <nuv_common/nuv_out_of_memory.h>
#include <sqlite3.h>

#include <string>

// Tries in all while the database is busy.
constexpr int kMaxRetryCount = 50;

constexpr int kDatabaseFailed = -1;
constexpr int kDatabaseBusy = -2;

// One side's connection and current statement, and what differs between the sides. Only a DatabaseTurn locks it.
struct DatabaseSide {
  const char* statementName;  // as log lines have it
  void (*waitBeforeRetry)();
  sqlite3*& connection NUV_GUARDED_BY(turn);
  sqlite3_stmt*& statement NUV_GUARDED_BY(turn);
  // A leaf: nothing but SQLite and the log is called under it.
  Mutex turn{kRecursiveMutex};
  // Set by LookAfterAtFork().
  void (*forgetMode)() = nullptr;
  DatabaseSide* nextAtFork = nullptr;
};

// Opens the database at path without ever creating it: 0, or kDatabaseFailed, with no connection and the reason logged.
int OpenDatabase(DatabaseSide& side, const char* path, int accessFlag, const LogOrigin& origin = Here())
    NUV_REQUIRES(side.turn);

// Compiles sql into the side's statement: 0, kDatabaseFailed or kDatabaseBusy. No statement is left after a failure.
int PrepareWithRetry(DatabaseSide& side, const char* sql, const LogOrigin& origin = Here()) NUV_REQUIRES(side.turn);

// Advances the side's statement by one row and returns SQLite's code; SQLite's general error where there is no
// statement. Every result but a row ends the statement: it is finalized and null.
int StepWithRetry(DatabaseSide& side, const LogOrigin& origin = Here()) NUV_REQUIRES(side.turn);

// The text of a column of the current row; null for a null. It is SQLite's and lives until the next step. Throws
// std::bad_alloc where SQLite has no memory to convert a value of another type.
const char* TextOfColumn(const DatabaseSide& side, unsigned column) NUV_REQUIRES(side.turn);

// One side's turn at its connection: no other thread of the process uses it meanwhile. A thread may take a turn inside
// a turn. Cancellation is off during a turn: a cancelled thread would leave SQLite in the middle of a call.
class NUV_SCOPED_CAPABILITY DatabaseTurn {
 public:
  explicit DatabaseTurn(DatabaseSide& side) NUV_ACQUIRE(side.turn);
  ~DatabaseTurn() NUV_RELEASE();
  DatabaseTurn(const DatabaseTurn&) = delete;
  DatabaseTurn& operator=(const DatabaseTurn&) = delete;

 protected:
  DatabaseSide& m_side;

 private:
  CancellationOff m_cancellation;  // from before the turn until after it
};

// A turn for one statement, from prepare to finalize. A statement that an exception left live is finalized at the end:
// it would keep the service from writing.
class NUV_SCOPED_CAPABILITY StatementTurn : protected DatabaseTurn {
 public:
  explicit StatementTurn(DatabaseSide& side) NUV_ACQUIRE(side.turn) NUV_UNANALYSED : DatabaseTurn(side) {}
  ~StatementTurn() NUV_RELEASE();
};

constexpr const char* kLookupBusy = NUV_RED "get app info fail:sql busy" NUV_PLAIN;

// One statement from prepare to finalize, undisturbed by other threads: what the cycles of both sides have in common.
class QueryCycle : private StatementTurn {
 public:
  // SQLite's code for the step after the last row.
  int LastStep() const { return m_lastStep; }
  bool EndedBusy() const { return m_lastStep == SQLITE_BUSY; }
  bool EndedInOrder() const { return m_lastStep == SQLITE_DONE; }
  // The same as EndedBusy(); a busy end is logged for the caller.
  bool ReportBusy(const char* complaint, const LogOrigin& origin = Here()) const;
  // What a query that read a row, or none, returns: 0, -1, or -2 after a busy end, which is logged for the caller.
  int Result(bool hadRow, const LogOrigin& origin = Here()) const;

  // Whether the first column of the current row is the text.
  bool FirstColumnIs(const std::string& text) const NUV_UNANALYSED;

 protected:
  // busyComplaint: what Result() says after a busy end.
  QueryCycle(DatabaseSide& side, const char* busyComplaint) NUV_UNANALYSED : StatementTurn(side),
                                                                             m_busyComplaint(busyComplaint) {}
  ~QueryCycle() NUV_UNANALYSED = default;

  // Whether the step gave a row.
  bool Note(int step) {
    m_lastStep = step;
    return step == SQLITE_ROW;
  }

 private:
  const char* m_busyComplaint;
  int m_lastStep = SQLITE_OK;
};

// Reads all rows: whether the first column of one of them is the id. A match is logged with the caller's texts around
// the id; rows behind it are only stepped through.
template <typename Cycle>
bool HasRowOf(Cycle& cycle, const std::string& id, const char* before, const char* behind,
              const LogOrigin& origin) NUV_UNANALYSED {
  bool found = false;
  while (cycle.NextRow()) {
    if (found || !cycle.FirstColumnIs(id)) continue;
    found = true;
    NUV_INFO_FROM(origin, NUV_YELLOW "%s[%s] %s" NUV_PLAIN, before, id.c_str(), behind);
  }
  return found;
}
