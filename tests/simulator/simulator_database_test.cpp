// The application database: its tables, catalogues, and the methods that change it.
#include <gmock/gmock.h>
#include <sqlite3.h>

#include <filesystem>

#include "app_database.h"
#include "simulator_fixture.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

using SimulatorDatabaseTest = SimulatorTest;

struct Default {
  const char* column;
  const char* value;
};

void Execute(const std::string& path, const char* sql) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
  sqlite3_close(database);
}

TEST_F(SimulatorDatabaseTest, TheTableHasEveryColumnThatAClientNames) {
  Start();
  for (const auto& [name, is_number] : AppDatabase::Columns()) {
    EXPECT_EQ(Query("select count(*) from pragma_table_info('widgetinfo') where name = '" + name + "'"), "1") << name;
  }
  EXPECT_EQ(Query("select count(*) from pragma_table_info('widgetinfo')"),
            std::to_string(AppDatabase::Columns().size()));
}

TEST_F(SimulatorDatabaseTest, AnApplicationWithNothingButAnIdIsInstalledAvailableAndPlain) {
  Start({}, R"({"apps": [{"id": "bare.app"}]})");
  constexpr Default kDefaults[] = {{"install_state", "3"},
                                   {"is_app_available", "1"},
                                   {"is_need_reset", "0"},
                                   {"is_hidden", "0"},
                                   {"is_removable", "1"},
                                   {"is_display", "1"},
                                   {"is_multi_tasking", "1"},
                                   {"app_type", "2"},
                                   {"app_featured", "1"},
                                   {"install_source_type", "1"},
                                   {"app_index", "-1"},
                                   {"reserved_tinyint_11", "1"},
                                   {"is_lock", "0"},
                                   {"use_count", "0"},
                                   {"title", ""},
                                   {"launch_date", ""},
                                   {"hybrid_app", ""},
                                   {"reserved_string_20", ""}};
  for (const Default& expected : kDefaults) {
    EXPECT_EQ(Query(std::string("select ") + expected.column + " from widgetinfo where id = 'bare.app'"),
              expected.value)
        << expected.column;
  }
}

TEST_F(SimulatorDatabaseTest, TheLookupColumnsAreIndexed) {
  Start();
  for (const std::string column : {"kelvo_id", "pkgname", "run_title"}) {
    EXPECT_EQ(Query("select 1 from pragma_index_list('widgetinfo') l, pragma_index_info(l.name) i where i.name = '" +
                    column + "'"),
              "1")
        << column;
  }
  EXPECT_EQ(Query("select pk from pragma_table_info('widgetinfo') where name = 'id'"), "1");
}

TEST_F(SimulatorDatabaseTest, AnOldDatabaseGetsTheMissingColumnsAndKeepsItsRows) {
  Execute(directory_ / ".corvane.db",
          "create table widgetinfo (id text primary key, title text, use_count integer, private_column text);"
          "insert into widgetinfo values ('old.app', 'Old', 5, 'kept')");
  Start();
  EXPECT_EQ(Query("select title || use_count || private_column from widgetinfo where id = 'old.app'"), "Old5kept");
  EXPECT_EQ(Query("select install_state || app_type || is_app_available from widgetinfo where id = 'old.app'"), "321");
  EXPECT_EQ(Query("select count(*) from NUVConfigTable"), "0");
  EXPECT_EQ(OutcomeOf({"old.app"}), std::make_pair(900, 0));
}

TEST_F(SimulatorDatabaseTest, ADatabaseWithApplicationsIsNotSeededAgain) {
  Execute(directory_ / ".corvane.db",
          "create table widgetinfo (id text primary key); insert into widgetinfo values ('my.app')");
  StartPlain();
  ASSERT_TRUE(WaitForOutput("ready"));
  EXPECT_EQ(Query("select count(*) from widgetinfo"), "1");
}

TEST_F(SimulatorDatabaseTest, AFileThatIsNoDatabaseIsReported) {
  WriteFile(directory_ / ".corvane.db",
            "This is no database, and long enough to be seen as something else. " + std::string(4096, 'x'));
  StartPlain();
  EXPECT_EQ(simulator_->Wait(), 1);
  EXPECT_THAT(simulator_->Errors(), HasSubstr("not a database"));
}

TEST_F(SimulatorDatabaseTest, ASeedReplacesApplicationsWithTheSameIdAndKeepsTheOthers) {
  Start({}, R"({"apps": [{"id": "a.app", "title": "Old", "is_lock": 1}, {"id": "b.app"}],
                "config": {"RESERVED_27": "x:y", "OTHER": "1"}})");
  ASSERT_EQ(End(), 0);
  Start({}, R"({"apps": [{"id": "a.app", "title": "New"}], "config": {"RESERVED_27": "p:q"}})");
  EXPECT_EQ(Query("select title || is_lock from widgetinfo where id = 'a.app'"), "New0");
  EXPECT_EQ(Query("select count(*) from widgetinfo"), "2");
  EXPECT_EQ(Query("select value from NUVConfigTable where name = 'RESERVED_27'"), "p:q");
  EXPECT_EQ(Query("select value from NUVConfigTable where name = 'OTHER'"), "1");
}

TEST_F(SimulatorDatabaseTest, TextsOfACatalogueAreStoredAsTheyAre) {
  Start({}, R"({"apps": [{"id": "it's.app", "title": "x'); drop table widgetinfo; --", "is_lock": true}]})");
  EXPECT_EQ(Query("select title from widgetinfo where id = 'it''s.app'"), "x'); drop table widgetinfo; --");
  EXPECT_EQ(Query("select is_lock from widgetinfo"), "1");
}

struct BadCatalogue {
  const char* text;
  const char* complaint;
};

TEST_F(SimulatorDatabaseTest, ABadCatalogueIsRefusedWithThePlace) {
  constexpr BadCatalogue kBad[] = {
      {"{", "bad.json: parse error at line 1"},
      {"[]", "has to be an object"},
      {R"({"applications": []})", "applications: neither"},
      {R"({"apps": {}})", "apps has to be a list"},
      {R"({"apps": [5]})", "apps[0] has to be an object"},
      {R"({"apps": [{"id": "a"}, {"title": "x"}]})", "apps[1] has no id"},
      {R"({"apps": [{"id": ""}]})", "apps[0] has no id"},
      {R"({"apps": [{"id": 5}]})", "apps[0].id has to be a text"},
      {R"({"apps": [{"id": "a", "titel": "x"}]})", "apps[0].titel: there is no such column"},
      {R"({"apps": [{"id": "a", "is_lock": "1"}]})", "apps[0].is_lock has to be an integer"},
      {R"({"apps": [{"id": "a", "size": 9223372036854775808}]})", "apps[0].size is larger than a column can hold"},
      {R"({"config": {"a": 1}})", "config.a has to be a text"},
  };
  for (const BadCatalogue& bad : kBad) {
    WriteFile(files_ / "bad.json", bad.text);
    StartPlain({"--seed", files_ / "bad.json"});
    EXPECT_EQ(simulator_->Wait(), 2) << bad.text;
    EXPECT_THAT(simulator_->Errors(), HasSubstr(bad.complaint));
    EXPECT_THAT(simulator_->Errors(), HasSubstr("bad.json: "));
  }
  StartPlain({"--seed", files_ / "missing.json"});
  EXPECT_EQ(simulator_->Wait(), 2);
  EXPECT_THAT(simulator_->Errors(), HasSubstr("missing.json: No such file"));
}

TEST_F(SimulatorDatabaseTest, ANewDatabaseGetsTheSampleCatalogue) {
  StartPlain();
  ASSERT_TRUE(WaitForOutput("ready")) << simulator_->Errors();
  EXPECT_GE(std::stoi(Query("select count(*) from widgetinfo")), 28);
  EXPECT_THAT(Query("select value from NUVConfigTable where name = 'RESERVED_27'"), HasSubstr("clock:"));
}

TEST_F(SimulatorDatabaseTest, TheSampleCatalogueHasApplicationsOfEveryKind) {
  StartPlain({"--seed", NUV_SOURCE_DIR "/data/catalogue.json"});
  ASSERT_TRUE(WaitForOutput("ready")) << simulator_->Errors();
  constexpr const char* kKinds[] = {"app_type = 2",
                                    "app_type = 4",
                                    "app_type = 8",
                                    "app_type = 16 and hbbTV <> ''",
                                    "hybrid_app <> ''",
                                    "is_hidden = 1",
                                    "is_lock = 1",
                                    "install_state = 2",
                                    "is_need_reset = 1",
                                    "is_app_available = 0",
                                    "is_ispbound = 1",
                                    "is_hybrid_tv = 1",
                                    "app_featured = 1",
                                    "app_featured = 2",
                                    "app_featured = 4",
                                    "app_featured = 8",
                                    "app_index >= 300",
                                    "use_count > 0 and launch_date <> ''",
                                    "is_multi_screen2 = 1",
                                    "length(cast(title as blob)) > 127",
                                    "unicode(title) between 0xac00 and 0xd7a3",
                                    "unicode(title) between 0x600 and 0x6ff",
                                    "unicode(title) > 0x1f000",
                                    "title like '%' || char(0x301) || '%'",
                                    "id <> kelvo_id and kelvo_id <> ''",
                                    "id = 'org.kelvo.corvane-commui'"};
  for (const std::string kind : kKinds) {
    EXPECT_NE(Query("select count(*) from widgetinfo where " + kind), "0") << kind;
  }
  EXPECT_EQ(Query("select count(*) from (select kelvo_id from widgetinfo group by kelvo_id having count(*) > 1)"), "0");
}

TEST_F(SimulatorDatabaseTest, TheUpdateMethodsWriteTheDatabase) {
  Start({}, R"({"apps": [{"id": "a.app", "is_updated": 1, "version": "1.0", "use_count": 4}]})");
  EXPECT_EQ(CallCorvane("nuv_update_app_count", g_variant_new("(s)", "a.app")).Text(), "(0,)");
  EXPECT_EQ(Query("select use_count from widgetinfo"), "5");
  EXPECT_NE(Query("select launch_date from widgetinfo"), "");
  EXPECT_EQ(CallCorvane("nuv_update_app_version", g_variant_new("(ss)", "a.app", "2.5")).Text(), "(0,)");
  EXPECT_EQ(Query("select version from widgetinfo"), "2.5");
  EXPECT_EQ(CallCorvane("nuv_update_app_by_key", g_variant_new("(si)", "a.app", 0)).Text(), "(0,)");
  EXPECT_EQ(Query("select is_updated from widgetinfo"), "0");
}

TEST_F(SimulatorDatabaseTest, AnUnknownKeyChangesNothing) {
  Start({}, R"({"apps": [{"id": "a.app", "is_updated": 1}]})");
  EXPECT_EQ(CallCorvane("nuv_update_app_by_key", g_variant_new("(si)", "a.app", 3)).Text(), "(-3,)");
  EXPECT_EQ(Query("select is_updated from widgetinfo"), "1");
}

TEST_F(SimulatorDatabaseTest, ALockedDatabaseFailsTheUpdateAndNotTheService) {
  Start({}, R"({"apps": [{"id": "a.app"}]})");
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open((directory_ / ".corvane.db").c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "begin exclusive", nullptr, nullptr, nullptr), SQLITE_OK);
  const Reply reply = CallCorvane("nuv_update_app_count", g_variant_new("(s)", "a.app"));
  EXPECT_EQ(reply.error, "org.freedesktop.DBus.Error.Failed");
  EXPECT_THAT(reply.message, HasSubstr("locked"));
  EXPECT_EQ(OutcomeOf({"a.app"}), std::make_pair(903, 404));
  sqlite3_exec(other, "rollback", nullptr, nullptr, nullptr);
  sqlite3_close(other);
  EXPECT_EQ(OutcomeOf({"a.app"}), std::make_pair(900, 0));
}

TEST_F(SimulatorDatabaseTest, TheStateDirectoryIsMadeWhenItIsMissing) {
  WriteFile(files_ / "empty", "");
  StartPlain({"--seed", files_ / "empty"});
  EXPECT_EQ(simulator_->Wait(), 2) << "an empty file is no catalogue";
  Process fresh({NUV_BIN_DIR "/nuv-simulator", "--print-ready"}, files_.path(),
                {{"NUV_HOST_DIR", directory_ / "deep/er"}});
  ASSERT_TRUE(WaitUntil([&] { return fresh.Output() == "ready\n" || !fresh.Running(); }));
  EXPECT_TRUE(std::filesystem::exists(directory_ / "deep/er/.corvane.db"));
  EXPECT_TRUE(std::filesystem::is_directory(directory_ / "deep/er/running"));
}

// As the library asks.
constexpr const char* kListed =
    " from widgetinfo where is_app_available = 1 and install_state = 3 and is_hidden = 0 and is_need_reset = 0 ";

class SimulatorListPlanTest : public SimulatorDatabaseTest {
 protected:
  // How SQLite goes about the statement, a line for each step.
  std::string PlanOf(const std::string& sql) const {
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open((directory_ / ".corvane.db").c_str(), &database), SQLITE_OK);
    std::string plan;
    const auto add = +[](void* text, int, char** columns, char**) {
      *static_cast<std::string*>(text) += columns[3] + std::string("\n");
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(database, ("explain query plan " + sql).c_str(), add, &plan, nullptr), SQLITE_OK)
        << sqlite3_errmsg(database);
    sqlite3_close(database);
    return plan;
  }

  // A page costs what it has and a step for each row before it, a count no row.
  void ExpectQuickLists() const {
    constexpr std::pair<const char*, const char*> kOrders[] = {{"app_index asc", "index"},
                                                               {"use_count desc", "used"},
                                                               {"upper(title) asc", "title"},
                                                               {"upper(title) desc", "title"},
                                                               {"install_date desc", "date"}};
    for (const auto& [order, index] : kOrders) {
      const std::string plan = PlanOf(std::string("select *") + kListed + "order by " + order + " limit 40,20");
      EXPECT_THAT(plan, HasSubstr(std::string("USING INDEX widgetinfo_list_") + index + " ")) << order;
      EXPECT_THAT(plan, Not(HasSubstr("TEMP B-TREE"))) << order;
    }
    EXPECT_THAT(PlanOf(std::string("select count(id)") + kListed), HasSubstr("COVERING INDEX widgetinfo_list_count "));
  }
};

TEST_F(SimulatorListPlanTest, EveryOrderOfAListAndItsCountHaveAnIndex) {
  Start();
  ExpectQuickLists();
}

TEST_F(SimulatorListPlanTest, AnOlderDatabaseGetsTheIndexesAtTheStart) {
  Start({}, R"({"apps": [{"id": "a.app"}]})");
  ASSERT_EQ(End(), 0);
  for (const char* index : {"count", "index", "used", "title", "date"}) {
    Execute(directory_ / ".corvane.db", (std::string("drop index if exists widgetinfo_list_") + index).c_str());
  }
  StartPlain();
  ASSERT_TRUE(WaitForOutput("ready\n")) << simulator_->Errors();
  ExpectQuickLists();
  EXPECT_EQ(Query("select count(*) from widgetinfo"), "1");
}

}  // namespace
