#include "platform_calls.h"

#include <dlfcn.h>

namespace platform_check {
PlatformCalls calls;

namespace {

// A function's address is kept as dlsym() gives it.
struct Place {
  const char* name;
  void** call;
};
#define NUV_PLACE(name) {#name, reinterpret_cast<void**>(&calls.name)},
const Place kPlaces[] = {NUV_PLATFORM_CALLS(NUV_PLACE)};
#undef NUV_PLACE

// The libraries stay open: what they hand out lives as long as the process.
void* Find(const std::vector<void*>& libraries, const char* name) {
  for (void* library : libraries) {
    if (void* found = dlsym(library, name); found != nullptr) return found;
  }
  return nullptr;
}

}  // namespace

std::string Load(const std::vector<std::string>& libraries, std::vector<std::string>& missing) {
  std::vector<void*> opened;
  for (const std::string& library : libraries) {
    opened.push_back(dlopen(library.c_str(), RTLD_NOW | RTLD_GLOBAL));
    if (opened.back() == nullptr) return dlerror();
  }
  for (const Place& place : kPlaces) {
    *place.call = Find(opened, place.name);
    if (*place.call == nullptr) missing.emplace_back(place.name);
  }
  return "";
}

}  // namespace platform_check
