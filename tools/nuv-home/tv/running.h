// What runs, and what is in front, as the platform tells it: asked for now and then, and when the service says that
// something has changed.
#pragma once

#include <functional>
#include <memory>

#include "glib_handles.h"
#include "server/browsers.h"
#include "tv/lane.h"

namespace home {

class Running {
 public:
  using Changed = std::function<void(const Json& apps)>;

  // There is one for the life of the process, as of its lane.
  explicit Running(Changed changed);
  ~Running() = delete;

  const Json& Now() const { return apps_; }
  void Follow(bool follow);  // where nobody looks, nobody asks
  void Look();

 private:
  class Names;

  void Looked(const Json& apps);

  const Changed changed_;
  Lane lane_{4};
  Timer next_;
  bool follow_ = false;
  bool looking_ = false;
  bool again_ = false;
  Json apps_ = Json::array();
  const std::shared_ptr<Names> names_;
};

}  // namespace home
