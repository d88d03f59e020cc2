// Looks applications up and lists them, page by page. C++17.
//
//   c++ -std=c++17 catalogue.cpp $(pkg-config --cflags --libs nuv-launcher-api) -o catalogue_cpp
//   nuv-session -- ./catalogue_cpp
// snippet: catalogue
#include <iostream>
#include <nuv/nuv_launch.hpp>

void Show(const std::string& app_id) {
  if (const auto app = nuv::find_app(app_id)) {
    std::cout << app_id << " is " << app->app_title << "\n";
  } else {
    std::cout << app_id << (app.busy() ? ": the database is busy, try again\n" : ": not found\n");
  }
}

bool ListMostUsed(int page_size) {
  nuv::AppListOptions options;
  options.order = NUV_APP_VIEWMODE_MOST_USED;
  options.page_size = page_size;  // in memory at a time; without it all at once
  nuv::AppList apps(options);
  for (const nuv_app_info_s& app : apps) std::cout << app.use_count << " " << app.app_title << "\n";
  return apps.error() == nuv::LookupError::none;
}
// end of snippet

int main() {
  Show("org.kelvo.app.clock");
  Show("org.kelvo.app.nobody");
  return ListMostUsed(10) ? 0 : 1;
}
