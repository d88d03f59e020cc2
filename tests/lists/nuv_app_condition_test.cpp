// Which applications a list holds: the sets of categories and of types.
#include <climits>

#include "app_list_test.h"

namespace {

constexpr const char* kStart = " where is_app_available = 1 and install_state = 3 ";
constexpr const char* kEnd = " and is_hidden = 0 and is_need_reset = 0 ";

class AppListFilter : public AppListTest {
 protected:
  // The condition of the count, with its parameters.
  static std::string Condition() {
    const std::string executed = sqlite_faults::Executed().at(0);
    return executed.substr(executed.find(" where "));
  }

  // The numbers in the ids "f1 ", "f2 " ...
  static std::string NumbersOf(const std::vector<std::string>& ids) {
    std::string numbers;
    for (const std::string& id : ids) numbers += (numbers.empty() ? "" : ",") + id.substr(1);
    return numbers;
  }
};

TEST_F(AppListFilter, PremiumGameFiltersNothing) {
  database_.Add("game", {{"is_premium_game", 1}});
  database_.Add("other", {{"is_premium_game", 0}, {"app_index", 1}});
  for (const int premium : {0, 1, -5}) {
    nuv_app_info_s* list = nullptr;
    int count = 0;
    EXPECT_EQ(0, GetAppList({1, premium, 2}, NUV_APP_VIEWMODE_INDEX, 0, 0, false, &count, &list, nullptr));
    EXPECT_EQ(2, count);
    free(list);
    EXPECT_TRUE(fake_platform::Logged(Green("featured:[1],type:[2],premium_game:[" + std::to_string(premium) +
                                            "],view_mode:[1],index:[0],count:[0]")));
  }
}

struct FeaturedRow {
  int featured;
  const char* categories;  // bound; "any", or null where the set is refused
};

const FeaturedRow kFeatured[] = {
    {0, nullptr},
    {1, "1 "},
    {2, "2 "},
    {3, "1 ,2 ,8 "},
    {4, "4 "},
    {5, "1 ,4 "},
    {6, "2 ,4 "},
    {7, "1 ,2 ,4 "},
    {8, "8 "},
    {9, "1 ,8 "},
    {10, "2 ,8 "},
    {11, "1 ,2 ,8 "},
    {12, "4 ,8 "},
    {13, "1 ,4 ,8 "},
    {14, "2 ,4 ,8 "},
    {15, "1 ,2 ,4 ,8 "},
    {16, nullptr},
    {17, "1 "},
    {19, "1 ,2 "},
    {65535, "any"},
    {65536, nullptr},
    {65539, "1 ,2 "},
    {65534, "2 ,4 ,8 "},
    {131071, "1 ,2 ,4 ,8 "},
    {-1, "1 ,2 ,4 ,8 "},
    {-2, "2 ,4 ,8 "},
    {-16, nullptr},
    {INT_MIN, nullptr},
    {INT_MAX, "1 ,2 ,4 ,8 "},
};

TEST_F(AppListFilter, FeaturedIsASetOfFourCategories) {
  for (int category = 0; category <= 16; ++category) {
    database_.Add("f" + std::to_string(category) + " ", {{"app_featured", category}, {"app_index", category}});
  }
  for (const FeaturedRow& row : kFeatured) {
    SCOPED_TRACE(row.featured);
    fake_platform::Clear();
    sqlite_faults::Forget();
    ListCall call;
    call.featured = row.featured;
    const ListAnswer answer = Get(call);
    const int taken = row.featured == 3 ? 11 : row.featured;
    EXPECT_TRUE(fake_platform::Logged(Green("featured:[" + std::to_string(row.featured) +
                                            "],type:[65535],view_mode:[1],index:[-1],count:[0],app_featured:[" +
                                            std::to_string(taken) + "]")));
    if (row.categories == nullptr) {
      EXPECT_EQ((ListAnswer{-1, kCountBefore, Handed::kUntouched, {}}), answer);
      EXPECT_EQ("E " + Red("in param featured error"), LogOf("GetAppList").back());
      EXPECT_TRUE(sqlite_faults::Prepared().empty());
    } else if (row.categories == std::string("any")) {
      EXPECT_EQ(std::string(kStart) + kEnd, Condition());
      EXPECT_EQ(17, answer.real_count);
    } else {
      EXPECT_EQ(kStart + std::string(" and app_featured in (") + row.categories + ") " + kEnd, Condition());
      EXPECT_EQ(row.categories, NumbersOf(answer.ids));
    }
  }
}

struct TypeRow {
  int type;
  const char* types;  // bound; "any", or null where the set is refused
  bool passes_first_check;
};

const TypeRow kTypes[] = {
    {0, "", true},
    {1, "", true},
    {2, "2 ", true},
    {4, "4 ", true},
    {6, "2 ,4 ", true},
    {8, "", true},
    {127, "2 ,4 ", true},
    {121, "", true},
    {128, nullptr, true},
    {134, nullptr, true},
    {200, nullptr, true},
    {255, nullptr, true},
    {256, nullptr, false},
    {65534, nullptr, false},
    {65535, "any", true},
    {65536, nullptr, false},
    {-1, nullptr, false},
    {INT_MIN, nullptr, false},
    {INT_MAX, nullptr, false},
};

TEST_F(AppListFilter, TypeIsASetOfTwoTypes) {
  for (int type = 0; type <= 8; ++type) {
    database_.Add("t" + std::to_string(type) + " ", {{"app_type", type}, {"app_index", type}});
  }
  for (const TypeRow& row : kTypes) {
    SCOPED_TRACE(row.type);
    fake_platform::Clear();
    sqlite_faults::Forget();
    ListCall call;
    call.type = row.type;
    const ListAnswer answer = Get(call);
    if (row.types == nullptr) {
      EXPECT_EQ((ListAnswer{-1, kCountBefore, Handed::kUntouched, {}}), answer);
      const std::string refused = "E " + Red("in param app_type is error");
      EXPECT_EQ(row.passes_first_check ? "E " + Red("filterAppType error") : refused, LogOf("GetAppList").back());
      EXPECT_EQ(row.passes_first_check ? (std::vector<std::string>{"I Start to get app type", refused})
                                       : std::vector<std::string>(),
                LogOf("GetStrAppType"));
      EXPECT_TRUE(sqlite_faults::Prepared().empty());
    } else if (row.types == std::string("any")) {
      EXPECT_EQ(std::string(kStart) + kEnd, Condition());
      EXPECT_EQ(9, answer.real_count);
    } else {
      EXPECT_EQ(kStart + std::string(" and app_type in (") + row.types + ") " + kEnd, Condition());
      EXPECT_EQ(row.types, NumbersOf(answer.ids));
      EXPECT_EQ(*row.types == '\0' ? Handed::kUntouched : Handed::kArray, answer.handed);
    }
  }
}

}  // namespace
