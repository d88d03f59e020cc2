// What a full list of the catalogue in $NUV_HOST_DIR needs beside the block that it returns.
//   bench_catalogue_memory plain|last-download|index    prints "BLOCK BEYOND" in bytes
// BEYOND is the peak of the process's resident memory less the block, and less what was resident after one lookup,
// before the list: the connection and the code are not counted, caches of any size are.
#include <fcntl.h>
#include <nuv/nuv_app_database.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "plain_catalogue.h"

namespace {

// A figure of /proc/self/status, in bytes.
long long StatusOf(const char* name) {
  char content[4096];
  const int fd = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
  const ssize_t length = fd < 0 ? -1 : read(fd, content, sizeof content - 1);
  if (fd >= 0) close(fd);
  if (length < 0) exit(1);
  content[length] = '\0';
  const char* const line = strstr(content, name);
  if (line == nullptr) exit(1);
  return atoll(line + strlen(name)) * 1024;
}

constexpr const char* kSomeApp = "org.example.tv.app000000";

// Resident bytes before the list, and its length.
struct Listed {
  long long before;
  int length;
};

Listed ListThroughLibrary(nuv_app_viewmode_e view_mode) {
  nuv_app_info_s info = {};
  if (m_nuv_get_app_info(kSomeApp, &info) != 0) exit(1);
  Listed listed = {StatusOf("VmRSS:"), 0};
  const nuv_app_filter_s everything = {NUV_APP_FILTER_ANY, 0, NUV_APP_FILTER_ANY};
  nuv_app_info_s* list = nullptr;
  if (GetAppList(everything, view_mode, -1, 0, false, &listed.length, &list, nullptr) != 0) exit(1);
  return listed;
}

Listed ListPlainly(const std::string& path) {
  bench::PlainCatalogue catalogue(path.c_str());
  nuv_app_info_s info = {};
  if (!catalogue.Lookup(kSomeApp, info)) exit(1);
  Listed listed = {StatusOf("VmRSS:"), 0};
  if (catalogue.List(-1, 0, listed.length) == nullptr) exit(1);
  return listed;
}

Listed ListInOrder(const std::string& order, const std::string& directory) {
  if (order == "plain") return ListPlainly(directory + "/.corvane.db");
  return ListThroughLibrary(order == "index" ? NUV_APP_VIEWMODE_INDEX : NUV_APP_VIEWMODE_LAST_DOWNLOAD);
}

}  // namespace

int main(int argc, char** argv) {
  const char* const directory = getenv("NUV_HOST_DIR");
  if (argc != 2 || directory == nullptr) return 2;
  const Listed listed = ListInOrder(argv[1], directory);
  const auto block = static_cast<long long>(sizeof(nuv_app_info_s)) * listed.length;
  printf("%lld %lld\n", block, StatusOf("VmHWM:") - listed.before - block);
  return 0;
}
