// Many threads, and forked children, on the inner side at once.
#include <unistd.h>

#include <array>

#include "inner_test.h"

namespace {

using Answer = RecordingService::Answer;

constexpr int kThreads = 8;
constexpr std::chrono::seconds kDuration{2};

// Launches that were counted, and results that no function may have.
struct Tally {
  std::atomic<int> counted{0};
  std::atomic<int> strange{0};
  std::atomic<int> found{0};

  void Expect(int result, std::initializer_list<int> allowed) {
    for (const int code : allowed) {
      if (code == result) return;
    }
    ++strange;
  }
};

constexpr auto kRunTitle = static_cast<APPSINFO_UPDATE_KEY_e>(7);

void LookUp(Tally& tally) {
  _APPSINFO_T info;
  std::string id;
  for (auto* lookup :
       {nuv_inner_get_app_info_by_id, nuv_inner_get_app_info_by_kelvoid, nuv_inner_get_app_info_by_runtitle}) {
    const int result = lookup("same", info, true);
    tally.Expect(result, {0});
    if (result == 0 && info.id == "app" && info.title == "Title") ++tally.found;
  }
  tally.Expect(nuv_inner_get_appid_by_title("Title", id), {0});
  tally.Expect(nuv_inner_get_appid_by_kelvoid_or_nativeid("same", id), {0});
  tally.Expect(nuv_inner_check_most_used_app("app"), {0, 1});
  tally.Expect(nuv_inner_check_recently_used_app("none"), {0});
}

void List(Tally& tally) {
  _APPSINFO_T* list = nullptr;
  int count = 0;
  tally.Expect(nuv_inner_get_all_app_list(&list, &count), {0});
  if (list == nullptr || count != 2 || list[0].id != "app") ++tally.strange;
  delete[] list;
}

// A write fails where another thread has just switched the connection to reading.
void Write(Tally& tally) {
  const int result = nuv_db_update_app_count("app");
  tally.Expect(result, {0, -1});
  if (result == 0) ++tally.counted;
  tally.Expect(nuv_db_update_app_by_key("other", APPSINFO_UPDATE_IS_UPDATED), {0, -1});
  tally.Expect(nuv_db_update_app_by_key_value("other", APPSINFO_UPDATE_VERSION, "2.0"), {0, -1});
}

void Forward(Tally& tally) {
  const int result = nuv_inner_update_app_count("app");
  tally.Expect(result, {0, -1});
  if (result == 0) ++tally.counted;
  tally.Expect(nuv_inner_update_app_by_key("other", APPSINFO_UPDATE_IS_UPDATED), {0});
  tally.Expect(nuv_inner_update_app_version("other", "3.0"), {0});
  tally.Expect(nuv_inner_nuv_command(1, "a", "b", "c"), {0});
}

void Switch(Tally& tally) {
  tally.Expect(nuv_inner_db_init(), {0});
  nuv_db_ro_exchange();
  nuv_db_rw_exchange();
  tally.Expect(nuv_inner_update_app_by_key_value("app", kRunTitle, "same"), {0});
  tally.Expect(nuv_inner_check_app_installing("app"), {-1});
}

constexpr std::array<void (*)(Tally&), 5> kWorks = {LookUp, List, Write, Forward, Switch};

class InnerThreads : public InnerBusTest {
 protected:
  void SetUp() override {
    InnerBusTest::SetUp();
    database_.Add(
        "app", {{"app_index", 1}, {"kelvo_id", "same"}, {"run_title", "same"}, {"title", "Title"}, {"use_count", 0}});
    database_.Add("other", {{"app_index", 2}});
  }
};

TEST_F(InnerThreads, EveryFunctionFromEightThreads) {
  WarmUp();
  service_->AnswerTo("nuv_update_app_count", {Answer::kReply, "(-1,)"});
  ASSERT_EQ(0, nuv_inner_db_init());
  Tally tally;
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (size_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (size_t i = t; !stop; ++i) kWorks[i % kWorks.size()](tally);
    });
  }
  std::this_thread::sleep_for(kDuration);
  stop = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, tally.strange);
  EXPECT_LT(0, tally.found);
  EXPECT_LT(0, tally.counted);
  EXPECT_EQ(nullptr, g_pStmt_Inner);
  EXPECT_EQ(1, sqlite_faults::LiveConnections());
  EXPECT_EQ(std::to_string(tally.counted), database_.Ask("select use_count from widgetinfo where id = 'app'"));
  EXPECT_EQ("ok", database_.Ask("pragma integrity_check"));
}

class InnerFork : public InnerThreads {
 protected:
  static int UseInChild(sqlite3* parents) {
    if (g_pConnection_Inner != nullptr || g_pStmt_Inner != nullptr) return 1;
    const size_t openings = sqlite_faults::Openings().size();
    _APPSINFO_T info;
    if (nuv_inner_get_app_info_by_id("app", info, true) != 0 || info.title != "Title") return 2;
    if (sqlite_faults::Openings().size() != openings + 1 || g_pConnection_Inner == parents) return 3;
    DisConnect_Inner();
    if (nuv_inner_db_init() != 0 || nuv_db_update_app_count("app") != 0) return 4;
    return 0;
  }

  std::string Count() { return database_.Ask("select use_count from widgetinfo where id = 'app'"); }
};

TEST_F(InnerFork, AChildUsesAConnectionOfItsOwn) {
  ASSERT_EQ(0, nuv_inner_db_init());
  sqlite3* parents = g_pConnection_Inner;
  EXPECT_EQ(0, InChild([&] { return UseInChild(parents); }));
  EXPECT_EQ(parents, g_pConnection_Inner);
  EXPECT_EQ("1", Count());
  EXPECT_EQ(0, nuv_db_update_app_count("app"));
  EXPECT_EQ("2", Count());
}

TEST_F(InnerFork, AChildForgetsTheModeTogetherWithTheConnection) {
  const auto switch_and_write = [] {
    nuv_db_rw_exchange();
    return Mode() == "read-write" && nuv_db_update_app_count("app") == 0 ? 0 : 1;
  };
  nuv_db_ro_exchange();
  ASSERT_EQ(0, g_db_type);
  EXPECT_EQ(0, InChild(switch_and_write));
  EXPECT_EQ("1", Count());
  EXPECT_EQ(0, g_db_type) << "the parent's mode is the parent's";
  nuv_db_rw_exchange();
  ASSERT_EQ(1, g_db_type);
  EXPECT_EQ(0, InChild(switch_and_write));
  EXPECT_EQ("2", Count());
  EXPECT_EQ(1, g_db_type);
  EXPECT_EQ(0, InChild([] {
              _APPSINFO_T info;
              const int found = nuv_inner_get_app_info_by_id("app", info, true);
              nuv_db_rw_exchange();
              return found == 0 && Mode() == "read-write" && nuv_db_update_app_count("app") == 0 ? 0 : 1;
            }));
  EXPECT_EQ("3", Count());
}

TEST_F(InnerFork, AChildIsNotHeldUpByAChangeOfAnotherThread) {
  WarmUp();
  int status = -1;
  service_->Before("nuv_update_app_count",
                   [&](const RecordedCall&) { status = InChild([] { return UseInChild(g_pConnection_Inner); }); });
  EXPECT_EQ(0, nuv_inner_update_app_count("app"));
  EXPECT_EQ(0, status) << "the inner mutex is free in the child";
}

TEST_F(InnerFork, AChildMakesItsChangesLocally) {
  WarmUp();
  EXPECT_EQ(0, nuv_inner_update_app_count("app"));
  EXPECT_EQ("0", Count()) << "left to the service";
  EXPECT_EQ(0, InChild([] { return nuv_inner_update_app_count("app") == 0 ? 0 : 1; }));
  EXPECT_EQ("1", Count());
  EXPECT_EQ(1u, service_->CallsOf("nuv_update_app_count").size());
}

TEST_F(InnerFork, AChildThatIsForkedDuringAQueryHasAConnectionThatWorks) {
  ASSERT_EQ(0, nuv_inner_db_init());
  std::atomic<bool> stop{false};
  std::atomic<int> failed{0};
  std::thread reader([&] {
    while (!stop) {
      _APPSINFO_T info;
      failed += nuv_inner_get_app_info_by_id("app", info, true) == 0 ? 0 : 1;
    }
  });
  int waited_in_vain = 0;  // as fork() may where the machine has too much to do; such a child is refused the database
  for (int i = 0; i < 20; ++i) {
    const auto begin = std::chrono::steady_clock::now();
    const int status = InChild([begin] {
      if (g_pConnection_Inner != nullptr || g_pStmt_Inner != nullptr) return 1;
      if (std::chrono::steady_clock::now() - begin >= std::chrono::seconds(1)) return 3;
      _APPSINFO_T info;
      return nuv_inner_get_app_info_by_id("app", info, true) == 0 && info.title == "Title" ? 0 : 2;
    });
    waited_in_vain += status == 3 ? 1 : 0;
    EXPECT_TRUE(status == 0 || status == 3) << status;
  }
  stop = true;
  reader.join();
  EXPECT_LT(waited_in_vain, 10);
  EXPECT_EQ(0, failed);
}

}  // namespace
