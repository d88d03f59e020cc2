// What fork() does to the library's use of SQLite.
//
// The child finds neither a side's query nor SQLite itself in the middle of something: fork() waits for both, at most a
// second in all. Where that is not enough, the child is refused the database for good, on both sides: SQLite keeps one
// record of its file locks for the whole process, and takes the parent's locks in that record for the child's.
#pragma once

#include "nuv_db_common/nuv_statement.h"

// Makes fork() look after a side from now on: 0, or an error number. In a child the side has no connection, and
// forgetMode resets what the side keeps about one beside its handles.
int LookAfterAtFork(DatabaseSide& side, void (*forgetMode)() = nullptr);

// Returns once no other thread is forking. A mutex gives nobody his turn: without this, a thread that takes its next
// turn as soon as it has given one back would keep fork() waiting to the end of its second.
void WaitForForks();

// Whether this process is a child that was refused the database; logged for the caller.
bool DatabaseIsRefused(const LogOrigin& origin);
