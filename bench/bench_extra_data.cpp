// A launch that carries extra data.
//   bench_extra_data plain|library COUNT PAIRS    makes COUNT launches with PAIRS extra data, to count instructions
#include <cstdlib>
#include <cstring>

#include "nuv_launcher_api/nuv_launcher_client.h"
#include "plain_calls.h"

namespace {

void LaunchPlainly(int count, const bench::ExtraDatas& extra_datas) {
  GDBusConnection* const connection = bench::SystemBus();
  bench::PlainLaunch launch;
  launch.extra_datas = &extra_datas;
  for (; launch.event < count; ++launch.event) {
    bench::PlainHeartbeat(connection);
    bench::PlainLaunchApp(connection, launch);
  }
}

void LaunchThroughLibrary(int count, const bench::ExtraDatas& extra_datas) {
  _NUV_LAUNCHER_DATA data;
  data.appId = bench::kAppId;
  data.payload = bench::kPayload;
  data.callerId = bench::kCallerId;
  data.extraDatas = extra_datas;
  for (int i = 0; i < count; ++i) {
    if (nuv_launch_app_client(data) != 0) exit(1);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  const int count = atoi(argv[2]);
  const bench::ExtraDatas extra_datas = bench::MakeExtraDatas(static_cast<size_t>(atoi(argv[3])));
  if (strcmp(argv[1], "plain") == 0) {
    LaunchPlainly(count, extra_datas);
  } else {
    LaunchThroughLibrary(count, extra_datas);
  }
  return 0;
}
