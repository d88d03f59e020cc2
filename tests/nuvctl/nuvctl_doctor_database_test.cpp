// nuvctl doctor on the application database: files that are none, and tables, pages and values that are not well.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "doctor_rows.h"
#include "nuvctl_catalogue.h"

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

class NuvctlDoctorDatabase : public NuvctlCatalogueTest {
 protected:
  DoctorRows Rows(const Arguments& options = {}) const {
    Arguments line = {"doctor", "--json"};
    line.insert(line.end(), options.begin(), options.end());
    return DoctorRows(NuvctlCatalogueTest::Ask(line));
  }
  DoctorRow Row(const std::string& name) const { return Rows()[name]; }
  void ExpectNothingMoreIsKnown(const DoctorRows& rows) const {
    for (const char* name : {"columns", "integrity", "indexes", "values", "programs"}) {
      ExpectRow(rows[name], "warn", "not known: the database cannot be read", IsEmpty());
    }
  }
  void ExpectValue(const std::string& says) const {
    ExpectRow(Row("values"), "warn", AllOf(StartsWith("values that no reader understands: "), HasSubstr(says)),
              database_.path());
  }
  // Where each flag is false, and each other column of integers is as it is in an application that is well.
  void AddWell(const std::string& id) {
    database_.Add(id);
    for (const auto& [column, is_number] : AppDatabase::Columns()) {
      if (is_number) database_.Run("UPDATE widgetinfo SET " + column + " = 0 WHERE " + column + " IS NULL");
    }
  }
  std::set<std::string> Files() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(database_.directory())) names.insert(entry.path().filename());
    return names;
  }
};

TEST_F(NuvctlDoctorDatabase, IsWellWhereItIs) {
  AddWell("an.app");
  const DoctorRows rows = Rows();
  ExpectRow(rows["database"], "ok", database_.path() + " has 1 application", IsEmpty());
  ExpectRow(rows["columns"], "ok", HasSubstr("columns that the library reads are there"), IsEmpty());
  ExpectRow(rows["integrity"], "ok", "SQLite finds no damage", IsEmpty());
  ExpectRow(rows["values"], "ok", "every value is one that its readers know", IsEmpty());
}

TEST_F(NuvctlDoctorDatabase, TellsOneThatIsNotThereAndMakesNone) {
  RemoveDatabase();
  const DoctorRows rows = Rows();
  ExpectRow(rows["database"], "fail", database_.path() + ": No such file or directory",
            "nuv-simulator --dir " + database_.directory());
  ExpectNothingMoreIsKnown(rows);
  EXPECT_FALSE(fs::exists(database_.path()));
}

TEST_F(NuvctlDoctorDatabase, TellsAFileThatIsNone) {
  MakeDatabaseGarbage();
  const DoctorRows rows = Rows();
  ExpectRow(rows["database"], "fail", database_.path() + ": file is not a database", HasSubstr("mv "));
  ExpectNothingMoreIsKnown(rows);
}

TEST_F(NuvctlDoctorDatabase, TellsADirectoryInItsPlace) {
  MakeDatabaseADirectory();
  ExpectRow(Row("database"), "fail", database_.path() + " is no file", HasSubstr("mv "));
}

// Nobody writes to it, so opening it would wait for ever.
TEST_F(NuvctlDoctorDatabase, APipeInItsPlaceIsNotWaitedFor) {
  RemoveDatabase();
  ASSERT_EQ(mkfifo(database_.path().c_str(), 0600), 0);
  ExpectRow(Row("database"), "fail", database_.path() + " is no file", HasSubstr("mv "));
}

TEST_F(NuvctlDoctorDatabase, TellsOneWithoutATableOfApplications) {
  database_.Run("DROP TABLE widgetinfo");
  ExpectRow(Row("database"), "fail", HasSubstr("has no table of applications"), StartsWith("nuv-simulator --dir "));
}

TEST_F(NuvctlDoctorDatabase, OneThatStaysBusyIsWaitedForNoLongerThanTheUserWants) {
  const auto locker = LockDatabase();
  const DoctorRows rows = Rows({"--timeout", "0.3"});
  ExpectRow(rows["database"], "fail", database_.path() + " stayed busy for 0.3 s", "fuser " + database_.path());
  ExpectNothingMoreIsKnown(rows);
}

TEST_F(NuvctlDoctorDatabase, NamesTheColumnsThatTheLibraryReadsAndThatAreMissing) {
  database_.Run("ALTER TABLE widgetinfo DROP COLUMN is_ticker");
  database_.Run("ALTER TABLE widgetinfo DROP COLUMN launch_date");
  ExpectRow(Row("columns"), "fail", "widgetinfo lacks what the library reads: is_ticker, launch_date",
            StartsWith("nuv-simulator --dir "));
}

// The library reads each of these, whichever side it is on; what it does not read is not missed.
TEST_F(NuvctlDoctorDatabase, MissesEachColumnOfBothSidesAndNoOther) {
  for (const char* column : {"nuvorder", "reserved_tinyint_14", "use_gamepad", "duid"}) {
    database_.Run(std::string("ALTER TABLE widgetinfo RENAME COLUMN ") + column + " TO hidden");
    ExpectRow(Row("columns"), "fail", EndsWith(std::string(" reads: ") + column), Not(IsEmpty()));
    database_.Run(std::string("ALTER TABLE widgetinfo RENAME COLUMN hidden TO ") + column);
  }
  database_.Run("ALTER TABLE widgetinfo DROP COLUMN cp_name");
  EXPECT_EQ(Row("columns").state, "ok");
}

TEST_F(NuvctlDoctorDatabase, WhatCannotBeAskedForWantOfAColumnIsNotKnown) {
  database_.Run("ALTER TABLE widgetinfo RENAME COLUMN install_path TO hidden");
  ExpectRow(Row("programs"), "warn", "not known: no such column: install_path", IsEmpty());
  database_.Run("ALTER TABLE widgetinfo RENAME COLUMN app_index TO hidden_too");
  ExpectRow(Row("indexes"), "warn", "not known: no such column: app_index", IsEmpty());
}

TEST_F(NuvctlDoctorDatabase, TellsThatTheServicesConfigurationIsMissing) {
  database_.Run("DROP TABLE NUVConfigTable");
  ExpectRow(Row("columns"), "fail", HasSubstr("NUVConfigTable"), StartsWith("nuv-simulator --dir "));
}

// The last page of the file is one of the table's.
TEST_F(NuvctlDoctorDatabase, FindsAPageThatIsDamaged) {
  database_.AddMany(2000);
  const int page = std::stoi(database_.Ask("PRAGMA page_size"));
  database_.Close();
  std::string file = ReadFile(database_.path());
  ASSERT_GT(file.size(), static_cast<size_t>(page) * 3);
  file.replace(file.size() - static_cast<size_t>(page), static_cast<size_t>(page), static_cast<size_t>(page), 'x');
  WriteFile(database_.path(), file);
  const DoctorRows rows = Rows();
  ExpectRow(rows["integrity"], "fail", AllOf(StartsWith("SQLite finds damage: "), Not(HasSubstr("***"))),
            StartsWith("mv " + database_.path()));
  EXPECT_EQ(rows["columns"].state, "ok") << "the rest is looked at";
}

TEST_F(NuvctlDoctorDatabase, TellsWhatIsReadWithoutAnIndex) {
  constexpr char kListed[] = "ON widgetinfo (install_state, is_app_available, is_hidden, is_need_reset, ";
  const std::pair<const char*, std::string> kNeeds[] = {
      {"lookups by id", "ON widgetinfo (kelvo_id)"},
      {"lookups by id", "ON widgetinfo (pkgname)"},
      {"lookups by run title", "ON widgetinfo (run_title)"},
      {"lists by index", kListed + std::string("app_index)")},
      {"lists by use", kListed + std::string("use_count DESC)")},
      {"lists by title", kListed + std::string("upper(title))")},
  };
  database_.Run("CREATE UNIQUE INDEX of_ids ON widgetinfo (id)");
  int number = 0;
  for (const auto& [what, columns] : kNeeds) database_.Run("CREATE INDEX i" + std::to_string(number++) + " " + columns);
  ExpectRow(Row("indexes"), "ok", "lookups and lists have their indexes", IsEmpty());
  number = 0;
  for (const auto& [what, columns] : kNeeds) {
    const std::string index = "i" + std::to_string(number++);
    database_.Run("DROP INDEX " + index);
    ExpectRow(Row("indexes"), "warn", std::string("without an index, these read or sort all applications: ") + what,
              StartsWith("nuv-simulator --dir "));
    database_.Run("CREATE INDEX " + index + " " + columns);
  }
}

TEST_F(NuvctlDoctorDatabase, TellsAFlagThatIsNeitherTrueNorFalse) {
  AddWell("an.app");
  database_.Run("UPDATE widgetinfo SET is_lock = 7");
  ExpectValue("is_lock of an.app is 7");
  database_.Run("UPDATE widgetinfo SET is_lock = 1, is_hidden = NULL");
  ExpectValue("is_hidden of an.app is NULL");
  database_.Run("UPDATE widgetinfo SET is_hidden = 0");
  EXPECT_EQ(Row("values").state, "ok");
}

TEST_F(NuvctlDoctorDatabase, TellsATextOrAFractionInPlaceOfANumber) {
  AddWell("an.app");
  database_.Run("UPDATE widgetinfo SET use_count = 'many'");
  ExpectValue("use_count of an.app is 'many'");
  database_.Run("UPDATE widgetinfo SET use_count = 1.5");
  ExpectValue("use_count of an.app is 1.5");
}

TEST_F(NuvctlDoctorDatabase, TellsANumberThatDoesNotFitItsMember) {
  AddWell("an.app");
  database_.Run("UPDATE widgetinfo SET size = 2147483647");
  EXPECT_EQ(Row("values").state, "ok");
  database_.Run("UPDATE widgetinfo SET size = 2147483648");
  ExpectValue("size of an.app is 2147483648");
}

TEST_F(NuvctlDoctorDatabase, TellsATypeAndACategoryThatNobodyKnows) {
  AddWell("an.app");
  database_.Run("UPDATE widgetinfo SET app_type = 3, app_featured = 16");
  ExpectValue("app_featured of an.app is 16, app_type of an.app is 3");
}

TEST_F(NuvctlDoctorDatabase, TellsAnIdThatIsNone) {
  AddWell("");
  ExpectValue("an id is empty");
  database_.Run("UPDATE widgetinfo SET id = CAST(X'61ff' AS TEXT)");
  ExpectValue("the id a\xef\xbf\xbd is no UTF-8");
}

TEST_F(NuvctlDoctorDatabase, AnOddValueOfAnIdWithQuotesIsOneLine) {
  AddWell("an 'odd'\n\"app\"");
  database_.Run("UPDATE widgetinfo SET is_lock = 7");
  ExpectValue("is_lock of an 'odd'\\u000a\"app\" is 7");
}

// Whoever opens it, even to read, makes the files of its log.
TEST_F(NuvctlDoctorDatabase, OneWithAWriteAheadLogIsReadWithoutMakingTheLog) {
  AddWell("an.app");
  database_.Run("PRAGMA journal_mode = WAL");
  database_.Close();
  ASSERT_EQ(Files(), std::set<std::string>{".corvane.db"});
  ExpectRow(Row("database"), "ok", HasSubstr("has 1 application"), IsEmpty());
  EXPECT_EQ(Files(), std::set<std::string>{".corvane.db"});
}

TEST_F(NuvctlDoctorDatabase, OneWithAWriteAheadLogInUseIsReadWithTheLog) {
  AddWell("an.app");
  database_.Run("PRAGMA journal_mode = WAL");
  database_.Add("in.the.log");
  const auto files = Files();
  ASSERT_EQ(files.size(), 3U);
  ExpectRow(Row("database"), "ok", HasSubstr("has 2 applications"), IsEmpty());
  EXPECT_EQ(Files(), files);
}

TEST_F(NuvctlDoctorDatabase, TellsAWriteAheadLogThatNobodyUses) {
  AddWell("an.app");
  database_.Run("PRAGMA journal_mode = WAL");
  database_.Add("in.the.log");
  const std::string copy = directory_ / "copy";
  fs::create_directory(copy);
  for (const char* name : {".corvane.db", ".corvane.db-wal"}) {
    fs::copy_file(database_.directory() + "/" + name, copy + "/" + name);
  }
  const DoctorRows rows(Run({"doctor", "--json"}, {{"NUV_HOST_DIR", copy}}));
  ExpectRow(rows["database"], "warn", HasSubstr("a write-ahead log that nobody uses, which is not looked at"),
            "nuv-simulator --dir " + copy);
  EXPECT_FALSE(fs::exists(copy + "/.corvane.db-shm"));
}

// What a writer that was killed leaves behind. The copy is of a transaction that has reached the file.
TEST_F(NuvctlDoctorDatabase, TellsAChangeThatWasCutOff) {
  database_.AddMany(500);
  database_.Run("PRAGMA cache_size = 1");
  database_.Run("BEGIN");
  database_.Run("UPDATE widgetinfo SET title = 'changed'");
  ASSERT_TRUE(fs::exists(database_.path() + "-journal"));
  const std::string copy = directory_ / "copy";
  fs::create_directory(copy);
  for (const char* name : {".corvane.db", ".corvane.db-journal"}) {
    fs::copy_file(database_.directory() + "/" + name, copy + "/" + name);
  }
  database_.Run("ROLLBACK");
  const DoctorRows rows(Run({"doctor", "--json"}, {{"NUV_HOST_DIR", copy}}));
  ExpectRow(rows["database"], "fail", HasSubstr("a change of it was cut off"), "nuv-simulator --dir " + copy);
  EXPECT_TRUE(fs::exists(copy + "/.corvane.db-journal"));
}

}  // namespace
