#include "tv/catalogue.h"

#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <nuv/nuv_inner_database.h>
#include <nuv_platform/platform_path.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "glib_handles.h"
#include "obstacles/obstacles.h"
#include "server/requests.h"
#include "tv/icon.h"

namespace home {
namespace {

struct Tile {
  std::string id;
  std::string title;
  std::string run_title;
  std::string version;
  std::string icon_path;
  std::string launch_date;
  int type = 0;
  int category = 0;
  int index = 0;
  int used = 0;
  bool locked = false;
  bool hidden = false;
  bool hbbtv = false;
};

struct View {
  const char* name;
  std::optional<nuv_app_viewmode_e> mode;  // nothing: the library has no such list
  bool (*before)(const Tile& one, const Tile& other);
};

std::string Folded(const std::string& text) {
  const TextOwner valid(g_utf8_make_valid(text.c_str(), -1));
  const TextOwner folded(g_utf8_casefold(valid.get(), -1));
  return folded.get();
}

bool MoreUsed(const Tile& one, const Tile& other) {
  return one.used > other.used;
}
bool LaterUsed(const Tile& one, const Tile& other) {
  return one.launch_date > other.launch_date;
}
bool LowerIndex(const Tile& one, const Tile& other) {
  return one.index < other.index;
}
bool HigherIndex(const Tile& one, const Tile& other) {
  return one.index > other.index;
}
bool EarlierTitle(const Tile& one, const Tile& other) {
  return g_ascii_strcasecmp(one.title.c_str(), other.title.c_str()) < 0;
}

constexpr View kViews[] = {
    {"most-used", NUV_APP_VIEWMODE_MOST_USED, MoreUsed}, {"recently-used", std::nullopt, LaterUsed},
    {"index", NUV_APP_VIEWMODE_INDEX, LowerIndex},       {"last-download", NUV_APP_VIEWMODE_LAST_DOWNLOAD, HigherIndex},
    {"title", NUV_APP_VIEWMODE_TITLE_ASC, EarlierTitle},
};

const View* FindView(const std::string& name) {
  const auto* found = std::find_if(std::begin(kViews), std::end(kViews), [&](const View& v) { return name == v.name; });
  return found != std::end(kViews) ? found : nullptr;
}

// The library's lists know these types.
bool LibraryHasType(int type) {
  return type == 0 || type == 2 || type == 4;
}

const char* KindOf(const Tile& tile) {
  if (tile.hbbtv || tile.type == 16) return "HbbTV";
  switch (tile.type) {
    case 2:
      return "web";
    case 4:
      return "native";
    case 8:
      return "Android";
    default:
      return "other";
  }
}

bool IsSet(const std::string& text) {
  return !text.empty() && text != "0";
}

Tile TileOf(const nuv_app_info_s& app) {
  Tile tile;
  tile.id = app.app_id;
  tile.title = app.app_title;
  tile.run_title = app.app_runtitle;
  tile.version = app.app_version;
  tile.icon_path = app.app_icon_path;
  tile.type = app.app_type;
  tile.category = app.app_featured;
  tile.index = app.app_index;
  tile.used = app.use_count;
  tile.locked = app.is_lock != 0;
  tile.hidden = app.is_hidden != 0;
  tile.hbbtv = IsSet(app.hbbTV);
  return tile;
}

Tile TileOf(const _APPSINFO_T& app) {
  Tile tile;
  tile.id = app.id;
  tile.title = app.title;
  tile.run_title = app.run_title;
  tile.version = app.version;
  tile.icon_path = app.icon_path;
  tile.launch_date = app.launch_date;
  tile.type = app.app_type;
  tile.category = app.app_featured;
  tile.index = app.app_index;
  tile.used = app.use_count;
  tile.locked = app.is_lock;
  tile.hidden = app.is_hidden;
  tile.hbbtv = IsSet(app.hbbTV);
  return tile;
}

Json JsonOf(const Tile& tile) {
  return {{"app", tile.id},
          {"title", tile.title},
          {"runTitle", tile.run_title},
          {"version", tile.version},
          {"kind", KindOf(tile)},
          {"locked", tile.locked},
          {"hidden", tile.hidden},
          {"used", tile.used},
          {"lastUsed", tile.launch_date},
          {"icon", MayBeImage(tile.icon_path)}};
}

Json Failed(int result) {
  const Diagnosis why = DiagnoseCatalogue(result, {Outcome::kFailed, "the catalogue could not be read"});
  return Refused(why.message);
}

// What a list of the library lets through, so that it can be counted.
struct Condition {
  std::string text = " where is_app_available = ? and install_state = ? and is_hidden = ? and is_need_reset = ?";
  std::vector<_NUVDB_BIND_T> binds = {{2, "", 1}, {2, "", 3}, {2, "", 0}, {2, "", 0}};

  void Add(const char* column, int value) {
    if (value == 0) return;
    text += std::string(" and ") + column + " = ?";
    binds.push_back({2, "", value});
  }
};

struct FreeBlock {
  void operator()(nuv_app_info_s* block) const { std::free(block); }
};

int AnyOr(int value) {
  return value != 0 ? value : NUV_APP_FILTER_ANY;
}

Json ReadPage(const TileQuestion& question, const View& view) {
  Condition condition;
  condition.Add("app_type", question.type);
  condition.Add("app_featured", question.category);
  int total = 0;
  int result = GetAppsTableCount(&total, condition.text, 0, condition.binds);
  if (result != 0) return Failed(result);
  Json tiles = Json::array();
  if (question.index < total) {
    nuv_app_info_s* list = nullptr;
    int count = 0;
    result = GetAppList({AnyOr(question.category), 0, AnyOr(question.type)}, *view.mode, question.index, question.count,
                        false, &count, &list, nullptr);
    const std::unique_ptr<nuv_app_info_s, FreeBlock> owned(list);
    if (result != 0) return Failed(result);
    for (int i = 0; list != nullptr && i < count; ++i) tiles.push_back(JsonOf(TileOf(list[i])));
  } else if (const auto guards = GuardObstacles(); !guards.empty()) {
    // The count goes on where a list is refused.
    return Refused(guards.front().why.message);
  }
  return {{"ok", true}, {"total", total}, {"index", question.index}, {"apps", tiles}};
}

std::string StampOf(const std::string& path) {
  struct stat file {};
  if (stat(path.c_str(), &file) != 0) return "-";
  return std::to_string(file.st_ino) + "," + std::to_string(file.st_size) + "," + std::to_string(file.st_mtim.tv_sec) +
         "." + std::to_string(file.st_mtim.tv_nsec);
}

std::string DatabasePath() {
  const char* directory = nuv_platform_get_path(NUV_PATH_APP_DATABASE_DIR);
  return directory != nullptr ? std::string(directory) + "/.corvane.db" : "";
}

template <typename Work>
void DoIn(Lane& lane, const Catalogue::Told& told, Work work) {
  const bool taken = lane.Do([told, work = std::move(work)] {
    Json answer = work();
    InMainLoop([told, answer = std::move(answer)] { told(answer); });
  });
  if (!taken) told(Refused("the catalogue is asked for too much at once"));
}

}  // namespace

// All installed applications in short, read anew when the catalogue has changed; for its lane's thread only.
class Catalogue::Whole {
 public:
  Json Page(const TileQuestion& question, const View& view) {
    const int result = Refresh();
    if (result != 0) return Failed(result);
    Json tiles = Json::array();
    const std::vector<const Tile*> chosen = Choose(question, view);
    const std::size_t begin = std::min(chosen.size(), static_cast<std::size_t>(question.index));
    const std::size_t end = std::min(chosen.size(), begin + static_cast<std::size_t>(question.count));
    for (std::size_t i = begin; i < end; ++i) tiles.push_back(JsonOf(*chosen[i]));
    return {{"ok", true}, {"total", chosen.size()}, {"index", question.index}, {"apps", tiles}};
  }

 private:
  int Refresh() {
    const std::string stamp = Stamp();
    if (stamp == stamp_) return 0;
    _APPSINFO_T* list = nullptr;
    int count = 0;
    const int result = nuv_inner_get_all_app_list(&list, &count);
    const std::unique_ptr<_APPSINFO_T[]> owned(list);
    if (result != 0) return result;
    tiles_.clear();
    folded_.clear();
    for (int i = 0; list != nullptr && i < count; ++i) {
      tiles_.push_back(TileOf(list[i]));
      folded_.push_back(Folded(list[i].title));
    }
    stamp_ = stamp;
    return 0;
  }

  std::vector<const Tile*> Choose(const TileQuestion& question, const View& view) const {
    const std::string search = Folded(question.search);
    std::vector<const Tile*> chosen;
    for (std::size_t i = 0; i < tiles_.size(); ++i) {
      const Tile& tile = tiles_[i];
      if (tile.hidden && !question.hidden) continue;
      if (question.type != 0 && tile.type != question.type) continue;
      if (question.category != 0 && tile.category != question.category) continue;
      if (folded_[i].find(search) == std::string::npos) continue;
      chosen.push_back(&tile);
    }
    std::stable_sort(chosen.begin(), chosen.end(),
                     [&view](const Tile* one, const Tile* other) { return view.before(*one, *other); });
    return chosen;
  }

  std::string stamp_;
  std::vector<Tile> tiles_;
  std::vector<std::string> folded_;  // their titles
};

Catalogue::Catalogue() : whole_(std::make_shared<Whole>()) {}

Catalogue::~Catalogue() = default;

bool Catalogue::IsView(const std::string& name) {
  return FindView(name) != nullptr;
}

void Catalogue::Ask(const TileQuestion& question, const Told& told) {
  const View& view = *FindView(question.view);
  if (view.mode && !question.hidden && question.search.empty() && LibraryHasType(question.type)) {
    return DoIn(pages_, told, [question, &view] { return ReadPage(question, view); });
  }
  DoIn(whole_lane_, told, [question, &view, whole = whole_] { return whole->Page(question, view); });
}

void Catalogue::AskAbout(const std::string& app_id, const Told& told) {
  DoIn(whole_lane_, told, [app_id]() -> Json {
    _APPSINFO_T app;
    const int result = nuv_inner_get_app_info_by_id(app_id, app, false);
    if (result != 0) return Failed(result);
    Json answer = JsonOf(TileOf(app));
    answer["ok"] = true;
    return answer;
  });
}

void Catalogue::FindIcon(const std::string& app_id, const WebServer::IconFound& found) {
  const bool taken = icons_.Do([app_id, found] {
    _APPSINFO_T app;
    std::optional<Image> image;
    if (nuv_inner_get_app_info_by_id(app_id, app, true) == 0) image = ReadImage(app.icon_path);
    InMainLoop([found, image = std::move(image)] { found(image); });
  });
  if (!taken) found(std::nullopt);
}

std::string Catalogue::Stamp() {
  const std::string path = DatabasePath();
  std::string stamp = StampOf(path) + ";" + StampOf(path + "-wal");
  for (const Obstacle& guard : GuardObstacles()) stamp += std::string(";") + guard.key;
  return stamp;
}

}  // namespace home
