// Many threads read the catalogue through the shared library while another process writes it.
#include <gtest/gtest.h>
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

#include "app_database.h"
#include "process.h"

namespace {

struct Free {
  void operator()(void* block) const { free(block); }
};

struct Findings {
  std::atomic<int> found{0};
  std::atomic<int> busy{0};
  std::atomic<int> other_results{0};  // not among the documented ones, or impossible here
  std::atomic<int> torn{0};           // columns that are written together differ
};

// Whether the columns that each transaction of the writer sets to one number are equal.
bool IsWhole(const nuv_app_info_s& info) {
  return strcmp(info.app_title, info.app_version) == 0 && info.size == info.use_count &&
         atoi(info.app_title) == info.size;
}

bool IsWhole(const _APPS_INNER_INFO_T& info) {
  return info.title == info.version && info.size == info.use_count && atoi(info.title.c_str()) == info.size;
}

// Counts a result of a query that is to find something.
bool Note(Findings& findings, int result) {
  if (result == 0) ++findings.found;
  if (result == -2) ++findings.busy;
  if (result != 0 && result != -2) ++findings.other_results;
  return result == 0;
}

void Expect(std::atomic<int>& failures, bool holds) {
  if (!holds) ++failures;
}

void FindById(Findings& findings) {
  nuv_app_info_s info = {};
  if (Note(findings, m_nuv_get_app_info("pair", &info))) Expect(findings.torn, IsWhole(info));
}

void FindByRunTitle(Findings& findings) {
  nuv_app_info_s info = {};
  if (Note(findings, nuv_get_app_info_by_runtitle("run pair", &info))) Expect(findings.torn, IsWhole(info));
}

void FindByRunTitleOnTheServiceSide(Findings& findings) {
  nuv_app_info_s info = {};
  if (Note(findings, GetAppInfoByRuntitle(&info, "run twin"))) Expect(findings.torn, IsWhole(info));
}

void FindInner(Findings& findings) {
  _APPS_INNER_INFO_T info;
  if (Note(findings, GetAppInnerInfo("twin", &info))) Expect(findings.torn, IsWhole(info));
}

void ListInner(Findings& findings) {
  std::vector<_APPS_INNER_INFO_T> list;
  if (!Note(findings, GetNUVAppList("65535", "1", true, list))) return;
  const _APPS_INNER_INFO_T* first = nullptr;
  for (const _APPS_INNER_INFO_T& info : list) {
    if (info.id != "pair" && info.id != "twin") continue;
    Expect(findings.torn, IsWhole(info) && (first == nullptr || first->size == info.size));
    first = &info;
  }
}

void ListAll(Findings& findings) {
  const nuv_app_filter_s all = {NUV_APP_FILTER_ANY, NUV_APP_FILTER_ANY, NUV_APP_FILTER_ANY};
  nuv_app_info_s* list = nullptr;
  int count = 0;
  const bool done = Note(findings, GetAppList(all, NUV_APP_VIEWMODE_INDEX, 0, 0, false, &count, &list, nullptr));
  const std::unique_ptr<nuv_app_info_s, Free> owned(list);
  for (int i = 0; done && i < count; ++i) {
    if (strcmp(list[i].app_id, "pair") == 0) Expect(findings.torn, IsWhole(list[i]));
  }
}

void ListByKey(Findings& findings) {
  nuv_app_info_s* list = nullptr;
  int count = 0;
  const bool done = Note(findings, nuv_get_key_list("is_ispbound", 0, &list, &count));
  const std::unique_ptr<nuv_app_info_s, Free> owned(list);
  for (int i = 0; done && i < count; ++i) Expect(findings.torn, IsWhole(list[i]));
}

void Check(Findings& findings) {
  Note(findings, nuv_check_app_is_locked("'none','pair'"));
  Note(findings, nuv_check_app_is_need_uninstall("'pair'"));
}

void AskWorkers(Findings& findings) {
  int count = 0;
  if (Note(findings, GetAppsTableCount(&count, "", 0, {}))) Expect(findings.torn, count == 2 || count == 3);
  std::vector<_NUVDB_BIND_T> binds = {{1, "pair", 0}};
  Note(findings, CheckIsRecentlyOrMostUsedApp("pair", "select id from widgetinfo where id = ?", binds));
}

void FindByGroup(Findings& findings) {
  std::string app;
  int result = 99;
  GetAppIDFromAppGroupList("group", app, result);
  // 1 and 3 also stand for a busy database.
  if (result != 0) ++findings.busy;
  Expect(findings.other_results, result == 0 || result == 1 || result == 3);
  Expect(findings.torn, result == 3 || app == "pair");
}

constexpr std::array kQueries = {
    FindById,   FindByRunTitle, FindByRunTitleOnTheServiceSide, FindInner, ListInner, ListAll, ListByKey, Check,
    AskWorkers, FindByGroup};

void AskUntil(std::chrono::steady_clock::time_point end, size_t first, Findings& findings) {
  for (size_t i = first; std::chrono::steady_clock::now() < end; ++i) kQueries[i % kQueries.size()](findings);
}

class ManyReaders : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("NUV_HOST_DIR", database_.directory().c_str(), 1);
    for (const char* id : {"pair", "twin"}) {
      database_.Add(id, {{"run_title", std::string("run ") + id},
                         {"title", "0"},
                         {"version", "0"},
                         {"size", 0},
                         {"use_count", 0},
                         {"is_lock", 1},
                         {"reserved_tinyint_1", 0},
                         {"is_ispbound", 1}});
    }
    database_.AddConfig("RESERVED_27", "group:pair");
    database_.Close();
  }

  void ReadWhileWritten(const std::string& mode, std::chrono::seconds time) {
    Process writer({NUV_TEST_DIR "/catalogue_writer", database_.path(), mode}, directory_.path());
    ASSERT_TRUE(WaitUntil([&] { return writer.Output() == "writing\n"; })) << writer.Errors();
    Findings findings;
    const auto end = std::chrono::steady_clock::now() + time;
    std::vector<std::thread> threads;
    for (size_t i = 0; i < 8; ++i) threads.emplace_back([&, i] { AskUntil(end, i, findings); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(writer.Running()) << writer.Errors();
    writer.KillAndWait();
    EXPECT_EQ(0, findings.other_results);
    EXPECT_EQ(0, findings.torn);
    EXPECT_GT(findings.found, 100);
    EXPECT_NE("0", database_.Ask("select size from widgetinfo where id = 'pair'"));
    EXPECT_EQ("ok", database_.Ask("pragma integrity_check"));
    RecordProperty("found", findings.found);
    RecordProperty("busy", findings.busy);
  }

  AppDatabase database_;
  TempDir directory_;
};

TEST_F(ManyReaders, SeeWholeTransactionsOfARollbackJournal) {
  ReadWhileWritten("delete", std::chrono::seconds(2));
}

TEST_F(ManyReaders, SeeWholeTransactionsOfAWriteAheadLog) {
  ReadWhileWritten("wal", std::chrono::seconds(2));
}

TEST_F(ManyReaders, SeeWholeTransactionsOfARollbackJournalForTenSeconds) {
  ReadWhileWritten("delete", std::chrono::seconds(10));
}

TEST_F(ManyReaders, SeeWholeTransactionsOfAWriteAheadLogForTenSeconds) {
  ReadWhileWritten("wal", std::chrono::seconds(10));
}

}  // namespace
