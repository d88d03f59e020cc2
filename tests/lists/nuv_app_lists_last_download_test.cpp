// The order of the last download, against a plain statement of it.
#include <algorithm>
#include <random>

#include "app_list_test.h"
#include "nuv_db_api/nuv_app_list_query.h"

namespace {

std::vector<nuv_app_info_s> RecordsOf(const std::vector<int>& indexes) {
  std::vector<nuv_app_info_s> records(indexes.size());
  for (size_t i = 0; i < indexes.size(); ++i) {
    memset(static_cast<void*>(&records[i]), static_cast<int>(i), sizeof records[i]);  // told apart by every byte
    records[i].app_index = indexes[i];
  }
  return records;
}

// The trailing run of records of index 300 and above comes first, last one first; the others follow as they were.
std::vector<nuv_app_info_s> Model(const std::vector<nuv_app_info_s>& records) {
  size_t run = records.size();
  while (run > 0 && records[run - 1].app_index >= 300) --run;
  std::vector<nuv_app_info_s> result;
  for (size_t i = records.size(); i > run; --i) result.push_back(records[i - 1]);
  for (size_t i = 0; i < run; ++i) result.push_back(records[i]);
  return result;
}

std::vector<int> IndexesOf(const std::vector<nuv_app_info_s>& records) {
  std::vector<int> indexes;
  for (const nuv_app_info_s& record : records) indexes.push_back(record.app_index);
  return indexes;
}

std::vector<int> Sorted(const std::vector<int>& indexes) {
  auto records = RecordsOf(indexes);
  sort_applist_lastdownload(records.data(), static_cast<int>(records.size()));
  return IndexesOf(records);
}

bool Same(const std::vector<nuv_app_info_s>& left, const std::vector<nuv_app_info_s>& right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](const auto& one, const auto& other) { return memcmp(&one, &other, sizeof one) == 0; });
}

TEST(LastDownload, BringsTheTrailingRunForward) {
  EXPECT_EQ((std::vector<int>{301, 300, 1, 2}), Sorted({1, 2, 300, 301}));
  EXPECT_EQ((std::vector<int>{301, 300, 1}), Sorted({300, 1, 301}));
  EXPECT_EQ((std::vector<int>{300, 299}), Sorted({299, 300}));
  EXPECT_EQ((std::vector<int>{2147483647, -2147483647 - 1}), Sorted({-2147483647 - 1, 2147483647}));
}

TEST(LastDownload, LeavesAListOfLowIndexesAlone) {
  EXPECT_EQ((std::vector<int>{1, 299, -5, 0}), Sorted({1, 299, -5, 0}));
  EXPECT_EQ((std::vector<int>{301, 300, 1}), Sorted({301, 300, 1}));
  EXPECT_EQ((std::vector<int>{-300}), Sorted({-300}));
}

TEST(LastDownload, ReversesAListOfHighIndexes) {
  EXPECT_EQ((std::vector<int>{400, 300, 500}), Sorted({500, 300, 400}));
  EXPECT_EQ((std::vector<int>{300}), Sorted({300}));
}

TEST(LastDownload, TouchesNothingOfAnEmptyList) {
  auto records = RecordsOf({1, 300});
  const auto before = records;
  sort_applist_lastdownload(records.data(), 0);
  sort_applist_lastdownload(records.data(), -1);
  sort_applist_lastdownload(nullptr, 0);
  EXPECT_TRUE(Same(before, records));
}

TEST(LastDownload, AgreesWithThePlainOrderOnRandomLists) {
  for (unsigned seed = 1; seed <= 3000; ++seed) {
    std::mt19937 random(seed);
    std::vector<int> indexes(random() % 20);
    for (int& index : indexes) index = 290 + static_cast<int>(random() % 20);
    if (seed % 2 == 0) std::sort(indexes.begin(), indexes.end());  // as the database gives them
    auto records = RecordsOf(indexes);
    const auto expected = Model(records);
    sort_applist_lastdownload(records.data(), static_cast<int>(records.size()));
    ASSERT_TRUE(Same(expected, records)) << "seed " << seed << ": " << ::testing::PrintToString(indexes) << " became "
                                         << ::testing::PrintToString(IndexesOf(records));
  }
}

// Twice the size of a stack, too.
TEST(LastDownload, MakesNoSecondCopy) {
  std::vector<int> indexes(6000);
  for (size_t i = 0; i < indexes.size(); ++i) indexes[i] = static_cast<int>(i);
  auto records = RecordsOf(indexes);
  memory_faults::TakeLargestRequest();
  sort_applist_lastdownload(records.data(), static_cast<int>(records.size()));
  EXPECT_EQ(0u, memory_faults::TakeLargestRequest());
  EXPECT_EQ(5999, records.front().app_index);
  EXPECT_EQ(299, records.back().app_index);
}

}  // namespace
