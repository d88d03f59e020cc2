// Who may see the TV: whoever was given the first address, in a browser that asks for this server by its own name.
#pragma once

#include <string>

namespace home {

// 256 bits that nobody can guess, as text.
std::string NewSecret();

// Takes as long wherever the two differ.
bool SameSecret(const std::string& one, const std::string& other);

class Access {
 public:
  // Where the server can be reached: at its address, or at all of this machine's.
  Access(std::string address, bool any_address, unsigned port);

  std::string FirstAddress() const;

  // Whether a request's Host names this server: by its address, which no foreign name server can redirect, or as
  // localhost. A page that was brought here under a name of its own has that name there.
  bool IsHost(const std::string& host) const;
  // Whether the page that asks is this server's own.
  bool IsOrigin(const std::string& origin, const std::string& host) const;

  bool IsToken(const std::string& token) const { return SameSecret(token, token_); }
  // Whether the header names the cookie that a browser got with the first address.
  bool HasCookie(const std::string& header) const;
  std::string SetCookie() const;

 private:
  const std::string address_;
  const bool any_address_;
  const unsigned port_;
  const std::string token_ = NewSecret();
  const std::string cookie_ = NewSecret();
};

}  // namespace home
