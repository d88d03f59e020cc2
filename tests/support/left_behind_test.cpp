// The check of what stays behind sees each kind of it.
#include "left_behind.h"

#include <fcntl.h>
#include <nuv_common/nuv_lock.h>
#include <unistd.h>

#include <future>
#include <thread>

#include "database_test.h"
#include "nuv_db_api/nuv_db_statement.h"
#include "nuv_inner_db_api/nuv_db_connection.h"

namespace {

constexpr Milliseconds kOnce{0};
using Lines = std::vector<std::string>;

class LeftBehindTest : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    ASSERT_EQ(0, Connect(database_.path()));
    ASSERT_EQ(0, Connect_Inner(kReadOnly));
  }
};

TEST_F(LeftBehindTest, NothingIsNothing) {
  EXPECT_EQ(Lines{}, LeftBehind().Now(kOnce));
}

TEST_F(LeftBehindTest, SeesALockThatTheCallingThreadHolds) {
  const LeftBehind before;
  {
    const CNUVClientAutoLock lock(g_Mute);
    const CNUVClientAutoLock innerLock(g_inner_Mute);
    EXPECT_EQ((Lines{"lock g_Mute", "lock g_inner_Mute"}), before.Now(kOnce));
  }
  const DatabaseTurn turn(readSide);
  const DatabaseTurn innerTurn(innerSide);
  EXPECT_EQ((Lines{"lock turn of the read side", "lock turn of the inner side"}), before.Now(kOnce));
}

TEST_F(LeftBehindTest, SeesAStatementOfEitherSide) {
  const LeftBehind before;
  ASSERT_EQ(0, Prepare("select 1"));
  ASSERT_EQ(0, Prepare_Inner("select 2", kReadOnly));
  EXPECT_EQ((Lines{"statement select 1", "statement select 2"}), before.Now(kOnce));
  EXPECT_EQ((Lines{"statement select 1", "statement select 2"}), LeftBehind().Now(kOnce));
  sqlite3_finalize(g_pStmt);
  sqlite3_finalize(g_pStmt_Inner);
  EXPECT_EQ(Lines{}, before.Now(kOnce));
}

TEST_F(LeftBehindTest, SeesADescriptorAlsoInThePlaceOfAnother) {
  const int first = open("/dev/null", O_RDONLY);
  const LeftBehind before;
  const int second = open("/dev/zero", O_RDONLY);
  EXPECT_EQ(Lines{"descriptor " + std::to_string(second) + " of /dev/zero"}, before.Now(kOnce));
  dup2(second, first);
  close(second);
  EXPECT_EQ(Lines{"descriptor " + std::to_string(first) + " of /dev/zero"}, before.Now(kOnce));
  close(first);
  EXPECT_EQ(Lines{}, before.Now(kOnce));
  const int kept = open("/dev/null", O_RDONLY);
  EXPECT_EQ(Lines{}, before.Now(kOnce));
  const int again = dup(kept);
  close(kept);
  EXPECT_EQ(Lines{}, before.Now(kOnce)) << "the same under another number";
  close(again);
}

TEST_F(LeftBehindTest, SeesAThreadUntilItHasEnded) {
  const LeftBehind before;
  std::promise<void> end;
  std::thread thread([ended = end.get_future()] { ended.wait(); });
  const Lines lines = before.Now(kOnce);
  EXPECT_EQ(1u, lines.size());
  EXPECT_EQ(0u, lines.at(0).rfind("thread ", 0)) << lines.at(0);
  end.set_value();
  thread.join();
  EXPECT_EQ(Lines{}, before.Now());
}

TEST_F(LeftBehindTest, NeverSeesTheThreadOfItsOwnLook) {
  const LeftBehind before;
  for (int look = 0; look < 300; ++look) ASSERT_EQ(Lines{}, before.Now(kOnce));
}

}  // namespace
