// Owners of GLib's handles.
#pragma once

#include <gio/gio.h>

#include <functional>
#include <memory>
#include <utility>

struct GlibRelease {
  void operator()(GDBusConnection* object) const { g_object_unref(object); }
  void operator()(GCancellable* object) const { g_object_unref(object); }
  void operator()(GMainContext* context) const { g_main_context_unref(context); }
  void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
  void operator()(GSource* source) const { g_source_unref(source); }
  void operator()(GVariant* value) const { g_variant_unref(value); }
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(char* text) const { g_free(text); }
};

template <typename T>
using GlibOwner = std::unique_ptr<T, GlibRelease>;

using ConnectionOwner = GlibOwner<GDBusConnection>;
using CancellableOwner = GlibOwner<GCancellable>;
using VariantOwner = GlibOwner<GVariant>;
using TextOwner = GlibOwner<char>;
using ErrorOwner = GlibOwner<GError>;

// Has the loop of the default main context call the function. For any thread; never called where the loop has ended.
inline void InMainLoop(std::function<void()> action) {
  g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer data) -> gboolean {
        (*static_cast<std::function<void()>*>(data))();
        return G_SOURCE_REMOVE;
      },
      new std::function<void()>(std::move(action)),
      [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
}

// A one-shot timer of the default main context.
class Timer {
 public:
  Timer() = default;
  ~Timer() { Stop(); }
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  bool Running() const { return id_ != 0; }
  void Start(unsigned milliseconds, std::function<void()> action) {
    Stop();
    action_ = std::move(action);
    id_ = g_timeout_add(milliseconds, Fire, this);
  }
  void Stop() {
    if (id_ != 0) g_source_remove(id_);
    id_ = 0;
  }

 private:
  static gboolean Fire(gpointer timer) {
    auto* self = static_cast<Timer*>(timer);
    self->id_ = 0;
    self->action_();
    return G_SOURCE_REMOVE;
  }

  guint id_ = 0;
  std::function<void()> action_;
};
