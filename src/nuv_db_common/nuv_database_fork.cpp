#include "nuv_db_common/nuv_database_fork.h"

#include <pthread.h>

#include <cstddef>
#include <ctime>

namespace {

DatabaseSide* firstSide = nullptr;
bool refused = false;  // for good: what the parent's threads left in SQLite does not go away

// SQLite's static mutexes, which a whole process shares. Those that SQLite leaves to applications are not among them.
constexpr int kSqliteMutexes[] = {
    SQLITE_MUTEX_STATIC_MAIN, SQLITE_MUTEX_STATIC_MEM,  SQLITE_MUTEX_STATIC_OPEN,
    SQLITE_MUTEX_STATIC_PRNG, SQLITE_MUTEX_STATIC_LRU,  SQLITE_MUTEX_STATIC_PMEM,
    SQLITE_MUTEX_STATIC_VFS1, SQLITE_MUTEX_STATIC_VFS2, SQLITE_MUTEX_STATIC_VFS3,
};
constexpr int kAllSqliteMutexes = sizeof kSqliteMutexes / sizeof *kSqliteMutexes;
constexpr timespec kPauseBetweenTries = {0, 200000};

// Held by a thread that forks, so that no turn begins meanwhile. It takes it before the turns. Recursive, because
// handlers of the host's, which run in fork() as well, may read the database.
LeafMutex forking{kRecursiveMutex};

// What the forking thread holds from BeforeFork() to LetGo(). Each BeforeFork() sets it anew.
thread_local bool holdsForking = false;
thread_local int heldTurns = 0;
thread_local bool holdsSqlite = false;

timespec MonotonicNow() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now;
}

bool IsOver(const timespec& deadline) {
  const timespec now = MonotonicNow();
  return now.tv_sec != deadline.tv_sec ? now.tv_sec > deadline.tv_sec : now.tv_nsec >= deadline.tv_nsec;
}

void LeaveSqliteMutexes(int count) {
  while (count > 0) sqlite3_mutex_leave(sqlite3_mutex_alloc(kSqliteMutexes[--count]));
}

// Takes all of them or none. It never waits for one while it holds others, so the order in which other threads lock
// them does not matter. sqlite3_mutex_alloc() of a static mutex does not initialise SQLite, so a host may still
// configure it.
bool TrySqliteMutexes() {
  for (int taken = 0; taken < kAllSqliteMutexes; ++taken) {
    if (sqlite3_mutex_try(sqlite3_mutex_alloc(kSqliteMutexes[taken])) == SQLITE_OK) continue;
    LeaveSqliteMutexes(taken);
    return false;
  }
  return true;
}

bool HoldSqlite(const timespec& deadline) {
  while (!TrySqliteMutexes()) {
    if (IsOver(deadline)) return false;
    nanosleep(&kPauseBetweenTries, nullptr);
  }
  return true;
}

bool HoldTurns(const timespec& deadline) NUV_UNANALYSED {
  for (DatabaseSide* side = firstSide; side != nullptr; side = side->nextAtFork) {
    if (!side->turn.try_lock_until(deadline)) return false;
    ++heldTurns;
  }
  return true;
}

void LetGo() NUV_UNANALYSED {
  if (holdsSqlite) LeaveSqliteMutexes(kAllSqliteMutexes);
  for (DatabaseSide* side = firstSide; heldTurns > 0; side = side->nextAtFork, --heldTurns) side->turn.unlock();
  if (holdsForking) forking.unlock();
}

void BeforeFork() NUV_UNANALYSED {
  timespec deadline = MonotonicNow();
  deadline.tv_sec += 1;
  holdsForking = forking.try_lock_until(deadline);
  holdsSqlite = HoldTurns(deadline) && HoldSqlite(deadline);
}

// Forgets the parent's connections, because using or closing one would touch the parent's locks. Each turn is unlocked
// before it is renewed, for tools that track locks, such as ThreadSanitizer.
void InChild() NUV_UNANALYSED {
  if (!holdsSqlite) refused = true;
  LetGo();
  forking.Renew(kRecursiveMutex);
  for (DatabaseSide* side = firstSide; side != nullptr; side = side->nextAtFork) {
    side->turn.Renew(kRecursiveMutex);
    side->connection = nullptr;
    side->statement = nullptr;
    if (side->forgetMode != nullptr) side->forgetMode();
  }
}

}  // namespace

int LookAfterAtFork(DatabaseSide& side, void (*forgetMode)()) {
  side.forgetMode = forgetMode;
  const bool first = firstSide == nullptr;
  side.nextAtFork = firstSide;
  firstSide = &side;
  return first ? pthread_atfork(BeforeFork, LetGo, InChild) : 0;
}

void WaitForForks() {
  const LeafLock lock(forking);
}

bool DatabaseIsRefused(const LogOrigin& origin) {
  if (refused) {
    NUV_ERROR_FROM(origin, NUV_RED
                   "this process was forked while another thread was using SQLite: it has to exec before it uses the "
                   "application database" NUV_PLAIN);
  }
  return refused;
}
