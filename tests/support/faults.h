// System and library calls that a test lets fail.
#pragma once

namespace faults {

extern bool pthread_create_fails;
extern bool bus_get_fails_without_error;
extern bool main_context_new_fails;
extern bool register_object_returns_zero;
extern void (*before_register_object)();  // may hold up the listener; null: nothing

}  // namespace faults
