// Owners for what GLib hands out.
#pragma once

#include <gio/gio.h>

#include <functional>
#include <memory>
#include <string>

namespace simulator {

struct ObjectUnref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T>
using ObjectPtr = std::unique_ptr<T, ObjectUnref>;

template <typename T>
ObjectPtr<T> ShareObject(T* object) {
  return ObjectPtr<T>(static_cast<T*>(g_object_ref(object)));
}

struct VariantUnref {
  void operator()(GVariant* variant) const { g_variant_unref(variant); }
};
using VariantPtr = std::unique_ptr<GVariant, VariantUnref>;

VariantPtr ChildOf(GVariant* container, gsize position);
std::string TextOf(GVariant* container, gsize position);  // of a child that is one

struct StringFree {
  void operator()(char* text) const { g_free(text); }
};
using StringPtr = std::unique_ptr<char, StringFree>;

// An error as GLib's functions want it: Error error; f(..., error.out()); if (error) ...
class Error {
 public:
  Error() = default;
  ~Error() { g_clear_error(&error_); }
  Error(const Error&) = delete;
  Error& operator=(const Error&) = delete;

  GError** out() { return &error_; }
  const GError* get() const { return error_; }
  explicit operator bool() const { return error_ != nullptr; }
  std::string message() const { return error_ == nullptr ? "" : error_->message; }

 private:
  GError* error_ = nullptr;
};

// Runs the action once on the main loop, after the time. The result is the source to remove when it is no longer
// wanted.
guint After(int milliseconds, std::function<void()> action);

}  // namespace simulator
