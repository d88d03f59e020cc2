// The frame of every C entry point: no exception passes it.
#pragma once

#include <cxxabi.h>

namespace nuv::host {

// Runs the body; an exception becomes the failure result. A thread's cancellation unwinds through, as it has to.
template <typename Result, typename Body>
Result Guarded(Result failure, Body body) {
  try {
    return body();
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (...) {
    return failure;
  }
}

}  // namespace nuv::host
