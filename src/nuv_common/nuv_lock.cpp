#include <nuv_common/nuv_lock.h>

pthread_mutex_t g_Mute = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
pthread_mutex_t g_inner_Mute = PTHREAD_MUTEX_INITIALIZER;

namespace {

// Another thread of the parent may hold a mutex for seconds; in the child that thread does not exist.
void RenewInChild() {
  g_Mute = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
  g_inner_Mute = PTHREAD_MUTEX_INITIALIZER;
}

[[maybe_unused]] const int registered = pthread_atfork(nullptr, nullptr, RenewInChild);

}  // namespace
