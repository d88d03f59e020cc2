// What GLib takes for a programming error ends the fuzzer, as in the tests.
#include <glib.h>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
  return 0;
}
