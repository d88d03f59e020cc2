#include "tv/running.h"

#include <nuv/nuv_app_database.h>
#include <nuv/nuv_launcher_api.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>

#include "service/running_apps.h"

namespace home {
namespace {

constexpr unsigned kEveryMs = 1000;
constexpr std::size_t kMostNames = 1000;

struct FreeText {
  void operator()(char* text) const { std::free(text); }
};

std::string Showing() {
  char* text = nullptr;
  const int result = nuv_get_current_showing_app(&text);
  const std::unique_ptr<char, FreeText> owned(text);
  return result == 0 && text != nullptr ? text : "";
}

}  // namespace

// The platform has names of its own for applications. For the lane's thread only.
class Running::Names {
 public:
  struct Name {
    std::string id;
    std::string title;
  };

  Name Of(const std::string& platform_id) {
    const auto known = names_.find(platform_id);
    if (known != names_.end()) return known->second;
    nuv_app_info_s app = {};
    if (m_nuv_get_app_info(platform_id.c_str(), &app) != 0) return {platform_id, platform_id};
    if (names_.size() >= kMostNames) names_.clear();
    const std::string title = app.app_title;
    return names_[platform_id] = {app.app_id, title.empty() ? app.app_id : title};
  }

 private:
  std::map<std::string, Name> names_;
};

Running::Running(Changed changed) : changed_(std::move(changed)), names_(std::make_shared<Names>()) {}

void Running::Follow(bool follow) {
  follow_ = follow;
  follow ? Look() : next_.Stop();
}

// A change that comes while it looks is looked at once more.
void Running::Look() {
  if (!follow_) return;
  again_ = looking_;
  if (looking_) return;
  looking_ = true;
  next_.Stop();
  const bool taken = lane_.Do([this, names = names_] {
    Json apps = Json::array();
    const std::string showing = Showing();
    std::vector<RunningApp> running = RunningApps();
    std::sort(running.begin(), running.end(), [](const auto& one, const auto& other) { return one.pid < other.pid; });
    for (const RunningApp& app : running) {
      const Names::Name name = names->Of(app.platform_id);
      const bool front = app.visible && (showing == name.id || showing == app.platform_id);
      apps.push_back({{"app", name.id}, {"title", name.title}, {"pid", app.pid}, {"front", front}});
    }
    InMainLoop([this, apps = std::move(apps)] { Looked(apps); });
  });
  if (!taken) looking_ = false;
}

void Running::Looked(const Json& apps) {
  looking_ = false;
  if (apps != apps_) {
    apps_ = apps;
    changed_(apps_);
  }
  if (again_) return Look();
  if (follow_) next_.Start(kEveryMs, [this] { Look(); });
}

}  // namespace home
