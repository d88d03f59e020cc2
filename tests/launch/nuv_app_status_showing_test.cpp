// Which application shows.
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_launch.h>
#include <nuv_common/nuv_lock.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "effects.h"
#include "fake_apps.h"
#include "held_mutex.h"
#include "launch_database_test.h"
#include "nuv_launcher_api/nuv_running_apps.h"

namespace {

constexpr int kVisible = 3;
constexpr size_t kBlockSize = 128;
constexpr size_t kBufferSize = 255;
size_t size_without_memory = 0;  // an allocation of this size fails

}  // namespace

// The linker sends the calls of the library's objects here.
extern "C" void* __real_calloc(size_t count, size_t size);
extern "C" void* __wrap_calloc(size_t count, size_t size) {
  if (size_without_memory != 0 && count * size == size_without_memory) return nullptr;
  return __real_calloc(count, size);
}

namespace {

struct FreeText {
  void operator()(char* text) const { free(text); }
};
using OwnedText = std::unique_ptr<char, FreeText>;

std::string Showing(const std::string& id) {
  return LogEffect('I', Yellow("Showing app is: " + id));
}
std::string Hbbtv(const std::string& id) {
  return LogEffect('I', Yellow("Running hbbtv app kelvo id[" + id + "]"));
}
std::string Current(const std::string& id) {
  return LogEffect('I', Yellow("Current showing app id [" + id + "]."));
}
std::string Cut(const std::string& id) {
  return LogEffect('E', Red("the id is cut at 127 characters: " + id));
}
const std::string kNullParameter = LogEffect('E', Red("in param is NULL"));

class ShowingTest : public LaunchDatabaseTest {
 protected:
  void SetUp() override {
    LaunchDatabaseTest::SetUp();
    for (const std::string id : {"one", "two", "three"}) database_.Add(id, {{"kelvo_id", "kelvo." + id}});
    database_.Add("hybrid", {{"hybrid_app", "native.hybrid"}});
  }
  static Effects OwnEffects() { return EffectsWithLogOf({"nuv_app_status.cpp"}); }

  // What nuv_get_current_showing_app() hands out, with the effects since then. The rest of its block is zero.
  static std::string Ask() {
    fake_platform::Clear();
    char* text = nullptr;
    EXPECT_EQ(0, nuv_get_current_showing_app(&text));
    const OwnedText owned(text);
    const std::string id = text;
    EXPECT_EQ(id + std::string(kBlockSize - id.size(), '\0'), std::string(text, kBlockSize));
    return id;
  }
  static void ExpectShows(const std::string& id) {
    EXPECT_EQ(id, Ask());
    EXPECT_EQ((Effects{Showing(id), Current(id)}), OwnEffects());
  }
  static void ExpectNothingShows() {
    EXPECT_EQ("", Ask());
    EXPECT_EQ(Effects{Showing("")}, OwnEffects());
  }
};

TEST_F(ShowingTest, IsNothingWithoutAVisibleApplication) {
  ExpectNothingShows();
  fake_platform::SetRunningApps(
      {{"kelvo.one", 0}, {"kelvo.one", 1}, {"kelvo.one", 2}, {"kelvo.one", 4}, {"kelvo.one", -1}, {"kelvo.one", 30}});
  ExpectNothingShows();
}

TEST_F(ShowingTest, IsTheFirstVisibleApplicationThatTheDatabaseKnows) {
  fake_platform::SetRunningApps({{"kelvo.two", kVisible}});
  ExpectShows("two");
  fake_platform::SetRunningApps({{"kelvo.two", kVisible}, {"kelvo.one", kVisible}, {"kelvo.three", kVisible}});
  ExpectShows("two");
  fake_platform::SetRunningApps({{"one", kVisible},
                                 {"stranger", kVisible},
                                 {"", kVisible},
                                 {"kelvo.one", 1},
                                 {"kelvo.three", kVisible},
                                 {"kelvo.two", kVisible}});
  ExpectShows("three");
  fake_platform::SetRunningApps({{"native.hybrid", kVisible}, {"kelvo.one", kVisible}});
  ExpectShows("hybrid");
  fake_platform::SetRunningApps({{"stranger", kVisible}});
  ExpectNothingShows();
}

TEST_F(ShowingTest, EndsTheWalkAtTheFirstApplicationThatShows) {
  fake_platform::SetRunningApps({{"stranger", kVisible}, {"kelvo.two", kVisible}, {"kelvo.one", kVisible}});
  EXPECT_EQ("two", nuv_get_showing_appid());
  EXPECT_EQ(2u, sqlite_faults::Prepared().size());
}

TEST_F(ShowingTest, IsTheHbbtvApplicationOverAllOthers) {
  fake_platform::SetHbbtvApp(1, "hbbtv.app");
  const std::vector<fake_platform::RunningApp> all = {
      {"kelvo.two", kVisible}, {"kelvo.one", kVisible}, {"kelvo.three", kVisible}};
  for (const size_t count : {0, 1, 3}) {
    fake_platform::SetRunningApps({all.begin(), all.begin() + count});
    EXPECT_EQ("hbbtv.app", Ask());
    EXPECT_EQ((Effects{Hbbtv("hbbtv.app"), Showing("hbbtv.app"), Current("hbbtv.app")}), OwnEffects());
  }
}

TEST_F(ShowingTest, IsNoHbbtvApplicationThatDoesNotRun) {
  fake_platform::SetRunningApps({{"kelvo.two", kVisible}});
  for (const int answer : {0, 2, -1}) {
    fake_platform::SetHbbtvApp(answer, "hbbtv.app");  // the text is given back all the same
    ExpectShows("two");
  }
  fake_platform::SetHbbtvApp(1, std::nullopt);
  ExpectShows("two");
}

TEST_F(ShowingTest, IsNothingForAnHbbtvApplicationWithAnEmptyId) {
  fake_platform::SetRunningApps({{"kelvo.two", kVisible}});
  fake_platform::SetHbbtvApp(1, "");
  EXPECT_EQ("", Ask());
  EXPECT_EQ((Effects{Hbbtv(""), Showing("")}), OwnEffects());
}

TEST_F(ShowingTest, CutsALongIdOfTheDatabase) {
  for (const size_t size : {126, 127, 128, 253, 254, 255, 256, 1000}) {
    const std::string id = std::string(size - 1, 'a') + "z";
    database_.Add(id, {{"kelvo_id", "kelvo." + std::to_string(size)}});
    fake_platform::SetRunningApps({{"kelvo." + std::to_string(size), kVisible}});
    const std::string found = id.substr(0, 254);
    EXPECT_EQ(found, nuv_get_showing_appid());
    EXPECT_EQ(id.substr(0, 127), Ask());
    EXPECT_EQ(size < 128 ? (Effects{Showing(found), Current(id)})
                         : (Effects{Showing(found), Cut(found), Current(id.substr(0, 127))}),
              OwnEffects());
  }
}

TEST_F(ShowingTest, CutsALongIdOfAnHbbtvApplication) {
  fake_platform::SetRunningApps({{"kelvo.two", kVisible}});
  for (const size_t size : {126, 127, 128, 254, 255, 256, 1000}) {
    const std::string id = std::string(size - 1, 'a') + "z";
    fake_platform::SetHbbtvApp(1, id);
    const std::string found = id.substr(0, 255);
    EXPECT_EQ(found, nuv_get_showing_appid());
    EXPECT_EQ(id.substr(0, 127), Ask());
    EXPECT_EQ(size < 128 ? (Effects{Hbbtv(id), Showing(found), Current(id)})
                         : (Effects{Hbbtv(id), Showing(found), Cut(found), Current(id.substr(0, 127))}),
              OwnEffects());
  }
}

TEST_F(ShowingTest, IsRefusedWithoutAPlaceForTheAnswer) {
  EXPECT_EQ(-1, nuv_get_current_showing_app(nullptr));
  EXPECT_EQ(Effects{kNullParameter}, EffectsWithLogOf({"nuv_app_status.cpp"}));
  fake_platform::Clear();
  EXPECT_EQ(-1, nuv_get_current_showing_app_client(nullptr));
  EXPECT_EQ(Effects{kNullParameter}, OwnEffects());
}

TEST_F(ShowingTest, IsRefusedWithoutMemory) {
  fake_platform::SetRunningApps({{"kelvo.two", kVisible}});
  char untouched = 'x';
  char* text = &untouched;
  size_without_memory = kBlockSize;
  EXPECT_EQ(-1, nuv_get_current_showing_app(&text));
  size_without_memory = 0;
  EXPECT_EQ(nullptr, text);
  EXPECT_EQ(Effects{LogEffect('E', Red("appid malloc is NULL"))}, OwnEffects());
}

TEST_F(ShowingTest, IsNothingKnownWhileTheDatabaseCannotBeRead) {
  fake_platform::SetRunningApps({{"kelvo.two", kVisible}});
  LetDatabaseBeBusy();
  EXPECT_EQ("", Ask());
  fake_platform::SetRepairMarker(true);
  EXPECT_EQ("", Ask());
  fake_platform::SetRepairMarker(false);
  EXPECT_EQ("two", Ask());
}

TEST_F(ShowingTest, ThrowsForAVisibleApplicationWithoutAPlatformId) {
  fake_platform::SetRunningApps({{std::nullopt, kVisible}, {"kelvo.two", kVisible}});
  EXPECT_THROW(nuv_get_showing_appid(), std::logic_error);
  char* text = nullptr;
  EXPECT_THROW(nuv_get_current_showing_app(&text), std::logic_error);
  const OwnedText owned(text);
  EXPECT_STREQ("", text);
  // Only where it is looked at.
  fake_platform::SetRunningApps({{std::nullopt, 1}, {"kelvo.two", kVisible}, {std::nullopt, kVisible}});
  EXPECT_EQ("two", Ask());
}

TEST_F(ShowingTest, TakesTheLockOfTheInnerSideOnly) {
  fake_platform::SetRunningApps({{"kelvo.two", kVisible}});
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [] { EXPECT_EQ("two", Ask()); }));
  EXPECT_TRUE(TakesMutex(g_inner_Mute, [] { EXPECT_EQ("two", nuv_get_showing_appid()); }));
}

class IteratorTest : public ShowingTest {
 protected:
  void SetUp() override {
    ShowingTest::SetUp();
    buffer_.assign(kBufferSize + 1, '#');
    buffer_[0] = '\0';
  }
  int Visit(int status, const char* platform_id, void* buffer) const {
    const aul_app_info info = {1, status, platform_id};
    return nuv_get_running_appIter_func(&info, buffer);
  }
  std::string buffer_;
};

TEST_F(IteratorTest, TakesTheIdIntoTheWholeBufferAndNotBehindIt) {
  EXPECT_EQ(-1, Visit(kVisible, "kelvo.two", buffer_.data()));
  EXPECT_EQ("two" + std::string(kBufferSize - 3, '\0') + "#", buffer_);
  database_.Add(std::string(300, 'a'), {{"kelvo_id", "kelvo.long"}});
  buffer_[0] = '\0';
  EXPECT_EQ(-1, Visit(kVisible, "kelvo.long", buffer_.data()));
  EXPECT_EQ(std::string(kBufferSize - 1, 'a') + '\0' + "#", buffer_);
}

TEST_F(IteratorTest, EndsTheWalkWithoutABuffer) {
  EXPECT_EQ(-1, Visit(kVisible, "kelvo.two", nullptr));
  EXPECT_EQ(-1, Visit(1, nullptr, nullptr));
  EXPECT_TRUE(sqlite_faults::Prepared().empty());
}

TEST_F(IteratorTest, LeavesAFilledBufferAlone) {
  buffer_[0] = 'x';
  const std::string before = buffer_;
  EXPECT_EQ(0, Visit(kVisible, "kelvo.two", buffer_.data()));
  EXPECT_EQ(0, Visit(kVisible, nullptr, buffer_.data()));
  EXPECT_EQ(before, buffer_);
  EXPECT_TRUE(sqlite_faults::Prepared().empty());
}

TEST_F(IteratorTest, GoesOnAfterWhatIsNotVisibleOrNotKnown) {
  const std::string before = buffer_;
  for (const int status : {0, 1, 2, 4, -3}) EXPECT_EQ(0, Visit(status, "kelvo.two", buffer_.data())) << status;
  EXPECT_TRUE(sqlite_faults::Prepared().empty());
  EXPECT_EQ(0, Visit(kVisible, "stranger", buffer_.data()));
  EXPECT_EQ(0, Visit(kVisible, "", buffer_.data()));
  EXPECT_EQ(before, buffer_);
}

TEST_F(IteratorTest, ThrowsForANullPlatformId) {
  EXPECT_THROW(Visit(kVisible, nullptr, buffer_.data()), std::logic_error);
}

}  // namespace
