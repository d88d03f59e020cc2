#include "nuv_launcher_api/nuv_launch_callbacks.h"

#include <nuv_common/nuv_lock.h>
#include <pthread.h>

#include <map>

namespace {

// Callers and listeners use the table at the same time, the listeners even while the process exits.
struct LaunchTable {
  LeafMutex mutex;
  std::map<int32_t, nuv_launcher_user_callback> launcher_cb_map NUV_GUARDED_BY(mutex);
  LaunchEvents launcher_event_key NUV_GUARDED_BY(mutex);
};

// Made when the library is loaded: a child forked while another thread was making it would wait for that thread for
// ever.
NeverDestroyed<LaunchTable> processTable;

LaunchTable& Table() {
  return *processTable;
}

// A child of fork() finds the table whole and its lock free.
void LockTable() NUV_UNANALYSED {
  Table().mutex.lock();
}
void UnlockTable() NUV_UNANALYSED {
  Table().mutex.unlock();
}

[[maybe_unused]] const int tableIsWholeInForks = pthread_atfork(LockTable, UnlockTable, UnlockTable);

}  // namespace

int32_t TakeLaunchEvent() {
  LaunchTable& table = Table();
  const LeafLock lock(table.mutex);
  return table.launcher_event_key.Take();
}

void KeepLaunchCallback(int32_t event, const nuv_launcher_user_callback& callback) {
  LaunchTable& table = Table();
  const LeafLock lock(table.mutex);
  table.launcher_cb_map[event] = callback;
}

void ForgetLaunchCallback(int32_t event) {
  LaunchTable& table = Table();
  const LeafLock lock(table.mutex);
  table.launcher_cb_map.erase(event);
}

nuv_launcher_user_callback FindLaunchCallback(int32_t event) {
  LaunchTable& table = Table();
  const LeafLock lock(table.mutex);
  return table.launcher_cb_map[event];  // an unknown number gets an entry, which stays: later events find it
}
