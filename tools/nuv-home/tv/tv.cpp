#include "tv/tv.h"

#include <utility>

#include "service/simulator_state.h"
#include "service/watch_lines.h"

namespace home {
namespace {

constexpr unsigned kRetryMs = 500;
constexpr int kCallLimitMs = 5000;

struct PendingCall {
  Tv::Replied replied;
};

void OnReply(GObject* bus, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<PendingCall> call(static_cast<PendingCall*>(data));
  GError* failed = nullptr;
  const VariantOwner reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &failed));
  const ErrorOwner error(failed);
  if (error != nullptr) g_dbus_error_strip_remote_error(error.get());
  call->replied(reply.get(), error != nullptr ? error->message : "");
}

}  // namespace

Tv::Tv(Listener listener) : listener_(std::move(listener)) {
  Connect();
}

void Tv::Connect() {
  LiveBus::Listener link;
  link.on_connected = [this](GDBusConnection* bus) { OnConnected(bus); };
  // The link is in the middle of telling: it goes a moment later.
  link.on_unreachable = [this] { InMainLoop([this] { OnBusGone(); }); };
  link.on_closed = [this] { InMainLoop([this] { OnBusGone(); }); };
  link_ = std::make_unique<LiveBus>(std::move(link));
}

void Tv::OnConnected(GDBusConnection* bus) {
  bus_ = bus;
  signals_ = std::make_unique<SignalWatch>(
      bus, SignalSource{kSimulatorName, kSimulatorPath, kSimulatorInterface},
      [this](const char* signal, GVariant* arguments) { listener_.on_signal(signal, arguments); });
  service_watch_ =
      std::make_unique<NameWatch>(bus, ServiceName(), [this](const std::string& owner) { OnOwner(owner); });
  simulator_watch_ =
      std::make_unique<NameWatch>(bus, kSimulatorName, [this](const std::string& owner) { OnSimulatorOwner(owner); });
  Tell();
}

void Tv::OnBusGone() {
  const bool had_bus = bus_ != nullptr;
  service_watch_.reset();
  simulator_watch_.reset();
  signals_.reset();
  bus_ = nullptr;
  link_.reset();
  service_ = false;
  ++owners_;
  if (std::exchange(simulator_, false)) listener_.on_simulator(false);
  if (had_bus) listener_.on_bus_gone();
  Tell();
  retry_.Start(kRetryMs, [this] { Connect(); });
}

void Tv::OnOwner(const std::string& owner) {
  ++owners_;
  service_ = !owner.empty();
  if (!service_ && std::exchange(simulator_, false)) listener_.on_simulator(false);
  if (!service_) listener_.on_service_gone();
  Tell();
  if (service_) AskWhatItIs();
}

// A simulator gets its two names one after the other, and can be asked by this one.
void Tv::OnSimulatorOwner(const std::string& owner) {
  ++owners_;
  if (service_ && !owner.empty()) AskWhatItIs();
}

// On connections of its own, away from the main loop.
void Tv::AskWhatItIs() {
  lane_.Do([this, owners = owners_] {
    const bool simulator = AskSimulator().has_value();
    const std::string warning = WhyOtherDirectory();
    InMainLoop([this, owners, simulator, warning] {
      if (owners != owners_) return;
      warning_ = warning;
      const bool was = std::exchange(simulator_, simulator);
      if (was != simulator_) listener_.on_simulator(simulator_);
      Tell();
    });
  });
}

Json Tv::State() const {
  return {{"bus", bus_ != nullptr}, {"service", service_}, {"simulator", simulator_}, {"warning", warning_}};
}

void Tv::Tell() {
  const Json state = State();
  if (state == told_) return;
  told_ = state;
  listener_.on_state(state);
}

void Tv::CallSimulator(const char* method, GVariant* arguments, Replied replied) const {
  const VariantOwner owned(arguments != nullptr ? g_variant_ref_sink(arguments) : nullptr);
  if (bus_ == nullptr) return replied(nullptr, "the system bus cannot be reached");
  g_dbus_connection_call(bus_, kSimulatorName, kSimulatorPath, kSimulatorInterface, method, owned.get(), nullptr,
                         G_DBUS_CALL_FLAGS_NO_AUTO_START, kCallLimitMs, nullptr, OnReply,
                         new PendingCall{std::move(replied)});
}

}  // namespace home
