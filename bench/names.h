// The names on the bus, as the plain calls and the service of the benchmarks write them.
#pragma once

#include <string>

namespace bench {

constexpr const char* kServiceName = "org.kelvo.tv.litecorvane.server";
constexpr const char* kServicePath = "/org/kelvo/tv/litecorvane/server";
constexpr const char* kServiceInterface = "org.kelvo.tv.litecorvane.server.interface";

// The service that the inner side calls.
constexpr const char* kInnerServiceName = "org.kelvo.tv.corvane.server";
constexpr const char* kInnerServicePath = "/org/kelvo/tv/corvane/server";
constexpr const char* kInnerServiceInterface = "org.kelvo.tv.corvane.server.interface";

inline std::string ClientName(const std::string& object) {
  return "org.kelvo.tv.corvane.launcherclient." + object;
}
inline std::string ClientPath(const std::string& object) {
  return "/org/kelvo/tv/corvane/launcherclient/" + object;
}
inline std::string ClientInterface(const std::string& object) {
  return "org.kelvo.tv.corvane.launcherclient.interface." + object;
}

}  // namespace bench
