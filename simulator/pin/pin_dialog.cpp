#include "pin/pin_dialog.h"

#include <signal.h>

#include <cstdlib>
#include <cstring>
#include <optional>

#include "glib_ptr.h"
#include "journal.h"
#include "pin/pin_terminal.h"
#include "pin/signal_file.h"
#include "printable.h"

namespace simulator {
namespace {

constexpr const char* kOption = "--pin-dialog";
constexpr const char* kActionNames[] = {"ask", "enter", "cancel", "nothing"};  // in the order of the enumeration
constexpr int kTimeoutMs = 10000;

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

DialogTask ReadTask() {
  DialogTask task;
  const std::string action = Variable("NUV_PIN_ACTION");
  for (const int candidate : {DialogTask::kEnter, DialogTask::kCancel, DialogTask::kNothing}) {
    if (action == kActionNames[candidate]) task.action = static_cast<DialogTask::Action>(candidate);
  }
  task.question = static_cast<unsigned>(std::strtoul(Variable("NUV_PIN_QUESTION").c_str(), nullptr, 10));
  task.app_id = Variable("NUV_PIN_APP_ID");
  task.pin = Variable("NUV_PIN");
  task.delay_ms = std::atoi(Variable("NUV_PIN_DELAY_MS").c_str());
  return task;
}

// Hands the answer back. The reply, or null when it did not arrive.
VariantPtr CallService(const char* method, GVariant* arguments) {
  const VariantPtr owned(g_variant_ref_sink(arguments));
  Error error;
  const ObjectPtr<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, error.out()));
  VariantPtr reply;
  if (bus) {
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    reply.reset(g_dbus_connection_call_sync(bus.get(), "org.kelvo.tv.corvane.server", "/org/kelvo/tv/NuvSimulator",
                                            "org.kelvo.tv.NuvSimulator1", method, owned.get(), nullptr,
                                            G_DBUS_CALL_FLAGS_NO_AUTO_START, kTimeoutMs, nullptr, error.out()));
  }
  if (!reply) Warn("PIN dialog: " + std::string(method) + ": " + error.message());
  return reply;
}

bool Cancel(const DialogTask& task) {
  return CallService("CancelPin", g_variant_new("(u)", task.question)) != nullptr;
}

// Whether the answer was taken, and whether the PIN was the right one.
bool Enter(const DialogTask& task, const std::string& pin, bool* right) {
  const StringPtr typed(g_utf8_make_valid(pin.c_str(), -1));  // a keyboard may send anything
  const VariantPtr reply = CallService("EnterPin", g_variant_new("(us)", task.question, typed.get()));
  gboolean accepted = FALSE;
  if (reply && g_variant_is_of_type(reply.get(), G_VARIANT_TYPE("(b)"))) g_variant_get(reply.get(), "(b)", &accepted);
  *right = accepted != FALSE;
  return reply != nullptr;
}

// The id is whatever a client has sent, and not for a terminal to act upon.
std::string Prompt(const std::string& app_id) {
  return "PIN for " + Printable(app_id) + ": ";
}

bool AskUser(const DialogTask& task, SignalFile& signals) {
  PinTerminal terminal;
  const std::optional<std::string> pin = terminal.Read(Prompt(task.app_id), signals);
  if (!pin) return signals.last() == SIGTERM || Cancel(task);
  bool right = false;
  const bool answered = Enter(task, *pin, &right);
  if (answered && !right) terminal.Write("Wrong PIN.\n");
  return answered;
}

bool AnswerFor(const DialogTask& task, SignalFile& signals) {
  bool right = false;
  switch (task.action) {
    case DialogTask::kAsk:
      return AskUser(task, signals);
    case DialogTask::kEnter:
      return Enter(task, task.pin, &right);
    case DialogTask::kCancel:
      return Cancel(task);
    case DialogTask::kNothing:
      break;
  }
  return true;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> Pack(const DialogTask& task) {
  return {{"NUV_PIN_ACTION", kActionNames[task.action]},
          {"NUV_PIN_QUESTION", std::to_string(task.question)},
          {"NUV_PIN_APP_ID", task.app_id},
          {"NUV_PIN", task.pin},
          {"NUV_PIN_DELAY_MS", std::to_string(task.delay_ms)}};
}

std::vector<std::string> PinDialogCommand() {
  return {"/proc/self/exe", "nuv-simulator", kOption};
}

bool IsPinDialog(int argc, char** argv) {
  return argc == 2 && std::strcmp(argv[1], kOption) == 0;
}

// Stays, once it has answered, until it is told to end.
int RunPinDialog() {
  SignalFile signals;
  const DialogTask task = ReadTask();
  if (task.delay_ms > 0 && signals.Wait(task.delay_ms)) return 0;
  if (!AnswerFor(task, signals)) return EXIT_FAILURE;
  if (signals.last() != SIGTERM) signals.Wait(-1);
  return 0;
}

}  // namespace simulator
