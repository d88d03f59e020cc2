#include "monitor/wire.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "bus/system_bus.h"

namespace {

constexpr char kBusName[] = "org.freedesktop.DBus";
constexpr char kBusPath[] = "/org/freedesktop/DBus";
constexpr std::size_t kFixedHeader = 16;
constexpr std::size_t kReceiveAtOnce = std::size_t{64} << 10;
constexpr std::size_t kLongestAnswer = 4096;  // of the authentication

// As the authentication sends names: each byte as two digits.
std::string Hex(const std::string& text) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  hex.reserve(2 * text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    hex += kDigits[byte >> 4U];
    hex += kDigits[byte & 15U];
  }
  return hex;
}

int MillisecondsTo(const Deadline& deadline) {
  if (!deadline) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - std::chrono::steady_clock::now()).count();
  return static_cast<int>(std::clamp<decltype(left)>(left, 0, 1000000));
}

std::string BytesOf(GDBusMessage* message) {
  gsize size = 0;
  const TextOwner blob(
      reinterpret_cast<char*>(g_dbus_message_to_blob(message, &size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr)));
  return blob != nullptr ? std::string(blob.get(), size) : "";
}

}  // namespace

Stop::Stop() : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (event_ < 0) throw std::system_error(errno, std::generic_category());
}

Stop::~Stop() {
  close(event_);
}

void Stop::Set() const {
  eventfd_write(event_, 1);
}

bool Stop::IsSet() const {
  pollfd event = {event_, POLLIN, 0};
  return poll(&event, 1, 0) > 0;
}

// The socket is the stream's, which closes it.
Wire::~Wire() = default;

Wire::Got Wire::Connect(const Deadline& deadline) {
  const Got opened = Open(deadline);
  if (opened != Got::kMessage) return opened;
  const Got authenticated = Authenticate(deadline);
  if (authenticated != Got::kMessage) return authenticated;
  WireMessage hello;
  return Call(kBusName, "Hello", nullptr, deadline, hello);
}

Wire::Got Wire::Open(const Deadline& deadline) {
  const TextOwner address = SystemBusAddress();
  if (address == nullptr) return Got::kClosed;
  GError* failed = nullptr;
  stream_.reset(g_dbus_address_get_stream_sync(address.get(), nullptr, nullptr, &failed));
  const ErrorOwner error(failed);
  if (error != nullptr) problem_ = error->message;
  if (stream_ == nullptr || !G_IS_SOCKET_CONNECTION(stream_.get())) return Got::kClosed;
  GSocket* socket = g_socket_connection_get_socket(G_SOCKET_CONNECTION(stream_.get()));
  g_socket_set_blocking(socket, FALSE);
  socket_ = g_socket_get_fd(socket);
  return Wait(POLLOUT, deadline);
}

Wire::Got Wire::Authenticate(const Deadline& deadline) {
  std::string answer;
  const std::string greeting = std::string(1, '\0') + "AUTH EXTERNAL " + Hex(std::to_string(getuid())) + "\r\n";
  Got got = SendAll(greeting, deadline);
  if (got == Got::kMessage) got = ReceiveLine(deadline, answer);
  if (got != Got::kMessage) return got;
  if (answer.rfind("OK", 0) != 0) {
    problem_ = "the bus takes no authentication by user: " + answer;
    return Got::kClosed;
  }
  return SendAll("BEGIN\r\n", deadline);
}

Wire::Got Wire::Call(const char* interface, const char* method, GVariant* arguments, const Deadline& deadline,
                     WireMessage& reply) {
  const recording::MessageOwner call(g_dbus_message_new_method_call(kBusName, kBusPath, interface, method));
  g_dbus_message_set_serial(call.get(), ++serial_);
  if (arguments != nullptr) g_dbus_message_set_body(call.get(), arguments);
  Got got = SendAll(BytesOf(call.get()), deadline);
  while (got == Got::kMessage) {
    got = Next(deadline, reply);
    if (got == Got::kMessage && g_dbus_message_get_reply_serial(reply.message.get()) == serial_) break;
  }
  return got;
}

Wire::Got Wire::Next(const Deadline& deadline, WireMessage& message) {
  for (;;) {
    const std::size_t there = received_.size() - begin_;
    if (there >= kFixedHeader) {
      const gssize size = g_dbus_message_bytes_needed(received_.data() + begin_, there, nullptr);
      if (size < 0) return Got::kClosed;
      if (there >= static_cast<std::size_t>(size)) {
        const auto first = received_.begin() + static_cast<std::ptrdiff_t>(begin_);
        message.bytes.assign(first, first + size);
        begin_ += static_cast<std::size_t>(size);
        message.message = recording::MessageOf(message.bytes);
        return message.message != nullptr ? Got::kMessage : Got::kClosed;
      }
    }
    const Got got = Receive(deadline);
    if (got != Got::kMessage) return got;
  }
}

// Whatever there is.
Wire::Got Wire::Receive(const Deadline& deadline) {
  const Got ready = Wait(POLLIN, deadline);
  if (ready != Got::kMessage) return ready;
  received_.erase(received_.begin(), received_.begin() + static_cast<std::ptrdiff_t>(begin_));
  begin_ = 0;
  const std::size_t before = received_.size();
  received_.resize(before + kReceiveAtOnce);
  const ssize_t got = recv(socket_, received_.data() + before, kReceiveAtOnce, 0);
  received_.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  if (got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR))) return Got::kMessage;
  return Got::kClosed;
}

// kMessage: what was waited for is there.
Wire::Got Wire::Wait(short events, const Deadline& deadline) const {
  for (;;) {
    pollfd sources[] = {{socket_, events, 0}, {ignore_stop_ ? -1 : stop_.number(), POLLIN, 0}};
    const int ready = poll(sources, 2, MillisecondsTo(deadline));
    if (ready < 0 && errno != EINTR) return Got::kClosed;
    if (ready > 0 && sources[1].revents != 0) return Got::kStopped;
    if (ready > 0) return Got::kMessage;
    if (ready == 0 && MillisecondsTo(deadline) == 0) return Got::kTimeOver;
  }
}

Wire::Got Wire::SendAll(const std::string& bytes, const Deadline& deadline) const {
  for (std::size_t done = 0; done < bytes.size();) {
    const Got ready = Wait(POLLOUT, deadline);
    if (ready != Got::kMessage) return ready;
    const ssize_t sent = send(socket_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
    if (sent < 0 && errno != EAGAIN && errno != EINTR) return Got::kClosed;
    done += static_cast<std::size_t>(std::max<ssize_t>(sent, 0));
  }
  return Got::kMessage;
}

Wire::Got Wire::ReceiveLine(const Deadline& deadline, std::string& line) {
  for (;;) {
    const auto first = received_.begin() + static_cast<std::ptrdiff_t>(begin_);
    const auto end = std::find(first, received_.end(), '\n');
    if (end != received_.end()) {
      line.assign(first, end);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      begin_ = static_cast<std::size_t>(end - received_.begin()) + 1;
      return Got::kMessage;
    }
    if (received_.size() - begin_ > kLongestAnswer) return Got::kClosed;
    const Got got = Receive(deadline);
    if (got != Got::kMessage) return got;
  }
}
