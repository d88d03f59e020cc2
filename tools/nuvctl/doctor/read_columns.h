// The columns that the library reads, out of its own lists.
#pragma once

#include <string>
#include <vector>

// Of the table of applications, on both sides of the database; each one once.
const std::vector<std::string>& ReadColumns();
