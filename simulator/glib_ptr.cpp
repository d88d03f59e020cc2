#include "glib_ptr.h"

#include <utility>

namespace simulator {

VariantPtr ChildOf(GVariant* container, gsize position) {
  return VariantPtr(g_variant_get_child_value(container, position));
}

std::string TextOf(GVariant* container, gsize position) {
  return g_variant_get_string(ChildOf(container, position).get(), nullptr);
}

guint After(int milliseconds, std::function<void()> action) {
  using Action = std::function<void()>;
  return g_timeout_add_full(
      G_PRIORITY_DEFAULT, static_cast<guint>(milliseconds),
      [](gpointer data) -> gboolean {
        (*static_cast<Action*>(data))();
        return G_SOURCE_REMOVE;
      },
      new Action(std::move(action)), [](gpointer data) { delete static_cast<Action*>(data); });
}

}  // namespace simulator
