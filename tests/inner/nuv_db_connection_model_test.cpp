// The inner side's connection against a model of it: whether it is open and for what, over a long random walk.
#include <unistd.h>

#include <cstdlib>
#include <random>
#include <set>

#include "inner_test.h"

// The walk is long, and the machine does not lose its power meanwhile.
extern "C" int fsync(int) {
  return 0;
}
extern "C" int fdatasync(int) {
  return 0;
}

namespace {

constexpr unsigned kSeed = 20250307;
constexpr int kSteps = 20000;
constexpr auto kVersion = static_cast<APPSINFO_UPDATE_KEY_e>(3);

// What the connection should be, and the row that it is used for.
struct Model {
  bool open = false;
  int mode = 0;      // of the open connection
  int db_type = 1;   // of the last opening
  bool file = true;  // the database is at its path
  bool path = true;  // the path variable has a value
  std::vector<int> flags;

  std::string version = "1";
  int count = 0;

  int Connect(int type) {
    if (open) return 0;
    if (!path) return -1;
    db_type = type;
    flags.push_back(type == 1 ? kFlagsReadWrite : kFlagsReadOnly);
    open = file;
    mode = type;
    return open ? 0 : -1;
  }
  void Disconnect() { open = false; }
  void Exchange(int type) {
    if (db_type == type) return;
    Disconnect();
    Connect(type);
  }
  // A query's connection is opened for reading; what it finds open it uses.
  int Query() { return Connect(0); }
  // SQLite refuses to write into a file that was moved away under it.
  bool Write() { return Query() == 0 && mode == 1 && file; }

  int SetVersion(const std::string& value) {
    if (!Write()) return -1;
    version = value;
    return 0;
  }
  int Count() {
    if (!Write()) return -1;
    ++count;
    return 0;
  }
  std::string State() const { return (open ? "open " : "closed ") + std::to_string(db_type); }
};

class InnerModel : public InnerTest {
 protected:
  using Results = std::pair<int, int>;  // the library's, the model's
  struct Step {
    const char* name;
    std::function<Results(InnerModel&)> make;
  };
  static const std::vector<Step>& Steps();

  void SetUp() override {
    InnerTest::SetUp();
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + directory_ / "no_bus").c_str(), 1);
    database_.Add("app", {{"version", "1"}, {"use_count", 0}});
    database_.Close();
  }

  int Lookup() {
    _APPSINFO_T info;
    const int result = nuv_inner_get_app_info_by_id("app", info, true);
    if (result == 0) {
      EXPECT_EQ(model_.version, info.version);
      EXPECT_EQ(model_.count, info.use_count);
    }
    return result;
  }

  int List() {
    _APPSINFO_T* list = nullptr;
    int count = -1;
    const int result = nuv_inner_get_all_app_list(&list, &count);
    EXPECT_EQ(result == 0 ? 1 : 0, count);
    delete[] list;
    return result;
  }

  static int Prepare(int mode) {
    const int result = Prepare_Inner("select id from widgetinfo", static_cast<DB_OPEN_TYPE>(mode));
    while (g_pStmt_Inner != nullptr) Step_Inner();
    return result;
  }

  void MoveFile() {
    const std::string away = database_.path() + ".away";
    ASSERT_EQ(0, model_.file ? rename(database_.path().c_str(), away.c_str())
                             : rename(away.c_str(), database_.path().c_str()));
    model_.file = !model_.file;
  }

  void TogglePath() {
    model_.path = !model_.path;
    fake_platform::SetDatabaseDirectory(model_.path ? std::optional(database_.directory()) : std::nullopt);
  }

  std::string NextVersion() { return std::to_string(++last_version_); }

  void ExpectAsPredicted() const {
    EXPECT_EQ(model_.flags, Flags());
    EXPECT_EQ(model_.db_type, g_db_type);
    EXPECT_EQ(!model_.open ? "closed" : model_.mode == 1 ? "read-write" : "read-only", Mode());
    EXPECT_EQ(model_.open ? 1 : 0, sqlite_faults::LiveConnections());
    EXPECT_EQ(nullptr, g_pStmt_Inner);
    EXPECT_EQ(0, sqlite_faults::LiveStatements());
  }

  Model model_;
  int last_version_ = 1;
};

const std::vector<InnerModel::Step>& InnerModel::Steps() {
  static const std::vector<Step> steps = {
      {"init", [](auto& t) { return Results(nuv_inner_db_init(), t.model_.Connect(1)); }},
      {"exchange to read-write",
       [](auto& t) {
         nuv_db_rw_exchange();
         t.model_.Exchange(1);
         return Results();
       }},
      {"exchange to read-only",
       [](auto& t) {
         nuv_db_ro_exchange();
         t.model_.Exchange(0);
         return Results();
       }},
      {"connect read-only", [](auto& t) { return Results(Connect_Inner(kReadOnly), t.model_.Connect(0)); }},
      {"connect read-write", [](auto& t) { return Results(Connect_Inner(kReadWrite), t.model_.Connect(1)); }},
      {"disconnect",
       [](auto& t) {
         t.model_.Disconnect();
         return Results(DisConnect_Inner(), 0);
       }},
      {"prepare read-only", [](auto& t) { return Results(Prepare(0), t.model_.Connect(0)); }},
      {"prepare read-write", [](auto& t) { return Results(Prepare(1), t.model_.Connect(1)); }},
      {"look up", [](auto& t) { return Results(t.Lookup(), t.model_.Query()); }},
      {"list", [](auto& t) { return Results(t.List(), t.model_.Query()); }},
      {"write a value",
       [](auto& t) {
         const std::string value = t.NextVersion();
         return Results(nuv_db_update_app_by_key_value("app", kVersion, value), t.model_.SetVersion(value));
       }},
      {"reopen and write a value",
       [](auto& t) {
         const std::string value = t.NextVersion();
         t.model_.Disconnect();
         t.model_.Connect(1);
         return Results(nuv_inner_update_app_by_key_value("app", kVersion, value), t.model_.SetVersion(value));
       }},
      {"write a count", [](auto& t) { return Results(nuv_db_update_app_count("app"), t.model_.Count()); }},
      {"forward a count, in vain",
       [](auto& t) {
         t.model_.Exchange(0);
         t.model_.Exchange(1);
         return Results(nuv_inner_update_app_count("app"), t.model_.Count());
       }},
      {"move the file",
       [](auto& t) {
         t.MoveFile();
         return Results();
       }},
      {"change the path variable",
       [](auto& t) {
         t.TogglePath();
         return Results();
       }},
  };
  return steps;
}

TEST_F(InnerModel, ARandomWalkGoesAsPredicted) {
  std::mt19937 random(kSeed);
  std::string last_steps;
  std::set<std::string> states;
  for (int i = 0; i < kSteps && !HasFailure(); ++i) {
    const Step& step = Steps()[random() % Steps().size()];
    Forget();
    model_.flags.clear();
    last_steps = std::string(step.name) + (last_steps.empty() ? "" : " < ") + last_steps.substr(0, 300);
    SCOPED_TRACE("seed " + std::to_string(kSeed) + ", step " + std::to_string(i) + ", latest first: " + last_steps);
    const auto [result, predicted] = step.make(*this);
    EXPECT_EQ(predicted, result);
    ExpectAsPredicted();
    states.insert(model_.State());
  }
  EXPECT_EQ((std::set<std::string>{"closed 0", "closed 1", "open 0", "open 1"}), states);
  EXPECT_LT(100, model_.count) << "writes succeeded, too";
}

}  // namespace
