// A call over the link: which methods start the service, and what an error or a time-out is taken for.
#include <libintl.h>
#include <locale.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include "link_test.h"
#include "private_bus.h"
#include "temp_dir.h"

namespace {

constexpr int kShortMs = 150;  // for a call that is not answered

TEST_F(LinkTest, StartsTheServiceForAllMethodsButThree) {
  StartService();
  ASSERT_EQ(1, Get());
  for (const char* method : {"heartbeat", "notify_app_launch_status", "notify_special_app", "launch_app",
                             "notify_special_app2", "Heartbeat"}) {
    EXPECT_EQ(1, Call(method)) << method;
  }
  std::vector<std::string> without;
  for (const RecordedCall& call : service_->Calls()) {
    if (call.no_auto_start) without.push_back(call.method);
  }
  EXPECT_EQ((std::vector<std::string>{"heartbeat", "notify_app_launch_status", "notify_special_app"}), without);
  EXPECT_EQ(4, fake_platform::LogPriority("set G_DBUS_CALL_FLAGS_NO_AUTO_START to[heartbeat]"));
  EXPECT_FALSE(fake_platform::Logged("set G_DBUS_CALL_FLAGS_NO_AUTO_START to[launch_app]"));
}

TEST_F(LinkTest, TellsATimedOutCallFromOtherErrors) {
  StartService();
  ASSERT_EQ(1, Get());
  service_->AnswerTo("silent", {RecordingService::Answer::kSilence, ""});
  service_->AnswerTo("refused", {RecordingService::Answer::kError, "no"});
  int timed_out = 0;
  EXPECT_EQ(0, Call("refused", &timed_out));
  EXPECT_EQ(0, timed_out);
  EXPECT_FALSE(fake_platform::Logged("gdbus timeout"));
  EXPECT_EQ(0, Call("silent", &timed_out, kShortMs));
  EXPECT_EQ(1, timed_out);
  EXPECT_EQ(6, fake_platform::LogPriority("gdbus timeout"));
  EXPECT_EQ(0, Call("silent", nullptr, kShortMs));
  timed_out = 7;
  EXPECT_EQ(1, Call("answered", &timed_out));
  EXPECT_EQ(7, timed_out);
}

TEST_F(LinkTest, TakesATimeOutThatTheServiceRelaysForOne) {
  StartService();
  ASSERT_EQ(1, Get());
  service_->AnswerTo("relayed", {RecordingService::Answer::kError, "Timeout was reached"});
  int timed_out = 0;
  EXPECT_EQ(0, Call("relayed", &timed_out));
  EXPECT_EQ(1, timed_out);
}

TEST_F(LinkTest, LogsAFailedCall) {
  StartService();
  ASSERT_EQ(1, Get());
  service_->AnswerTo("refused", {RecordingService::Answer::kError, "no"});
  EXPECT_EQ(0, Call("refused"));
  EXPECT_EQ(4, fake_platform::LogPriority("obj obj" + std::to_string(getpid()) + " , method call refused"));
  EXPECT_EQ(4, fake_platform::LogPriority("method call end"));

  EXPECT_EQ(6, fake_platform::LogPriority(
                   "method call false.org.gtk.GDBus.UnmappedGError.Quark._g_2dio_2derror_2dquark.Code36, "
                   "detail[message:GDBus.Error:org.kelvo.Error.Refused: no, code:36] "));
}

// A message catalogue with one message, in the form that gettext reads.
std::string Catalogue(const std::string& original, const std::string& translation) {
  const std::string header = "Content-Type: text/plain; charset=UTF-8\n";
  const uint32_t strings = 28 + 4 * 8;
  const std::string pool = std::string(1, '\0') + original + '\0' + header + '\0' + translation + '\0';
  const auto at = [&](size_t offset) { return static_cast<uint32_t>(strings + offset); };
  const uint32_t words[] = {0x950412de,
                            0,
                            2,
                            28,
                            28 + 2 * 8,
                            0,
                            0,
                            0,
                            at(0),
                            static_cast<uint32_t>(original.size()),
                            at(1),
                            static_cast<uint32_t>(header.size()),
                            at(2 + original.size()),
                            static_cast<uint32_t>(translation.size()),
                            at(3 + original.size() + header.size())};
  return std::string(reinterpret_cast<const char*>(words), sizeof words) + pool;
}

// GLib's text for a call that ran out of time, in the language that the process speaks.
class TranslatedTimeOut {
 public:
  static constexpr const char* kText = "Das dauerte zu lange";

  TranslatedTimeOut() {
    mkdir((directory_ / "xx").c_str(), 0700);
    mkdir((directory_ / "xx/LC_MESSAGES").c_str(), 0700);
    WriteFile(directory_ / "xx/LC_MESSAGES/glib20.mo", Catalogue("Timeout was reached", kText));
    setenv("LANGUAGE", "xx", 1);
    setlocale(LC_ALL, "C.UTF-8");
    bindtextdomain("glib20", directory_.path().c_str());
  }
  static bool IsSpoken() { return std::string(dgettext("glib20", "Timeout was reached")) == kText; }

 private:
  TempDir directory_;
};

TEST_F(LinkTest, RecognisesATimedOutCallInEveryLocale) {
  StartService();
  ASSERT_EQ(1, Get());
  const TranslatedTimeOut translated;
  ASSERT_TRUE(TranslatedTimeOut::IsSpoken());
  service_->AnswerTo("silent", {RecordingService::Answer::kSilence, ""});
  int timed_out = 0;
  EXPECT_EQ(0, Call("silent", &timed_out, kShortMs));
  EXPECT_EQ(1, timed_out);
}

TEST_F(LinkTest, TakesATimeOutThatTheServiceRelaysInTheProcesssLanguageForOne) {
  StartService();
  ASSERT_EQ(1, Get());
  const TranslatedTimeOut translated;
  ASSERT_TRUE(TranslatedTimeOut::IsSpoken());
  for (const char* text : {TranslatedTimeOut::kText, "Timeout was reached"}) {
    service_->AnswerTo("relayed", {RecordingService::Answer::kError, text});
    int timed_out = 0;
    EXPECT_EQ(0, Call("relayed", &timed_out));
    EXPECT_EQ(1, timed_out) << text;
  }
  service_->AnswerTo("relayed", {RecordingService::Answer::kError, "Das dauerte"});
  int timed_out = 0;
  EXPECT_EQ(0, Call("relayed", &timed_out));
  EXPECT_EQ(0, timed_out);
}

TEST_F(LinkTest, ConsumesTheParametersOfACallThatCannotBeMade) {
  GVariant* parameters = g_variant_ref_sink(g_variant_new("(s)", "kept by the test"));
  GVariant* reply = nullptr;
  EXPECT_EQ(0, link().MethodCall("anything", g_variant_new("(s)", "floating"), &reply, kShortMs, nullptr));
  EXPECT_EQ(0, link().MethodCall("anything", parameters, &reply, kShortMs, nullptr));
  EXPECT_EQ(nullptr, reply);
  g_variant_unref(parameters);
}

TEST_F(LinkTest, IsStartedOnDemandOnlyByMethodsThatMayDoSo) {
  TempDir services;
  const std::string marker = services / "started";
  WriteFile(services / "start.sh", "#!/bin/sh\ntouch " + marker + "\nexit 1\n");
  chmod((services / "start.sh").c_str(), 0700);
  WriteFile(services / "org.kelvo.tv.litecorvane.server.service",
            "[D-BUS Service]\nName=org.kelvo.tv.litecorvane.server\nExec=" + (services / "start.sh") + "\n");
  const PrivateBus starting_bus("", services.path());
  const auto started = [&] { return access(marker.c_str(), F_OK) == 0; };
  ASSERT_EQ(1, Get());
  for (const char* method : {"heartbeat", "notify_app_launch_status", "notify_special_app"}) {
    EXPECT_EQ(0, Call(method)) << method;
  }
  EXPECT_FALSE(started());
  EXPECT_EQ(0, Call("launch_app"));
  EXPECT_TRUE(WaitUntil(started));
}

}  // namespace
