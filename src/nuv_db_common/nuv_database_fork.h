// What fork() does to the library's use of SQLite.
//
// The child finds neither a side's query nor SQLite itself in the middle of something: fork() waits for both, at most a
// second in all. Where that did not do, the child is refused the database for good, both sides of it: they share what
// SQLite notes of its locks on the file, and a lock of the parent counts there as one of the child, which has none.
#pragma once

#include "nuv_db_common/nuv_statement.h"

// Has fork() look after a side from now on: 0, or an error number. In a child the side has no connection; what it kept
// of one beside its handles, forgetMode forgets.
int LookAfterAtFork(DatabaseSide& side, void (*forgetMode)() = nullptr);

// Whether this process is a child that was refused the database; logged for the caller.
bool DatabaseIsRefused(const LogOrigin& origin);
