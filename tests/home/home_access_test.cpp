// Who may see the TV, decided without a browser.
#include <gtest/gtest.h>

#include <set>

#include "server/access.h"
#include "server/listener.h"

namespace home {
namespace {

constexpr unsigned kPort = 8080;

std::string TokenOf(const Access& access) {
  const std::string address = access.FirstAddress();
  return address.substr(address.find("token=") + 6);
}

std::string CookieOf(const Access& access) {
  const std::string set = access.SetCookie();
  return set.substr(0, set.find(';'));
}

TEST(HomeAccess, EachSecretIsAnother) {
  std::set<std::string> secrets;
  for (int i = 0; i < 100; ++i) secrets.insert(NewSecret());
  EXPECT_EQ(secrets.size(), 100U);
  for (const std::string& secret : secrets) EXPECT_EQ(secret.size(), 64U);
}

TEST(HomeAccess, OnlyTheWholeTokenCounts) {
  const Access access("127.0.0.1", false, kPort);
  const std::string token = TokenOf(access);
  EXPECT_TRUE(access.IsToken(token));
  EXPECT_FALSE(access.IsToken(""));
  EXPECT_FALSE(access.IsToken(token.substr(1)));
  EXPECT_FALSE(access.IsToken(token + "0"));
  EXPECT_FALSE(Access("127.0.0.1", false, kPort).IsToken(token));
}

TEST(HomeAccess, TheCookieIsFoundAmongOthers) {
  const Access access("127.0.0.1", false, kPort);
  const std::string cookie = CookieOf(access);
  EXPECT_TRUE(access.HasCookie(cookie));
  EXPECT_TRUE(access.HasCookie("other=1; " + cookie + "; more=2"));
  EXPECT_FALSE(access.HasCookie(""));
  EXPECT_FALSE(access.HasCookie("x" + cookie));
  EXPECT_FALSE(access.HasCookie(cookie.substr(0, cookie.size() - 1)));
  EXPECT_FALSE(access.HasCookie("nuv_home_8080=" + TokenOf(access)));
}

TEST(HomeAccess, TheCookieStaysWithItsSiteAndOutOfScripts) {
  const std::string set = Access("127.0.0.1", false, kPort).SetCookie();
  EXPECT_NE(set.find("; SameSite=Strict"), std::string::npos);
  EXPECT_NE(set.find("; HttpOnly"), std::string::npos);
}

TEST(HomeAccess, NoForeignNameIsItsHost) {
  const Access access("127.0.0.1", false, kPort);
  EXPECT_TRUE(access.IsHost("127.0.0.1:8080"));
  EXPECT_TRUE(access.IsHost("localhost:8080"));
  for (const char* host : {"", "127.0.0.1", "127.0.0.1:80", "127.0.0.2:8080", "tv.example:8080",
                           "localhost.example:8080", "127.0.0.1.example:8080", ":8080", "[::1]:8080"}) {
    EXPECT_FALSE(access.IsHost(host)) << host;
  }
}

TEST(HomeAccess, AtAllAddressesAnyNumberIsItsHostAndNoNameIs) {
  const Access access("0.0.0.0", true, kPort);
  EXPECT_TRUE(access.IsHost("192.168.1.7:8080"));
  EXPECT_TRUE(access.IsHost("[fe80::1]:8080"));
  EXPECT_FALSE(access.IsHost("tv.example:8080"));
  EXPECT_EQ(access.FirstAddress().rfind("http://127.0.0.1:8080/?token=", 0), 0U);
}

TEST(HomeAccess, TheOriginIsTheHostsOwn) {
  const Access access("::1", false, kPort);
  EXPECT_EQ(access.FirstAddress().rfind("http://[::1]:8080/?token=", 0), 0U);
  EXPECT_TRUE(access.IsOrigin("http://[::1]:8080", "[::1]:8080"));
  EXPECT_FALSE(access.IsOrigin("http://localhost:8080", "[::1]:8080"));
  EXPECT_FALSE(access.IsOrigin("https://[::1]:8080", "[::1]:8080"));
  EXPECT_FALSE(access.IsOrigin("http://tv.example:8080", "tv.example:8080"));
  EXPECT_FALSE(access.IsOrigin("", "[::1]:8080"));
  EXPECT_FALSE(access.IsOrigin("null", "[::1]:8080"));
}

TEST(HomeEndpoint, IsAnAddressInNumbersAndAPort) {
  EXPECT_EQ(ParseEndpoint("127.0.0.1:80").port, 80U);
  EXPECT_EQ(ParseEndpoint("localhost:0").address, "127.0.0.1");
  EXPECT_EQ(ParseEndpoint("[::1]:65535").address, "::1");
  EXPECT_TRUE(ParseEndpoint("127.9.9.9:1").loopback);
  EXPECT_FALSE(ParseEndpoint("192.168.1.7:1").loopback);
  EXPECT_TRUE(ParseEndpoint("0.0.0.0:1").any);
  EXPECT_FALSE(ParseEndpoint("0.0.0.0:1").loopback);
  for (const char* wrong : {"", "80", "127.0.0.1", "127.0.0.1:", "127.0.0.1:x", "127.0.0.1:65536", "127.0.0.1:-1",
                            "::1:80", "[127.0.0.1]:80", "tv.example:80", ":80", "127.0.0.1:999999999999999"}) {
    EXPECT_THROW(ParseEndpoint(wrong), ListenError) << wrong;
  }
}

}  // namespace
}  // namespace home
