#include <nuv_common/nuv_lock.h>

NamedMutex g_Mute(kRecursiveMutex);
NamedMutex g_inner_Mute;

namespace {

// Another thread of the parent may hold a mutex for seconds; in the child that thread does not exist.
void RenewInChild() {
  g_Mute.Renew(kRecursiveMutex);
  g_inner_Mute.Renew(kPlainMutex);
}

[[maybe_unused]] const int registered = pthread_atfork(nullptr, nullptr, RenewInChild);

}  // namespace
