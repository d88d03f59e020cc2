// Tells ThreadSanitizer of the locks and the sources of GLib, which is not built for it. Linked in front of GLib, so
// that calls of GIO and of ours come here first; the real functions do the work.
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

// Whoever takes a lock sees what was done before it was released.
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

// GLib locks a context while it attaches a source and while it runs the context: the source's callback sees what was
// done before the source was attached, and whoever ran a loop sees what was done before the loop ended. The callbacks
// of idle and timeout sources, which take one argument, are run through a Handoff for that.
namespace {

class Handoff {
 public:
  Handoff(GSourceFunc function, gpointer data, GDestroyNotify notify, GSource* source)
      : function_(function), data_(data), notify_(notify), source_(source) {
    __tsan_release(this);
  }
  static gboolean Run(gpointer handoff) {
    const auto* self = static_cast<Handoff*>(handoff);
    self->Acquire();
    return self->function_(self->data_);
  }
  static void Destroy(gpointer handoff) {
    const auto* self = static_cast<Handoff*>(handoff);
    self->Acquire();
    if (self->notify_ != nullptr) self->notify_(self->data_);
    delete self;
  }

 private:
  void Acquire() const {
    __tsan_acquire(const_cast<Handoff*>(this));
    if (source_ != nullptr) __tsan_acquire(source_);
  }

  GSourceFunc function_;
  gpointer data_;
  GDestroyNotify notify_;
  GSource* source_;  // where it is attached later
};

GMainContext* OrDefault(GMainContext* context) {
  return context == nullptr ? g_main_context_default() : context;
}

}  // namespace

extern "C" void g_source_set_callback(GSource* source, GSourceFunc function, gpointer data, GDestroyNotify notify) {
  static void (*real)(GSource*, GSourceFunc, gpointer, GDestroyNotify);
  const bool takes_one_argument = source->source_funcs == &g_idle_funcs || source->source_funcs == &g_timeout_funcs;
  if (takes_one_argument && function != nullptr) {
    Real(real, "g_source_set_callback")(source, Handoff::Run, new Handoff(function, data, notify, source),
                                        Handoff::Destroy);
  } else {
    Real(real, "g_source_set_callback")(source, function, data, notify);
  }
}

extern "C" guint g_source_attach(GSource* source, GMainContext* context) {
  static guint (*real)(GSource*, GMainContext*);
  __tsan_release(source);
  __tsan_release(OrDefault(context));
  return Real(real, "g_source_attach")(source, context);
}

extern "C" guint g_idle_add_full(gint priority, GSourceFunc function, gpointer data, GDestroyNotify notify) {
  static guint (*real)(gint, GSourceFunc, gpointer, GDestroyNotify);
  return Real(real, "g_idle_add_full")(priority, Handoff::Run, new Handoff(function, data, notify, nullptr),
                                       Handoff::Destroy);
}

extern "C" guint g_idle_add(GSourceFunc function, gpointer data) {
  return g_idle_add_full(G_PRIORITY_DEFAULT_IDLE, function, data, nullptr);
}

extern "C" guint g_timeout_add_full(gint priority, guint interval, GSourceFunc function, gpointer data,
                                    GDestroyNotify notify) {
  static guint (*real)(gint, guint, GSourceFunc, gpointer, GDestroyNotify);
  return Real(real, "g_timeout_add_full")(priority, interval, Handoff::Run,
                                          new Handoff(function, data, notify, nullptr), Handoff::Destroy);
}

extern "C" guint g_timeout_add(guint interval, GSourceFunc function, gpointer data) {
  return g_timeout_add_full(G_PRIORITY_DEFAULT, interval, function, data, nullptr);
}

extern "C" void g_main_context_invoke_full(GMainContext* context, gint priority, GSourceFunc function, gpointer data,
                                           GDestroyNotify notify) {
  static void (*real)(GMainContext*, gint, GSourceFunc, gpointer, GDestroyNotify);
  __tsan_release(OrDefault(context));
  Real(real, "g_main_context_invoke_full")(context, priority, Handoff::Run,
                                           new Handoff(function, data, notify, nullptr), Handoff::Destroy);
}

extern "C" void g_main_context_invoke(GMainContext* context, GSourceFunc function, gpointer data) {
  g_main_context_invoke_full(context, G_PRIORITY_DEFAULT, function, data, nullptr);
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
