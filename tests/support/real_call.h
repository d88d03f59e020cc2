// What a function of a test's stands in front of.
#pragma once

#include <dlfcn.h>

// The next function of the name, which has the same type: Real(read, "read").
template <typename Function>
Function* Real(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
