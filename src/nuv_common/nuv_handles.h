// Owners of the GLib handles that the library uses.
#pragma once

#include <gio/gio.h>
#include <nuv_common/nuv_handle.h>

using GVariantHandle = Handle<GVariant, g_variant_unref>;
using GErrorHandle = Handle<GError, g_error_free>;
using GConnectionHandle = Handle<GDBusConnection, g_object_unref>;
using GInvocationHandle = Handle<GDBusMethodInvocation, g_object_unref>;
using GNodeInfoHandle = Handle<GDBusNodeInfo, g_dbus_node_info_unref>;
using GMainContextHandle = Handle<GMainContext, g_main_context_unref>;
using GMainLoopHandle = Handle<GMainLoop, g_main_loop_unref>;
using GTextHandle = Handle<char, g_free>;

// Takes a floating value, or a further reference to another one; null stays null.
inline GVariantHandle OwnVariant(GVariant* value) {
  return GVariantHandle(value == nullptr ? nullptr : g_variant_ref_sink(value));
}

// A further reference to an object that somebody else owns.
inline GConnectionHandle ShareConnection(GDBusConnection* connection) {
  return GConnectionHandle(connection == nullptr ? nullptr : static_cast<GDBusConnection*>(g_object_ref(connection)));
}
