// nuvctl record: what is in the file, what ends it, and what the command behind it is told.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "nuvctl_run.h"
#include "private_connection.h"
#include "recording/message.h"
#include "recording/reader.h"
#include "scratch_mount.h"

using recording::Entry;
using recording::Kind;
using testing::HasSubstr;
using testing::MatchesRegex;

class NuvctlRecord : public NuvctlOnBusTest {
 protected:
  // What is in the file so far, and how it ends.
  struct Recorded {
    recording::Header header;
    std::vector<Entry> entries;
    recording::Reader::What end = recording::Reader::What::kBroken;
    std::string problem;

    std::vector<Entry> Of(Kind kind, const std::string& member = "") const {
      std::vector<Entry> found;
      for (const Entry& entry : entries) {
        if (entry.kind == kind && (member.empty() || entry.member == member)) found.push_back(entry);
      }
      return found;
    }
    std::string Reason() const { return entries.empty() ? "" : entries.back().reason; }
  };

  Recorded Read() const {
    Recorded recorded;
    recording::Reader reader(file_);
    if (!reader.Open(recorded.header)) {
      recorded.problem = reader.Problem();
      return recorded;
    }
    do {
      Entry entry;
      recorded.end = reader.Next(entry);
      if (recorded.end == recording::Reader::What::kEntry || recorded.end == recording::Reader::What::kEnd) {
        recorded.entries.push_back(entry);
      }
    } while (recorded.end == recording::Reader::What::kEntry);
    recorded.problem = reader.Problem();
    return recorded;
  }

  // The whole file; the test fails where it is no recording with an end.
  Recorded ReadWhole() const {
    Recorded recorded = Read();
    EXPECT_EQ(recorded.end, recording::Reader::What::kEnd) << recorded.problem << ReadFile(file_);
    return recorded;
  }

  static Arguments Nuvctl(const Arguments& arguments) {
    Arguments line = {NUV_BIN_DIR "/nuvctl"};
    line.insert(line.end(), arguments.begin(), arguments.end());
    return line;
  }
  // "nuvctl record" with the words, and behind "--" the command.
  Arguments Record(const Arguments& words, const Arguments& command) const {
    Arguments line = {"record", file_};
    line.insert(line.end(), words.begin(), words.end());
    line.emplace_back("--");
    line.insert(line.end(), command.begin(), command.end());
    return line;
  }
  bool Holds(const std::string& text) const {
    return WaitUntil([&] { return ReadFile(file_).find(text) != std::string::npos; });
  }
  static void CallHeartbeat(const PrivateConnection& client) {
    GVariant* reply =
        g_dbus_connection_call_sync(client.get(), "org.kelvo.tv.corvane.server", "/org/kelvo/tv/corvane/server",
                                    "org.kelvo.tv.corvane.server.interface", "heartbeat", nullptr, nullptr,
                                    G_DBUS_CALL_FLAGS_NONE, 10000, nullptr, nullptr);
    ASSERT_NE(reply, nullptr);
    g_variant_unref(reply);
  }
  // A recording that goes on until something ends it.
  std::unique_ptr<Process> StartRecording(const Arguments& words = {}) const {
    Arguments line = {"record", file_};
    line.insert(line.end(), words.begin(), words.end());
    auto record = Start(line);
    EXPECT_TRUE(WaitUntil([this] { return access(file_.c_str(), F_OK) == 0; })) << record->Errors();
    EXPECT_TRUE(Holds("org.kelvo.tv.corvane.server"));
    return record;
  }

  std::string file_ = directory_ / "tv.nuvrec";
};

TEST_F(NuvctlRecord, HoldsEachMessageOfTheCommandWithItsBytes) {
  StartSimulator();
  const NuvctlRun run = Run(Record({}, Nuvctl({"launch", kApp, "--payload", "a=\xc3\xa9", "--wait", "20"})));
  EXPECT_EQ(run.status, 0) << run.errors;
  const Recorded recorded = ReadWhole();
  EXPECT_EQ(recorded.Reason(), "command ended");
  EXPECT_THAT(recorded.header.bus, HasSubstr("unix:path="));
  EXPECT_EQ(recorded.header.library, recorded.header.service.value_or(""));
  EXPECT_FALSE(recorded.header.redacted);
  const auto calls = recorded.Of(Kind::kCall, "launch_app");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].destination, "org.kelvo.tv.litecorvane.server");
  const recording::MessageOwner message = recording::MessageOf(calls[0]);
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(g_dbus_message_get_serial(message.get()), calls[0].serial);
  EXPECT_EQ(g_dbus_message_get_sender(message.get()), calls[0].sender);
  GVariant* payload = g_variant_get_child_value(g_dbus_message_get_body(message.get()), 3);
  EXPECT_STREQ(g_variant_get_string(payload, nullptr), "a=\xc3\xa9");
  g_variant_unref(payload);
  ASSERT_EQ(recorded.Of(Kind::kCall, "app_launch_result").size(), 1U);
  bool answered = false;
  for (const Entry& reply : recorded.Of(Kind::kReply)) {
    answered |= reply.destination == calls[0].sender && reply.reply_to == calls[0].serial;
  }
  EXPECT_TRUE(answered);
  EXPECT_TRUE(recorded.Of(Kind::kLost).empty()) << ReadFile(file_);
}

TEST_F(NuvctlRecord, IsReadyBeforeTheCommand) {
  StartSimulator();
  EXPECT_EQ(Run(Record({}, Nuvctl({"ping", "-c", "1"}))).status, 0);
  const Recorded recorded = ReadWhole();
  EXPECT_EQ(recorded.Of(Kind::kCall, "heartbeat").size(), 1U) << ReadFile(file_);
  ASSERT_GE(recorded.Of(Kind::kOwner).size(), 2U);
  EXPECT_NE(recorded.Of(Kind::kOwner)[0].owner, "");
}

TEST_F(NuvctlRecord, TellsThatAClientLeft) {
  StartSimulator();
  const auto record = StartRecording();
  auto client = std::make_unique<PrivateConnection>(bus_.address());
  CallHeartbeat(*client);
  ASSERT_TRUE(Holds("\"type\":\"reply\""));
  const std::string name = g_dbus_connection_get_unique_name(client->get());
  const std::string left = R"("type":"left","name":")" + name + "\"";
  EXPECT_EQ(ReadFile(file_).find(left), std::string::npos);
  client.reset();
  EXPECT_TRUE(Holds(left)) << ReadFile(file_);
  record->Signal(SIGINT);
  EXPECT_EQ(Finish(*record).status, 0);
  const auto all = ReadWhole().Of(Kind::kLeft);
  ASSERT_EQ(all.size(), 1U) << ReadFile(file_);
  EXPECT_EQ(all[0].name, name);
}

TEST_F(NuvctlRecord, TellsWhoCallsBeforeTheFirstCall) {
  StartSimulator();
  const auto record = StartRecording();
  const PrivateConnection client(bus_.address());
  CallHeartbeat(client);
  ASSERT_TRUE(Holds("\"type\":\"reply\""));
  record->Signal(SIGINT);
  EXPECT_EQ(Finish(*record).status, 0);
  const std::string name = g_dbus_connection_get_unique_name(client.get());
  bool told = false;
  for (const Entry& entry : ReadWhole().entries) {
    if (entry.kind == Kind::kCall && entry.sender == name) break;
    if (entry.kind != Kind::kClient || entry.name != name) continue;
    told = entry.program == "nuvctl_record_test" && entry.pid == getpid() && entry.uid == getuid();
  }
  EXPECT_TRUE(told) << ReadFile(file_);
}

// The recorder stands still for as long as the command runs: all that the command said is still to be read when it has
// ended.
TEST_F(NuvctlRecord, NothingOfTheCommandIsMissingHoweverSlowlyItIsRead) {
  StartSimulator();
  const std::string done = directory_ / "done";
  const auto record = Start(Record(
      {},
      {"sh", "-c", "kill -STOP $PPID; '" NUV_BIN_DIR "/nuvctl' ping -c 1000 -i 0.0001 --json; touch '" + done + "'"}));
  ASSERT_TRUE(WaitUntil([&] { return access(done.c_str(), F_OK) == 0; }, Milliseconds(60000)));
  record->Signal(SIGCONT);
  EXPECT_EQ(Finish(*record).status, 0);
  const Recorded recorded = ReadWhole();
  EXPECT_EQ(recorded.Of(Kind::kCall, "heartbeat").size(), 1000U);
  EXPECT_EQ(recorded.Of(Kind::kReply).size(), 1000U);
  EXPECT_TRUE(recorded.Of(Kind::kLost).empty());
}

TEST_F(NuvctlRecord, TheBusesOwnChatterIsLeftOut) {
  StartSimulator();
  EXPECT_EQ(Run(Record({}, Nuvctl({"launch", kApp, "--wait", "20"}))).status, 0);
  for (const Entry& entry : ReadWhole().entries) {
    EXPECT_NE(entry.destination, "org.freedesktop.DBus") << entry.member;
    EXPECT_NE(entry.member, "Hello");
    EXPECT_NE(entry.interface, "org.kelvo.tv.nuvctl.Marker");
  }
}

TEST_F(NuvctlRecord, EndsWithTheStatusOfTheCommand) {
  const NuvctlRun run = Run(Record({}, {"sh", "-c", "echo out; echo err >&2; exit 7"}));
  EXPECT_EQ(run.status, 7);
  EXPECT_EQ(run.output, "out\n");
  EXPECT_EQ(run.errors, "err\n");
  EXPECT_EQ(ReadWhole().Reason(), "command ended");
  EXPECT_EQ(Run(Record({"--force"}, {"sh", "-c", "kill -9 $$"})).status, 128 + SIGKILL);
}

TEST_F(NuvctlRecord, ACommandThatCannotRunIsSaid) {
  const NuvctlRun missing = Run(Record({}, {"/no/such/command"}));
  EXPECT_EQ(missing.status, 127);
  EXPECT_THAT(missing.errors, HasSubstr("cannot run /no/such/command: No such file or directory"));
  EXPECT_EQ(ReadWhole().Reason(), "the command did not start");
  EXPECT_EQ(Run(Record({"--force"}, {directory_.path()})).status, 126);
  bus_.Kill();
  EXPECT_EQ(Run(Record({"--force"}, {"touch", directory_ / "ran"})).status, 125);
  EXPECT_NE(access((directory_ / "ran").c_str(), F_OK), 0);
}

TEST_F(NuvctlRecord, SignalsGoToTheCommand) {
  const auto record = Start(Record({}, {"sh", "-c", "trap 'exit 9' TERM; echo ready; while :; do sleep 0.02; done"}));
  ASSERT_TRUE(WaitUntil([&] { return record->Output() == "ready\n"; }));
  record->Signal(SIGTERM);
  EXPECT_EQ(Finish(*record).status, 9);
  EXPECT_EQ(ReadWhole().Reason(), "command ended");
}

TEST_F(NuvctlRecord, AnInterruptOrTheTimeEndsIt) {
  const auto record = StartRecording();
  record->Signal(SIGINT);
  const NuvctlRun run = Finish(*record);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "0 messages in " + file_ + "\n");
  EXPECT_EQ(ReadWhole().Reason(), "interrupted");
  const NuvctlRun timed = Run({"--json", "record", file_, "--force", "--for", "0.2"});
  EXPECT_EQ(timed.Json()["messages"], 0);
  EXPECT_EQ(ReadWhole().Reason(), "time is over");
}

TEST_F(NuvctlRecord, AFileThatIsThereStaysUnlessItIsToBeOverwritten) {
  WriteFile(file_, "a letter");
  const NuvctlRun run = Run({"record", file_, "--for", "0.1"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "nuvctl: failed: cannot write " + file_ + ": it is there already, and only --force overwrites it\n");
  EXPECT_EQ(ReadFile(file_), "a letter");
  EXPECT_EQ(Run({"record", file_, "--force", "--for", "0.1"}).status, 0);
  EXPECT_EQ(ReadWhole().Reason(), "time is over");
}

TEST_F(NuvctlRecord, NobodyElseMayReadIt) {
  EXPECT_EQ(Run({"record", file_, "--for", "0.1"}).status, 0);
  struct stat entry {};
  ASSERT_EQ(stat(file_.c_str(), &entry), 0);
  EXPECT_EQ(entry.st_mode & 0777U, 0600U);
}

TEST_F(NuvctlRecord, AFullDiskKeepsWhatWasRecordedAndEndsIt) {
  const std::string small = directory_ / "small";
  ASSERT_EQ(mkdir(small.c_str(), 0700), 0);
  const ScratchMount mount(small, "32k");
  ASSERT_EQ(mount.Problem(), "");
  file_ = small + "/tv.nuvrec";
  StartSimulator();
  const auto record = StartRecording();
  const auto ping = Start({"ping", "-i", "0.001"});
  const NuvctlRun run = Finish(*record);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "nuvctl: failed: cannot write " + file_ + ": No space left on device\n");
  const Recorded recorded = ReadWhole();
  EXPECT_EQ(recorded.Reason(), "disk full");
  EXPECT_GT(recorded.Of(Kind::kCall, "heartbeat").size(), 3U);
}

TEST_F(NuvctlRecord, AReadOnlyDirectoryIsSaid) {
  const std::string closed = directory_ / "closed";
  ASSERT_EQ(mkdir(closed.c_str(), 0700), 0);
  const ScratchMount mount(closed, "32k");
  ASSERT_TRUE(mount.Problem().empty() && mount.ReadOnly(true)) << mount.Problem();
  const NuvctlRun run = Run({"record", closed + "/tv.nuvrec"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "nuvctl: failed: cannot write " + closed + "/tv.nuvrec: Read-only file system\n");
}

TEST_F(NuvctlRecord, ABusThatEndsEndsIt) {
  StartSimulator();
  const auto record = StartRecording();
  EXPECT_EQ(Run({"ping", "-c", "1"}).status, 0);
  bus_.Kill();
  const NuvctlRun run = Finish(*record);
  EXPECT_EQ(run.status, 6);
  EXPECT_EQ(run.errors, "nuvctl: bus gone: the connection to the system bus broke\n");
  const Recorded recorded = ReadWhole();
  EXPECT_EQ(recorded.Reason(), "bus gone");
  EXPECT_FALSE(recorded.Of(Kind::kCall, "heartbeat").empty());
}

TEST_F(NuvctlRecord, ARestartOfTheServiceIsInIt) {
  StartSimulator();
  const auto record = StartRecording();
  simulator().KillAndWait();
  ASSERT_TRUE(Holds("\"owner\":null"));
  StartSimulator();
  EXPECT_EQ(Run({"ping", "-c", "1"}).status, 0);
  record->Signal(SIGINT);
  EXPECT_EQ(Finish(*record).status, 0);
  const Recorded recorded = ReadWhole();
  EXPECT_FALSE(recorded.Of(Kind::kCall, "heartbeat").empty());
  std::vector<std::string> owners;
  for (const Entry& owner : recorded.Of(Kind::kOwner)) {
    if (owner.name == "org.kelvo.tv.corvane.server") owners.push_back(owner.owner);
  }
  ASSERT_EQ(owners.size(), 3U) << ReadFile(file_);
  EXPECT_EQ(owners[1], "");
  EXPECT_NE(owners[2], owners[0]);
}

TEST_F(NuvctlRecord, SurvivesTheBusWhereItIsToReconnect) {
  const auto record = StartRecording({"--reconnect"});
  bus_.Restart();
  ASSERT_TRUE(Holds("\"type\":\"lost\",\"count\":0"));
  StartSimulator();
  ASSERT_TRUE(WaitUntil([this] { return Read().Of(Kind::kOwner).size() >= 4; }));
  EXPECT_EQ(Run({"ping", "-c", "1"}).status, 0);
  record->Signal(SIGINT);
  EXPECT_EQ(Finish(*record).status, 0);
  EXPECT_FALSE(ReadWhole().Of(Kind::kCall, "heartbeat").empty());
}

TEST_F(NuvctlRecord, RedactedNothingTellsWhatWasLaunchedWithWhat) {
  StartSimulator();
  const std::string secret = "what=nobody-may-know";
  const Arguments launch = Nuvctl({"launch", kApp, "--payload", secret, "--caller", "me", "--wait", "20"});
  EXPECT_EQ(Run(Record({"--redact"}, launch)).status, 0);
  const Recorded recorded = ReadWhole();
  EXPECT_TRUE(recorded.header.redacted);
  std::vector<std::string> marks;
  for (const Entry& entry : recorded.entries) {
    const std::string bytes(entry.bytes.begin(), entry.bytes.end());
    EXPECT_EQ(bytes.find("nobody"), std::string::npos) << recording::WordOf(entry.kind) << entry.member;
    if (entry.member == "launch_app") {
      EXPECT_THAT(bytes, HasSubstr(kApp));
      marks.push_back(bytes.substr(bytes.find("redacted:"), 28));
      const recording::MessageOwner message = recording::MessageOf(entry);
      ASSERT_NE(message, nullptr);
      EXPECT_EQ(g_dbus_message_get_serial(message.get()), entry.serial);
    }
  }
  ASSERT_EQ(marks.size(), 1U);
  EXPECT_THAT(marks[0], MatchesRegex("redacted:20:[0-9a-f]{16}"));
  EXPECT_EQ(Run(Record({"--redact", "--force"}, launch)).status, 0);
  for (const Entry& entry : ReadWhole().Of(Kind::kCall, "launch_app")) {
    const std::string bytes(entry.bytes.begin(), entry.bytes.end());
    EXPECT_EQ(bytes.find(marks[0]), std::string::npos) << "the key is the same in another file";
  }
}

TEST_F(NuvctlRecord, ExtraDataAndTitlesAreRedactedAlike) {
  StartSimulator();
  WriteFile(directory_ / "request.json", std::string(R"({"app": ")") + kApp +
                                             R"(", "uri": "secret-text", "extra": [["secret-text", "secret-text"]]})");
  const std::string script = std::string("'" NUV_BIN_DIR "/nuvctl' launch --request '") + directory_ / "request.json" +
                             "' --wait 20; '" NUV_BIN_DIR "/nuvctl' terminate --title secret-text; true";
  EXPECT_EQ(Run(Record({"--redact"}, {"sh", "-c", script})).status, 0);
  std::set<std::string> marks;
  size_t count = 0;
  for (const Entry& entry : ReadWhole().entries) {
    const std::string bytes(entry.bytes.begin(), entry.bytes.end());
    EXPECT_EQ(bytes.find("secret"), std::string::npos) << recording::WordOf(entry.kind) << " " << entry.member;
    if (entry.member != "launch_app") continue;
    for (size_t at = 0; (at = bytes.find("redacted:11:", at)) != std::string::npos; ++at, ++count) {
      marks.insert(bytes.substr(at, 28));
    }
  }
  EXPECT_EQ(count, 3U);
  EXPECT_EQ(marks.size(), 1U);
}

#ifdef NUV_WITH_PCAP
TEST_F(NuvctlRecord, ACaptureIsReadByOtherTools) {
  StartSimulator();
  EXPECT_EQ(Run(Record({"--pcap"}, Nuvctl({"launch", kApp, "--wait", "20"}))).status, 0);
  Process tshark({"tshark", "-r", file_, "-T", "fields", "-e", "dbus.member"}, directory_.path(),
                 {{"HOME", directory_.path()}});
  ASSERT_EQ(tshark.Wait(Milliseconds(120000)), 0) << tshark.Errors();
  EXPECT_THAT(tshark.Output(), HasSubstr("launch_app"));
  EXPECT_THAT(tshark.Output(), HasSubstr("app_launch_result"));
}
#else
TEST_F(NuvctlRecord, ACaptureThatIsNotBuiltInIsSaid) {
  const NuvctlRun run = Run({"record", "--pcap", file_});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.errors, HasSubstr("--pcap is not built in"));
  EXPECT_NE(access(file_.c_str(), F_OK), 0);
}
#endif

TEST_F(NuvctlRecord, AWrongCommandLineIsRefused) {
  for (const Arguments& wrong :
       {Arguments{"record"}, {"record", file_, "--for", "1", "--", "true"}, {"record", file_, "--for", "0"}}) {
    EXPECT_EQ(Run(wrong).status, 2) << wrong.back();
  }
}
