// Launching by run title: what is launched, and what an unknown title leaves behind.
#include <algorithm>
#include <atomic>
#include <functional>
#include <ostream>
#include <stdexcept>

#include "catalogue_launch_test.h"
#include "log_notation.h"

namespace {

using Texts = std::vector<std::string>;

constexpr const char* kTitle = "Clock";
constexpr const char* kAppId = "org.kelvo.clock";

// One of the three functions, called with a caller id where it takes one.
struct Entry {
  const char* name;
  std::function<int(const char* title, const char* payload, const char* caller, Heard* heard)> launch;
  bool has_caller;
  int shape;
  void* callback;
  const char* entry;  // the function that works and logs
  std::string failure_log;
};
void PrintTo(const Entry& entry, std::ostream* out) {
  *out << entry.name;
}

const Entry kEntries[] = {
    {"nuv_launch_app_by_runtitle",
     [](const char* title, const char* payload, const char*, Heard* heard) {
       return nuv_launch_app_by_runtitle(title, payload, heard == nullptr ? nullptr : OnResult, heard);
     },
     false, 0, reinterpret_cast<void*>(OnResult), "nuv_launch_app_by_runtitle_with_param",
     Red("get app info by runtitle failed")},
    {"nuv_launch_app_by_runtitle_with_param",
     [](const char* title, const char* payload, const char* caller, Heard* heard) {
       return nuv_launch_app_by_runtitle_with_param(title, payload, caller, heard == nullptr ? nullptr : OnResult,
                                                    heard);
     },
     true, 0, reinterpret_cast<void*>(OnResult), "nuv_launch_app_by_runtitle_with_param",
     Red("get app info by runtitle failed")},
    {"nuv_launch_webapp_by_runtitle",
     [](const char* title, const char* payload, const char* caller, Heard* heard) {
       return nuv_launch_webapp_by_runtitle(title, payload, caller, heard == nullptr ? nullptr : OnNotify, heard);
     },
     true, 1, reinterpret_cast<void*>(OnNotify), "nuv_launch_webapp_by_runtitle", Red("nuv_get_app_info failed")},
};

std::string Pointer(const void* pointer) {
  char text[32];
  snprintf(text, sizeof text, "%p", pointer);
  return text;
}

class RunTitleLaunch : public CatalogueLaunchTest, public ::testing::WithParamInterface<Entry> {
 protected:
  void SetUp() override {
    CatalogueLaunchTest::SetUp();
    database_.Add(kAppId, {{"run_title", kTitle}, {"kelvo_id", "k.clock"}});
  }

  int Launch(const char* title, const char* payload = "p=1", const char* caller = "me") {
    return GetParam().launch(title, payload, caller, &heard_);
  }
  static bool IsWebApp() { return GetParam().shape == 1; }
  // The caller id where the function takes it; else what stands for a null one.
  static std::string Caller(const std::string& given, const std::string& null) {
    return GetParam().has_caller ? given : null;
  }
  std::string Marker(const std::string& title) {
    return "[BEGIN]Start: app runtitle:[" + title + "], callerid [" + Caller("me", "(null)") + "], cb [" +
           Pointer(GetParam().callback) + "],user_data:[" + Pointer(&heard_) + "].";
  }
  static Texts MarkerEffects(const std::string& marker) {
    return {"marker " + std::to_string(marker.size()) + " " + marker, "trace_begin " + marker, "trace_end"};
  }
  // Everything that a title without an application leaves behind, in its order.
  void ExpectUnknown(const char* title) {
    fake_platform::Clear();
    service_->Forget();
    CallsAsEffects();
    EXPECT_EQ(-1, Launch(title));
    Texts expected = MarkerEffects(Marker(title));
    expected.emplace_back("call launch_systempopup (0,)");
    if (IsWebApp()) expected.push_back(std::string("vconf rtc/litenuv/webapp/launch_fail=") + title + ":100");
    EXPECT_EQ(expected, WithoutSleeps(fake_platform::Effects()));
    EXPECT_EQ(6, fake_platform::LogPriority(GetParam().failure_log));
    EXPECT_TRUE(service_->Launches().empty());
    EXPECT_TRUE(heard_.Texts().empty());
  }
  static Texts WithoutSleeps(const Texts& effects) {
    Texts others;
    for (const std::string& effect : effects) {
      if (effect.rfind("usleep ", 0) != 0) others.push_back(effect);
    }
    return others;
  }
};

INSTANTIATE_TEST_SUITE_P(All, RunTitleLaunch, ::testing::ValuesIn(kEntries),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(RunTitleLaunch, LaunchesTheDatabasesId) {
  WarmUp();
  EXPECT_EQ(0, Launch(kTitle));
  const auto launches = service_->Launches();
  ASSERT_EQ(1u, launches.size());
  EXPECT_EQ((Texts{kAppId, "p=1", "", Caller("me", ""), "", "", ""}), launches[0].texts);
  EXPECT_TRUE(launches[0].extra_datas.empty());
  // force, preload, options 1 to 4, shape, deep link, extra option, background, skip PIN
  EXPECT_EQ((std::vector<int32_t>{0, 0, 0, 1, 1, 0, GetParam().shape, 0, 0, 0, 0}), launches[0].flags);
  EXPECT_TRUE(heard_.Texts().empty());
}

TEST_P(RunTitleLaunch, DeliversTheResultToItsCallback) {
  WarmUp();
  EXPECT_EQ(0, Launch(kTitle));
  SentResult result;
  result.cb_type = GetParam().shape;
  EXPECT_TRUE(service_->SendResult(service_->Launches().at(0), result));
  ASSERT_TRUE(heard_.WaitFor(1));
  EXPECT_EQ(IsWebApp() ? "notify org.kelvo.clock 900 0 0" : "result 0 org.kelvo.clock 600", heard_.Texts()[0]);
}

TEST_P(RunTitleLaunch, PayloadAndCallerIdFollowTheRulesOfEveryLaunch) {
  WarmUp();
  EXPECT_EQ(0, Launch(kTitle, nullptr, nullptr));
  EXPECT_EQ(0, Launch(kTitle, "a=1&callerid=other&b=2", nullptr));
  EXPECT_EQ(0, Launch(kTitle, "a=1&callerid=other&b=2", "me"));
  const auto launches = service_->Launches();
  ASSERT_EQ(3u, launches.size());
  EXPECT_EQ((Texts{kAppId, "", "", "", "", "", ""}), launches[0].texts);
  EXPECT_EQ((Texts{kAppId, "a=1&callerid=other&b=2", "", "other", "", "", ""}), launches[1].texts);
  EXPECT_EQ(
      (Texts{kAppId, Caller("a=1&callerid=me&b=2", "a=1&callerid=other&b=2"), "", Caller("me", "other"), "", "", ""}),
      launches[2].texts);
}

TEST_P(RunTitleLaunch, EffectsComeInOrder) {
  WarmUp();
  CallsAsEffects();
  EXPECT_EQ(0, Launch(kTitle));
  Texts effects = fake_platform::Effects();
  for (std::string& effect : effects) {
    if (effect.rfind("call launch_app ", 0) == 0) effect = "call launch_app";
  }
  Texts expected = MarkerEffects(Marker(kTitle));
  expected.emplace_back("cpu set self litecorvane -1");
  const Texts body =
      MarkerEffects("[BEGIN]Start: app id:[org.kelvo.clock], callerid [" + Caller("me", "(null)") + "].");
  expected.insert(expected.end(), body.begin(), body.end());
  expected.emplace_back("call launch_app");
  expected.emplace_back("cpu clear self litecorvane");
  EXPECT_EQ(expected, effects);
}

TEST_P(RunTitleLaunch, SaysWhatItWasAskedForFirst) {
  WarmUp();
  fake_platform::LogAsEffects(true);
  EXPECT_EQ(0, Launch(kTitle));
  const std::string start =
      Yellow("Start: app runtitle:[Clock], payload:[p=1],callerid [" + Caller("me", "(null)") + "], cb [" +
             Pointer(GetParam().callback) + "],user_data:[" + Pointer(&heard_) + "].");
  const Texts effects = fake_platform::Effects();
  EXPECT_EQ("log E " + start, effects.at(0));
  EXPECT_EQ(MarkerEffects(Marker(kTitle)), (Texts{effects.at(1), effects.at(2), effects.at(3)}));
  EXPECT_EQ("log I " + Green("Start, runtitile:[Clock]"), effects.at(4));
  EXPECT_NE(std::string::npos, fake_platform::Log().at(0).prefix.find(std::string(": ") + GetParam().entry + "("));
}

TEST_P(RunTitleLaunch, AnUnknownTitleRaisesThePopup) {
  WarmUp();
  ExpectUnknown("unknown");
  ExpectUnknown("");
  ExpectUnknown("clock");
  ExpectUnknown(kAppId);
  ExpectUnknown("k.clock");
}

TEST_P(RunTitleLaunch, ThePopupComesBeforeTheErrorAndTheErrorBeforeTheText) {
  WarmUp();
  CallsAsEffects();
  fake_platform::LogAsEffects(true);
  EXPECT_EQ(-1, Launch("unknown"));
  Texts ends;
  for (const std::string& effect : fake_platform::Effects()) {
    for (const std::string& wanted : {std::string("call launch_systempopup"), std::string("log I Call success"),
                                      "log E " + GetParam().failure_log, std::string("vconf ")}) {
      if (effect.rfind(wanted, 0) == 0) ends.push_back(wanted);
    }
  }
  Texts expected = {"call launch_systempopup", "log I Call success", "log E " + GetParam().failure_log};
  if (IsWebApp()) expected.emplace_back("vconf ");
  EXPECT_EQ(expected, ends);
}

TEST_P(RunTitleLaunch, AnApplicationThatIsNotUsableIsUnknown) {
  WarmUp();
  database_.Run("update widgetinfo set is_need_reset = 1");
  ExpectUnknown(kTitle);
}

TEST_P(RunTitleLaunch, ALookupThatFailsCountsAsUnknown) {
  WarmUp();
  LetDatabaseBeBusy();
  ExpectUnknown(kTitle);
  EXPECT_TRUE(sqlite_faults::step_codes.empty());
  sqlite_faults::Forget();
  fake_platform::SetRepairMarker(true);
  ExpectUnknown(kTitle);
  fake_platform::SetFactoryReset(2);
  ExpectUnknown(kTitle);
  EXPECT_TRUE(sqlite_faults::Prepared().empty());
}

TEST_P(RunTitleLaunch, WithoutADatabaseEveryTitleIsUnknown) {
  WarmUp();
  const TempDir empty;
  fake_platform::SetDatabaseDirectory(empty.path());
  ExpectUnknown(kTitle);
  EXPECT_EQ(0, sqlite_faults::LiveConnections());
}

TEST_P(RunTitleLaunch, WithoutABusAnUnknownTitleStillFailsInOrder) {
  bus_.Kill();
  EXPECT_EQ(-1, Launch("unknown"));
  EXPECT_EQ(6, fake_platform::LogPriority("get_launcher_proxy() error"));
  EXPECT_EQ(6, fake_platform::LogPriority(GetParam().failure_log));
  EXPECT_EQ(IsWebApp() ? "vconf rtc/litenuv/webapp/launch_fail=unknown:100" : "trace_end",
            fake_platform::Effects().back());
}

TEST_P(RunTitleLaunch, PassesTheBodysFailureOn) {
  WarmUp();
  service_->AnswerTo("launch_app", {RecordingService::Answer::kError, "no"});
  EXPECT_EQ(-1, GetParam().launch(kTitle, "p=1", "me", nullptr));
  EXPECT_TRUE(service_->CallsOf("launch_systempopup").empty());
  EXPECT_FALSE(fake_platform::Logged(GetParam().failure_log));
  const Texts effects = fake_platform::Effects();
  EXPECT_EQ(1, std::count(effects.begin(), effects.end(), "vconf rtc/litenuv/webapp/launch_fail=org.kelvo.clock:103"));
}

TEST_P(RunTitleLaunch, NeedsNoCallback) {
  WarmUp();
  EXPECT_EQ(0, GetParam().launch(kTitle, "p=1", "me", nullptr));
  EXPECT_EQ(-1, GetParam().launch("unknown", "p=1", "me", nullptr));
  EXPECT_EQ("trace_begin [BEGIN]Start: app runtitle:[Clock], callerid [" + Caller("me", "(null)") +
                "], cb [(nil)],user_data:[(nil)].",
            fake_platform::Effects().at(1));
}

TEST_P(RunTitleLaunch, CutsTheMarkerAt1023Characters) {
  WarmUp();
  const std::string title(2000, 't');
  EXPECT_EQ(-1, Launch(title.c_str()));
  const std::string marker = Marker(title).substr(0, 1023);
  EXPECT_EQ("marker 1023 " + marker, fake_platform::Effects().at(0));
  EXPECT_EQ("trace_begin " + marker, fake_platform::Effects().at(1));
}

TEST_P(RunTitleLaunch, CutsALongIdAsTheRecordDoes) {
  const std::string id(127, 'i');
  database_.Add(id, {{"run_title", "exact"}});
  database_.Add(id + "more", {{"run_title", "long"}});
  WarmUp();
  EXPECT_EQ(0, Launch("exact"));
  EXPECT_EQ(0, Launch("long"));
  EXPECT_EQ(id, service_->Launches().at(0).texts[0]);
  EXPECT_EQ(id, service_->Launches().at(1).texts[0]);
}

TEST_P(RunTitleLaunch, LookupAndBodyLockInTurn) {
  WarmUp();
  Texts locks;
  sqlite_faults::before_prepare = [&locks](const std::string&) {
    locks.emplace_back(LockIsFree() ? "lookup free" : "lookup held");
  };
  fake_platform::OnEffect([&locks](const std::string& effect) {
    const std::string first = effect.substr(0, effect.find(' '));
    if (first != "marker" && first != "cpu") return;
    locks.push_back(first + (LockIsFree() ? " free" : LockIsHeldOnce() ? " held once" : " held more than once"));
  });
  EXPECT_EQ(0, Launch(kTitle));
  EXPECT_EQ((Texts{"marker free", "lookup held", "cpu held once", "marker held once", "cpu held once"}), locks);
}

TEST_P(RunTitleLaunch, RaisesThePopupWithoutTheLock) {
  WarmUp();
  std::atomic<bool> free{false};
  service_->Before("launch_systempopup", [&free](const RecordedCall&) { free = LockIsFree(); });
  EXPECT_EQ(-1, Launch("unknown"));
  EXPECT_TRUE(free);
}

TEST_P(RunTitleLaunch, ANullTitleRaisesThePopup) {
  WarmUp();
  CallsAsEffects();
  if (IsWebApp()) {
    EXPECT_THROW(Launch(nullptr), std::logic_error);
  } else {
    EXPECT_EQ(-1, Launch(nullptr));
  }
  Texts expected = MarkerEffects(Marker("(null)"));
  expected.emplace_back("call launch_systempopup (0,)");
  EXPECT_EQ(expected, fake_platform::Effects());
  EXPECT_EQ(6, fake_platform::LogPriority(GetParam().failure_log));
  EXPECT_TRUE(LockIsFree());
  EXPECT_TRUE(heard_.Texts().empty());
  EXPECT_EQ(0, Launch(kTitle));
}

}  // namespace
