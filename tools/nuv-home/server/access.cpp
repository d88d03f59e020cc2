#include "server/access.h"

#include <gio/gio.h>
#include <sys/random.h>

#include <cerrno>
#include <sstream>
#include <system_error>
#include <utility>

namespace home {
namespace {

constexpr std::size_t kSecretBytes = 32;

bool IsIpAddress(const std::string& text) {
  return g_hostname_is_ip_address(text.c_str()) != FALSE;
}

std::string InUrl(const std::string& address) {
  return address.find(':') == std::string::npos ? address : "[" + address + "]";
}

}  // namespace

std::string NewSecret() {
  unsigned char bytes[kSecretBytes];
  std::size_t filled = 0;
  while (filled < sizeof bytes) {
    const ssize_t size = getrandom(bytes + filled, sizeof bytes - filled, 0);
    if (size < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "no random numbers");
    if (size > 0) filled += static_cast<std::size_t>(size);
  }
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : bytes) {
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 15U];
  }
  return text;
}

bool SameSecret(const std::string& one, const std::string& other) {
  if (one.size() != other.size()) return false;
  unsigned different = 0;
  for (std::size_t i = 0; i < one.size(); ++i) different |= static_cast<unsigned char>(one[i] ^ other[i]);
  return different == 0;
}

Access::Access(std::string address, bool any_address, unsigned port)
    : address_(std::move(address)), any_address_(any_address), port_(port) {}

std::string Access::FirstAddress() const {
  const char* own = address_.find(':') == std::string::npos ? "127.0.0.1" : "::1";
  return "http://" + InUrl(any_address_ ? own : address_) + ":" + std::to_string(port_) + "/?token=" + token_;
}

bool Access::IsHost(const std::string& host) const {
  const std::string port = ":" + std::to_string(port_);
  if (host.size() <= port.size() || host.compare(host.size() - port.size(), port.size(), port) != 0) return false;
  std::string name = host.substr(0, host.size() - port.size());
  if (name == "localhost") return true;
  if (name.size() > 2 && name.front() == '[' && name.back() == ']') name = name.substr(1, name.size() - 2);
  return any_address_ ? IsIpAddress(name) : name == address_;
}

bool Access::IsOrigin(const std::string& origin, const std::string& host) const {
  return IsHost(host) && origin == "http://" + host;
}

// Browsers keep one jar for all ports of an address.
std::string Access::SetCookie() const {
  return "nuv_home_" + std::to_string(port_) + "=" + cookie_ + "; Path=/; SameSite=Strict; HttpOnly";
}

bool Access::HasCookie(const std::string& header) const {
  const std::string name = "nuv_home_" + std::to_string(port_) + "=";
  std::istringstream cookies(header);
  for (std::string cookie; std::getline(cookies, cookie, ';');) {
    const std::size_t begin = cookie.find_first_not_of(' ');
    if (begin == std::string::npos || cookie.compare(begin, name.size(), name) != 0) continue;
    if (SameSecret(cookie.substr(begin + name.size()), cookie_)) return true;
  }
  return false;
}

}  // namespace home
