#include "inner_state.h"

#include "catalogue_state.h"

namespace {

constexpr int kBusy = -2;

}  // namespace

// A factory reset does not stop the inner side.
Diagnosis DiagnoseInner(int result, const Diagnosis& otherwise) {
  if (result == kBusy) return DatabaseIsBusy().why;
  if (const std::optional<Obstacle> repair = RepairObstacle()) return repair->why;
  const std::optional<Obstacle> database = DatabaseObstacle();
  return database ? database->why : otherwise;
}
