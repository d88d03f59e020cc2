// The platform calls of a set on which nothing happens. Log lines are formatted, so that what a line is made of is read
// as it would be for a real log; waits take no time. App-control requests are those of the host edition.
#include "platform.h"

#include <nuv_platform/platform_aul.h>
#include <nuv_platform/platform_hbbtv.h>
#include <nuv_platform/platform_log.h>
#include <nuv_platform/platform_path.h>
#include <nuv_platform/platform_resource.h>
#include <nuv_platform/platform_settings.h>
#include <nuv_platform/platform_trace.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "host_launch_request.h"

namespace fuzz {

std::string database_directory;
int launch_requests = 0;

}  // namespace fuzz

int __dlog_print(int, int, const char*, const char* format, ...) {
  static thread_local char line[1 << 16];
  va_list arguments;
  va_start(arguments, format);
  const int length = vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  return length;
}

int vconf_get_int(const char*, int*) {
  return -1;
}
int vconf_set_str(const char*, const char* value) {
  return strlen(value) > 0 ? 0 : -1;
}
const char* nuv_platform_get_path(int) {
  return fuzz::database_directory.c_str();
}
int aul_app_is_running(const char*) {
  return 1;
}
int aul_app_get_running_app_info(aul_app_info_iter_fn, void*) {
  return 0;
}
int GetRunningHbbtvApp(char**) {
  return -1;
}
int resource_set_cpu_inheritance(int, const char*, int) {
  return 0;
}
int resource_clear_cpu_inheritance(int, const char*) {
  return 0;
}
void trace_begin(const char*) {}
void trace_end() {}

bool nuv::host::SendLaunchRequest(const app_control_s&) {
  ++fuzz::launch_requests;
  return true;
}

// Inputs run on the first thread; the fuzzer's other threads do wait.
extern "C" int usleep(useconds_t microseconds) {
  if (gettid() == getpid()) return 0;
  const timespec time = {static_cast<time_t>(microseconds / 1000000), static_cast<long>(microseconds % 1000000) * 1000};
  return nanosleep(&time, nullptr);
}

extern "C" unsigned sleep(unsigned seconds) {
  if (gettid() == getpid()) return 0;
  const timespec time = {static_cast<time_t>(seconds), 0};
  return nanosleep(&time, nullptr) == 0 ? 0 : seconds;
}
