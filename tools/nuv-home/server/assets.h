// The files of the page, which are in the program.
#pragma once

#include <gio/gio.h>

#include <optional>
#include <string>

#include "glib_handles.h"

namespace home {

struct BytesRelease {
  void operator()(GBytes* bytes) const { g_bytes_unref(bytes); }
};
using BytesOwner = std::unique_ptr<GBytes, BytesRelease>;

struct Asset {
  BytesOwner bytes;
  const char* type = nullptr;
};

// By the path of the request; nothing where the page has no such file.
std::optional<Asset> FindAsset(const std::string& path);

}  // namespace home
