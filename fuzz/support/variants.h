// GVariants of any type and content, made of a fuzzer's input.
#pragma once

#include "nuv_common/nuv_handles.h"
#include "support/input.h"

namespace fuzz {

// A tuple of any members.
GVariantHandle AnyTuple(Input& input);

// A tuple of the given type, such as "(is)", of basic members.
GVariantHandle TupleOf(Input& input, const char* type);

// A tuple of the given type whose bytes are the input's, and which therefore may be no valid serialisation of it.
GVariantHandle UncheckedTuple(Input& input, const char* type);

}  // namespace fuzz
