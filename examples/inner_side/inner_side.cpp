// A component of the service's side: reads an application in full, counts a launch of it, and looks at all of them.
// C++17.
//
//   c++ -std=c++17 inner_side.cpp $(pkg-config --cflags --libs nuv-launcher-api) -o inner_side
//   nuv-session -- ./inner_side org.kelvo.app.clock
// snippet: inner
#include <iostream>
#include <nuv/nuv_launch.hpp>

// The count that the database has then; negative where it could not be made.
int CountLaunch(const std::string& app_id) {
  // Asks the service, and writes only where the service cannot: up to 118 s where the database is locked, so not on a
  // thread that draws.
  if (const int result = nuv_inner_update_app_count(app_id); result != 0) return result;
  const auto app = nuv::find_inner_app(app_id);
  if (!app) return app.busy() ? -2 : -1;
  return app->use_count;
}

int LaunchesOfAll() {
  const nuv::InnerAppList apps;
  if (apps.error() != nuv::LookupError::none) return -1;
  int launches = 0;
  for (const _APPSINFO_T& app : apps) launches += app.use_count;
  return launches;
}
// end of snippet

int main(int argc, char** argv) {
  const std::string app_id = argc > 1 ? argv[1] : "org.kelvo.app.clock";
  const int before = LaunchesOfAll();
  const int count = CountLaunch(app_id);
  std::cout << app_id << " was launched " << count << " times, all together " << LaunchesOfAll() << "\n";
  return before >= 0 && count > 0 && LaunchesOfAll() == before + 1 ? 0 : 1;
}
