// Tells ThreadSanitizer of the locks of GLib, which is not built for it. Linked in front of GLib, so that GIO's calls
// and ours come here first; the real functions do the work.
#include <dlfcn.h>
#include <glib.h>
#include <sanitizer/tsan_interface.h>

namespace {

template <typename Function>
Function* Real(Function*& slot, const char* name) {
  Function* real = __atomic_load_n(&slot, __ATOMIC_ACQUIRE);
  if (real == nullptr) {
    real = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
    __atomic_store_n(&slot, real, __ATOMIC_RELEASE);
  }
  return real;
}

}  // namespace

// What was done before the lock was released is seen by who gets it next.
#define NUV_TAKES(name, Lock)        \
  extern "C" void name(Lock* lock) { \
    static void (*real)(Lock*);      \
    Real(real, #name)(lock);         \
    __tsan_acquire(lock);            \
  }
#define NUV_TRIES(name, Lock)                       \
  extern "C" gboolean name(Lock* lock) {            \
    static gboolean (*real)(Lock*);                 \
    const gboolean taken = Real(real, #name)(lock); \
    if (taken) __tsan_acquire(lock);                \
    return taken;                                   \
  }
#define NUV_GIVES(name, Lock)        \
  extern "C" void name(Lock* lock) { \
    static void (*real)(Lock*);      \
    __tsan_release(lock);            \
    Real(real, #name)(lock);         \
  }

NUV_TAKES(g_mutex_lock, GMutex)
NUV_TRIES(g_mutex_trylock, GMutex)
NUV_GIVES(g_mutex_unlock, GMutex)
NUV_TAKES(g_rec_mutex_lock, GRecMutex)
NUV_TRIES(g_rec_mutex_trylock, GRecMutex)
NUV_GIVES(g_rec_mutex_unlock, GRecMutex)
NUV_TAKES(g_rw_lock_writer_lock, GRWLock)
NUV_GIVES(g_rw_lock_writer_unlock, GRWLock)
NUV_TAKES(g_rw_lock_reader_lock, GRWLock)
NUV_GIVES(g_rw_lock_reader_unlock, GRWLock)

extern "C" void g_cond_wait(GCond* condition, GMutex* mutex) {
  static void (*real)(GCond*, GMutex*);
  __tsan_release(mutex);
  Real(real, "g_cond_wait")(condition, mutex);
  __tsan_acquire(mutex);
}
