// Which part of the matches a list holds: by example, and against a plain statement of it over random catalogues.
#include <algorithm>
#include <cctype>
#include <climits>
#include <random>

#include "app_list_test.h"

namespace {

class AppListPaging : public AppListTest {
 protected:
  static std::vector<std::string> LastLines(size_t count) {
    const auto lines = LogOf("GetAppList");
    return {lines.end() - static_cast<long>(std::min(count, lines.size())), lines.end()};
  }
  static ListCall Page(int index, int count, bool ms = false) {
    ListCall call;
    call.index = index;
    call.count = count;
    call.ms = ms;
    return call;
  }
  // The ids of AddMany().
  static std::vector<std::string> Apps(int from, int count) {
    std::vector<std::string> ids;
    for (int i = from; i < from + count; ++i) ids.push_back("app" + std::to_string(i));
    return ids;
  }
};

const ListAnswer kBeyond = {-1, 0, Handed::kUntouched, {}};

TEST_F(AppListPaging, APageThatStartsBehindTheLastMatchFails) {
  database_.AddMany(10);
  for (const bool ms : {false, true}) {
    for (const int index : {10, 11, INT_MAX}) {
      fake_platform::Clear();
      sqlite_faults::Forget();
      EXPECT_EQ(kBeyond, Get(Page(index, 5, ms))) << index;
      const std::string place = std::to_string(index);
      EXPECT_EQ((std::vector<std::string>{"I before set,count: 5,index:" + place + ",real_count:10",
                                          "I offect >= real count:offect:" + place + ", real count:10 "}),
                LastLines(2));
      EXPECT_EQ(1u, sqlite_faults::Prepared().size());
    }
  }
}

TEST_F(AppListPaging, TheLastPageHoldsWhatIsLeft) {
  database_.AddMany(10);
  for (const bool ms : {false, true}) {
    EXPECT_EQ(Array({"app9"}), Get(Page(9, 5, ms)));
    EXPECT_EQ((std::vector<std::string>{"I before set,count: 5,index:9,real_count:10", "I after set,real_count: 1",
                                        "I " + Green("Finish,real_count:[1]")}),
              LastLines(3));
    const std::string executed = sqlite_faults::Executed().back();
    EXPECT_EQ("limit 9,1 ", executed.substr(executed.rfind("limit")));
  }
}

TEST_F(AppListPaging, ACountBelowOneMeansAll) {
  database_.AddMany(10);
  for (const int count : {0, -1, INT_MIN, 10, 11, INT_MAX}) {
    EXPECT_EQ(Array(Apps(0, 10)), Get(Page(0, count))) << count;
    EXPECT_EQ(Array(Apps(3, 7)), Get(Page(3, count))) << count;
    EXPECT_EQ(Array(Apps(0, 10)), Get(Page(-1, count))) << count;
  }
}

TEST_F(AppListPaging, PagesJoinWithoutGapOrOverlap) {
  database_.AddMany(10);
  std::vector<std::string> joined;
  for (int index = 0; index < 10; index += 3) {
    const ListAnswer answer = Get(Page(index, 3));
    joined.insert(joined.end(), answer.ids.begin(), answer.ids.end());
  }
  EXPECT_EQ(Apps(0, 10), joined);
}

TEST_F(AppListPaging, ANegativeIndexPutsNoLimitIntoTheStatement) {
  database_.AddMany(12);
  for (const bool ms : {false, true}) {
    for (const int index : {-1, -2, INT_MIN}) {
      fake_platform::Clear();
      sqlite_faults::Forget();
      EXPECT_EQ(Array(Apps(0, 5)), Get(Page(index, 5, ms)));
      const std::string executed = sqlite_faults::Executed().at(1);
      EXPECT_EQ(" order by app_index asc ", executed.substr(executed.find(" order by")));
      const auto steps = LogOf("Step");  // one for the count
      EXPECT_EQ(13, std::count(steps.begin(), steps.end(), "I SQLITE_ROW : has another row ready"));
    }
  }
}

// One application as the model sees it.
struct App {
  std::string id;
  int index;
  int uses;
  int title;
  int date;
  int featured;
  int type;
  bool usable;
};

template <typename Key>
void SortBy(std::vector<App>& apps, Key key) {
  std::sort(apps.begin(), apps.end(), [key](const App& left, const App& right) { return key(left) < key(right); });
}

void Order(std::vector<App>& apps, int view_mode, bool ms) {
  if (view_mode == 0) {
    SortBy(apps, [](const App& app) { return -app.uses; });
  } else if (view_mode == 2 && ms) {
    SortBy(apps, [](const App& app) { return -app.date; });
  } else if (view_mode == 3) {
    SortBy(apps, [](const App& app) { return app.title; });
  } else if (view_mode == 4) {
    SortBy(apps, [](const App& app) { return -app.title; });
  } else {
    SortBy(apps, [](const App& app) { return app.index; });
  }
}

bool Matches(const App& app, const ListCall& call) {
  const int featured = call.featured == 3 ? 11 : call.featured;
  const bool one_bit = app.featured == 1 || app.featured == 2 || app.featured == 4 || app.featured == 8;
  return app.usable && (featured == 65535 || (one_bit && (app.featured & featured) != 0)) &&
         (call.type == 65535 || ((app.type == 2 || app.type == 4) && (app.type & call.type) != 0));
}

ListAnswer Model(const std::vector<App>& catalogue, const ListCall& call) {
  std::vector<App> apps;
  for (const App& app : catalogue) {
    if (Matches(app, call)) apps.push_back(app);
  }
  if (apps.empty()) return {0, 0, Handed::kUntouched, {}};
  if (call.index >= static_cast<int>(apps.size())) return kBeyond;
  Order(apps, call.view_mode, call.ms);
  if (call.index > 0) apps.erase(apps.begin(), apps.begin() + call.index);
  if (call.count >= 1 && call.count < static_cast<int>(apps.size())) apps.resize(call.count);
  if (call.view_mode == 2 && !call.ms) {
    const auto low = [](const App& app) { return app.index < 300; };
    const auto run = std::find_if(apps.rbegin(), apps.rend(), low).base();
    std::vector<App> ordered(apps.rbegin(), std::make_reverse_iterator(run));
    ordered.insert(ordered.end(), apps.begin(), run);
    apps = ordered;
  }
  std::vector<std::string> ids;
  for (const App& app : apps) ids.push_back(app.id);
  return Array(ids);
}

class RandomCatalogue {
 public:
  explicit RandomCatalogue(unsigned seed) : random_(seed) {}

  int Below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
  template <size_t Count>
  int One(const int (&values)[Count]) {
    return values[Below(static_cast<int>(Count))];
  }

  // Keys of order are different in every application, so that there is one order only.
  std::vector<App> Apps() {
    std::vector<App> apps(Below(25));
    const std::vector<int> index = Keys(apps.size());
    const std::vector<int> uses = Keys(apps.size());
    const std::vector<int> titles = Keys(apps.size());
    const std::vector<int> dates = Keys(apps.size());
    for (size_t i = 0; i < apps.size(); ++i) {
      apps[i] = {"app" + std::to_string(i),   290 + index[i],          uses[i],      titles[i], dates[i],
                 One({0, 1, 2, 3, 4, 8, 16}), One({0, 1, 2, 4, 6, 8}), Below(5) != 0};
    }
    return apps;
  }
  ListCall Call(int apps) {
    return {One({65535, 65535, 1, 2, 3, 4, 8, 15, 19, -1}),
            One({65535, 65535, 2, 4, 6, 127}),
            Below(7) - 1,
            Below(apps + 4) - 2,
            Below(apps + 4) - 2,
            Below(2) == 1};
  }

 private:
  std::vector<int> Keys(size_t count) {
    std::vector<int> keys(count);
    for (size_t i = 0; i < count; ++i) keys[i] = static_cast<int>(i);
    for (size_t i = count; i > 1; --i) std::swap(keys[i - 1], keys[Below(static_cast<int>(i))]);
    return keys;
  }

  std::mt19937 random_;
};

// In either case, so that only upper() orders them.
std::string TitleOf(int title) {
  const char letter = static_cast<char>('a' + title);
  return std::string(1, title % 3 == 0 ? static_cast<char>(std::toupper(letter)) : letter);
}

TEST_F(AppListPaging, AgreesWithThePlainOrderOnRandomCatalogues) {
  constexpr unsigned kCatalogues = 50;
  constexpr int kCalls = 50;
  for (unsigned seed = 1; seed <= kCatalogues; ++seed) {
    RandomCatalogue random(seed);
    const std::vector<App> apps = random.Apps();
    database_.Run("delete from widgetinfo");
    for (const App& app : apps) {
      const char* const unusable[] = {"is_hidden", "is_need_reset"};
      database_.Add(app.id, {{"app_index", app.index},
                             {"use_count", app.uses},
                             {"title", TitleOf(app.title)},
                             {"install_date", std::to_string(100 + app.date)},
                             {"app_featured", app.featured},
                             {"app_type", app.type},
                             {unusable[app.index % 2], app.usable ? 0 : 1}});
    }
    for (int i = 0; i < kCalls; ++i) {
      const ListCall call = random.Call(static_cast<int>(apps.size()));
      ASSERT_EQ(Model(apps, call), Get(call)) << "seed " << seed << ", call " << i << ": "
                                              << ::testing::PrintToString(call) << ", " << apps.size() << " apps";
      fake_platform::Clear();
    }
  }
}

}  // namespace
