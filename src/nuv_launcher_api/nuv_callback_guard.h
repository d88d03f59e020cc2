// The edge between the library and a caller's callback.
#pragma once

#include <cxxabi.h>
#include <nuv/nuv_launcher_api.h>
#include <nuv_common/nuv_log.h>

#include <cstdint>
#include <exception>

#include "nuv_launcher_api/nuv_callback_gate.h"

// Calls a callback of the given type, unless it is null or the process exits. An exception that it throws is caught and
// logged; only the unwinding of a thread that ends passes. By contract a failed launch calls a callback of the other
// shape with the arguments of this one, which a sanitizer would report.
template <typename Callback, typename... Arguments>
#ifdef __clang__
__attribute__((no_sanitize("function")))
#endif
void CallUserCallback(uintptr_t callback, Arguments... arguments) {
  if (callback == 0) return;
  const CallbackPassage passage;
  if (!passage.Open()) return;
  try {
    reinterpret_cast<Callback>(callback)(arguments...);
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (const std::exception& error) {
    NUV_ERROR("a callback threw: %s", error.what());
  } catch (...) {
    NUV_ERROR("a callback threw");
  }
}
