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

// A context is locked when a source is attached and while it is run.
namespace {
GMainContext* OrDefault(GMainContext* context) {
  return context == nullptr ? g_main_context_default() : context;
}
}  // namespace

extern "C" guint g_source_attach(GSource* source, GMainContext* context) {
  static guint (*real)(GSource*, GMainContext*);
  __tsan_release(OrDefault(context));
  return Real(real, "g_source_attach")(source, context);
}

extern "C" void g_main_context_invoke(GMainContext* context, GSourceFunc function, gpointer data) {
  static void (*real)(GMainContext*, GSourceFunc, gpointer);
  __tsan_release(OrDefault(context));
  Real(real, "g_main_context_invoke")(context, function, data);
}

extern "C" gboolean g_main_context_iteration(GMainContext* context, gboolean may_block) {
  static gboolean (*real)(GMainContext*, gboolean);
  const gboolean dispatched = Real(real, "g_main_context_iteration")(context, may_block);
  __tsan_acquire(OrDefault(context));
  return dispatched;
}

extern "C" void g_main_loop_run(GMainLoop* loop) {
  static void (*real)(GMainLoop*);
  Real(real, "g_main_loop_run")(loop);
  __tsan_acquire(g_main_loop_get_context(loop));
}
