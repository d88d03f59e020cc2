#include "replay/replay_text.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <utility>

#include "bus/bus_daemon.h"
#include "glib_handles.h"
#include "recording/message.h"
#include "recording/roles.h"
#include "report/text.h"
#include "service/meanings.h"
#include "service/method_table.h"

namespace {

using recording::TextOf;

constexpr size_t kLongestCall = 160;

// Values of replies that are others in each run: their path, with a place for each container and "*" for any element.
struct Uncounted {
  const char* method;
  const char* path;
};
constexpr Uncounted kUncounted[] = {
    {"LaunchRequest", ".0"},    // process id
    {"RunningApps", ".0.*.1"},  // process id
    {"Payloads", ".0.*.0"},     // process id
};

constexpr char kLaunchMethod[] = "launch_app";
constexpr char kPlainLaunchMethod[] = "LaunchRequest";
constexpr const char* kDialogMethods[] = {"EnterPin", "CancelPin"};

std::string MethodOf(GDBusMessage* call) {
  return TextOf(g_dbus_message_get_member(call));
}

bool IsUncounted(const std::string& method, const std::string& path) {
  for (const Uncounted& row : kUncounted) {
    if (method == row.method && path == row.path) return true;
  }
  return false;
}

std::string Words(GVariant* value, const std::string& method, const std::string& path) {
  if (IsUncounted(method, path)) return "*";
  if (g_variant_is_container(value) == FALSE || g_variant_is_of_type(value, G_VARIANT_TYPE_VARIANT) != FALSE) {
    return TextOwner(g_variant_print(value, TRUE)).get();
  }
  const bool array = g_variant_is_of_type(value, G_VARIANT_TYPE_ARRAY) != FALSE;
  std::string words = array ? "[" : "(";
  for (gsize i = 0; i < g_variant_n_children(value); ++i) {
    const VariantOwner child(g_variant_get_child_value(value, i));
    if (i != 0) words += ", ";
    words += Words(child.get(), method, path + "." + (array ? "*" : std::to_string(i)));
  }
  return words + (array ? "]" : ")");
}

std::string Body(GDBusMessage* message, const std::string& method) {
  GVariant* body = g_dbus_message_get_body(message);
  return body == nullptr ? "()" : Words(body, method, "");
}

std::string Named(int number) {
  const Meaning* meaning = FindMeaning(number);
  return std::to_string(number) + (meaning == nullptr ? "" : std::string(" (") + meaning->name + ")");
}

VariantOwner ArgumentAt(GDBusMessage* call, gsize position, const char* type) {
  GVariant* body = g_dbus_message_get_body(call);
  if (body == nullptr || g_variant_n_children(body) <= position) return nullptr;
  VariantOwner argument(g_variant_get_child_value(body, position));
  return g_variant_is_of_type(argument.get(), G_VARIANT_TYPE(type)) != FALSE ? std::move(argument) : nullptr;
}

std::string TextAt(GDBusMessage* call, gsize position) {
  const VariantOwner text = ArgumentAt(call, position, "s");
  return text == nullptr ? "" : g_variant_get_string(text.get(), nullptr);
}

// A request for the PIN dialog has these in its extra data: the client's process id, after which its object is called,
// and its number.
ResultAddress AddressInExtraData(GVariant* pairs) {
  ResultAddress address;
  for (gsize i = 0; i < g_variant_n_children(pairs); ++i) {
    const char* key = nullptr;
    const char* value = nullptr;
    g_variant_get_child(pairs, i, "(&s&s)", &key, &value);
    if (std::strcmp(key, "Pid") == 0) address.object_name = std::string("obj") + value;
    if (std::strcmp(key, "Index") == 0) address.event_index = static_cast<int>(g_ascii_strtoll(value, nullptr, 10));
  }
  return address;
}

}  // namespace

std::string CallInWords(GDBusMessage* call) {
  const std::string method = MethodOf(call);
  const Method* known = FindMethod(method, TextOf(g_dbus_message_get_signature(call)));
  const auto app = known != nullptr ? AppArgument(*known) : std::nullopt;
  if (app) return Shortened(method + " app=\"" + TextAt(call, *app) + "\"", kLongestCall);
  return Shortened(method + " " + Body(call, ""), kLongestCall);
}

// What an error of the bus says depends on the bus and on what is installed.
std::string AnswerInWords(const std::string& method, GDBusMessage* answer) {
  const char* error = g_dbus_message_get_error_name(answer);
  if (error == nullptr) return "reply " + Body(answer, method);
  if (TextOf(g_dbus_message_get_sender(answer)) == kBusName) return std::string("error ") + error + " of the bus";
  return std::string("error ") + error + " " + Body(answer, method);
}

std::string ResultInWords(GDBusMessage* result) {
  GVariant* body = recording::ResultIn(result);
  if (body == nullptr) return "result " + MethodOf(result) + " " + Body(result, "");
  int thread = 0;
  int status = 0;
  int event = 0;
  int data = 0;
  int index = 0;
  int shape = 0;
  const char* app = nullptr;
  const char* method = nullptr;
  g_variant_get(body, "(i&siiii&si)", &thread, &app, &status, &event, &data, &index, &method, &shape);
  std::string words = "result app=\"" + std::string(app) + "\"";
  words.append(" event=").append(Named(event)).append(" result=").append(Named(status));
  words.append(" data=").append(std::to_string(data)).append(" index=").append(std::to_string(index));
  words.append(" method=\"").append(method).append("\" cbtype=").append(std::to_string(shape));
  return words.append(" thread=").append(std::to_string(thread));
}

int EventIndexOf(GDBusMessage* result) {
  GVariant* body = recording::ResultIn(result);
  if (body == nullptr) return 0;
  int index = 0;
  g_variant_get_child(body, 5, "i", &index);
  return index;
}

std::optional<ResultAddress> ResultAddressIn(GDBusMessage* call) {
  const std::string method = MethodOf(call);
  ResultAddress address;
  if (method == kLaunchMethod) {
    const VariantOwner index = ArgumentAt(call, 9, "i");
    address = {TextAt(call, 0), index == nullptr ? 0 : g_variant_get_int32(index.get())};
  } else if (const VariantOwner pairs = ArgumentAt(call, 3, "a(ss)");
             method == kPlainLaunchMethod && pairs != nullptr) {
    address = AddressInExtraData(pairs.get());
  }
  return address.object_name.empty() ? std::nullopt : std::optional<ResultAddress>(address);
}

bool IsFromPinDialog(GDBusMessage* call) {
  const std::string method = MethodOf(call);
  return std::any_of(std::begin(kDialogMethods), std::end(kDialogMethods),
                     [&](const char* name) { return method == name; });
}
