#include "raw_reply.h"

namespace simulator {

void SendRaw(GDBusMethodInvocation* invocation, GDBusMessage* reply) {
  GDBusMessage* call = g_dbus_method_invocation_get_message(invocation);
  if ((g_dbus_message_get_flags(call) & G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED) == 0) {
    g_dbus_connection_send_message(g_dbus_method_invocation_get_connection(invocation), reply,
                                   G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
  }
  g_object_unref(invocation);
}

}  // namespace simulator
