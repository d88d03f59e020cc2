// What keeps the inner side of the database from answering.
#pragma once

#include "diagnose.h"

// Why a function of the inner side gave the result: a repair, a busy or unreadable database, otherwise what the caller
// says.
Diagnosis DiagnoseInner(int result, const Diagnosis& otherwise);
