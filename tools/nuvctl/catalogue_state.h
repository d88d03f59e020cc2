// What keeps the library from answering a question about the catalogue: its functions only say that they did not.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "diagnose.h"

struct Obstacle {
  const char* key;  // for programs
  Diagnosis why;
};

// Those for which the library refuses to read the catalogue at all, in the order in which it asks for them.
std::vector<Obstacle> GuardObstacles();

// The one of them that also keeps the library from the inner side of the database.
std::optional<Obstacle> RepairObstacle();

// The database is busy, or cannot be read.
std::optional<Obstacle> DatabaseObstacle();
Obstacle DatabaseIsBusy();

// Why a function of the catalogue gave the result: an obstacle where there is one, otherwise what the caller says.
Diagnosis DiagnoseCatalogue(int result, const Diagnosis& otherwise);
