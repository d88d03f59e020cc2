// The frame of every C entry point that may throw: no exception passes it, and no cancellation ends it.
#pragma once

#include <cxxabi.h>

#include "host_cancellation.h"

namespace nuv::host {

// Runs the body; an exception becomes the failure result. A thread that ends itself in a callback unwinds through, as
// it has to.
template <typename Result, typename Body>
Result Guarded(Result failure, Body body) {
  const CancellationOff off;
  try {
    return body();
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (...) {
    return failure;
  }
}

}  // namespace nuv::host
