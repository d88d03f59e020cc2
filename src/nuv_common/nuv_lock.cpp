#include <nuv_common/nuv_lock.h>

pthread_mutex_t g_Mute = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

namespace {

// Another thread of the parent may hold the mutex for seconds; in the child that thread does not exist.
void RenewInChild() {
  g_Mute = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
}

[[maybe_unused]] const int registered = pthread_atfork(nullptr, nullptr, RenewInChild);

}  // namespace
