// The catalogue as tiles: by pages of the library's own where it has such a list, otherwise out of the whole catalogue.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "server/browsers.h"
#include "server/web_server.h"
#include "tv/lane.h"

namespace home {

struct TileQuestion {
  std::string view;     // by its name
  int type = 0;         // 0: any
  int category = 0;     // 0: any
  std::string search;   // part of the title, in either case; empty: all
  bool hidden = false;  // these, too
  int index = 0;
  int count = 0;
};

class Catalogue {
 public:
  // Called on the main loop.
  using Told = std::function<void(Json)>;

  Catalogue();
  ~Catalogue();
  Catalogue(const Catalogue&) = delete;
  Catalogue& operator=(const Catalogue&) = delete;

  static bool IsView(const std::string& name);

  // The applications from index on, and how many there are; or what is wrong.
  void Ask(const TileQuestion& question, const Told& told);
  // All that is known about one.
  void AskAbout(const std::string& app_id, const Told& told);
  void FindIcon(const std::string& app_id, const WebServer::IconFound& found);

  // Of the database file, and of what keeps the library from reading it: another one where either has changed.
  static std::string Stamp();

 private:
  class Whole;

  Lane pages_{256};
  Lane whole_lane_{64};
  Lane icons_{512};
  const std::shared_ptr<Whole> whole_;
};

}  // namespace home
