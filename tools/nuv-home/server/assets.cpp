#include "server/assets.h"

#include <string_view>

extern "C" GResource* nuv_home_page_get_resource(void);

namespace home {
namespace {

constexpr char kPrefix[] = "/org/kelvo/tv/nuv-home";

struct Type {
  std::string_view ending;
  const char* name;
};
constexpr Type kTypes[] = {
    {".html", "text/html; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".svg", "image/svg+xml"},
};

}  // namespace

std::optional<Asset> FindAsset(const std::string& path) {
  const std::string name = path == "/" ? "/index.html" : path;
  for (const Type& type : kTypes) {
    const bool is = name.size() > type.ending.size() &&
                    name.compare(name.size() - type.ending.size(), type.ending.size(), type.ending) == 0;
    if (!is) continue;
    BytesOwner bytes(g_resource_lookup_data(nuv_home_page_get_resource(), (kPrefix + name).c_str(),
                                            G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr));
    if (bytes == nullptr) return std::nullopt;
    return Asset{std::move(bytes), type.name};
  }
  return std::nullopt;
}

}  // namespace home
