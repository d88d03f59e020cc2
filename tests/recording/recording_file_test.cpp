// A recording as a file: what is written is read again, and what cannot be read is said with its place.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "kept_memory.h"
#include "process.h"
#include "recording/json_lines.h"
#include "recording/message.h"
#include "recording/reader.h"
#include "recording/writer.h"
#include "temp_dir.h"

namespace {

using recording::Entry;
using recording::Header;
using recording::Kind;
using recording::Reader;
using recording::Writer;
using testing::EndsWith;
using testing::HasSubstr;

const Header kHeader = {"1.0.0", "2.5", "unix:path=/tmp/bus", "2024-02-29T12:00:00.000001Z", true};

Entry Call(std::int64_t t_us, unsigned serial = 7) {
  recording::MessageOwner message(
      g_dbus_message_new_method_call(":1.3", "/org/kelvo/tv", "org.kelvo.tv.corvane", "launch_app"));
  g_dbus_message_set_body(message.get(), g_variant_new("(si)", "a \"quoted\" \xc3\xa9\n", 5));
  g_dbus_message_set_sender(message.get(), ":1.5");
  g_dbus_message_set_serial(message.get(), serial);
  gsize size = 0;
  guchar* blob = g_dbus_message_to_blob(message.get(), &size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr);
  std::vector<unsigned char> bytes(blob, blob + size);
  g_free(blob);
  return recording::EntryOf(t_us, message.get(), std::move(bytes));
}

Entry Error(std::int64_t t_us) {
  Entry entry;
  entry.t_us = t_us;
  entry.kind = Kind::kError;
  entry.sender = ":1.3";
  entry.destination = ":1.5";
  entry.serial = 4294967295U;
  entry.reply_to = 7;
  entry.error = "org.freedesktop.DBus.Error.NoReply";
  entry.signature = "s";
  entry.bytes = {0, 255, 10, 13};
  return entry;
}

Entry Client(std::int64_t t_us) {
  Entry entry;
  entry.t_us = t_us;
  entry.kind = Kind::kClient;
  entry.name = ":1.5";
  entry.pid = 123;
  entry.uid = 1000;
  entry.program = "nuvctl";
  return entry;
}

Entry Left(std::int64_t t_us) {
  Entry entry;
  entry.t_us = t_us;
  entry.kind = Kind::kLeft;
  entry.name = ":1.5";
  return entry;
}

Entry Owner(std::int64_t t_us, const std::string& owner) {
  Entry entry;
  entry.t_us = t_us;
  entry.kind = Kind::kOwner;
  entry.name = "org.kelvo.tv.corvane.server";
  entry.owner = owner;
  return entry;
}

Entry Lost(std::int64_t t_us) {
  Entry entry;
  entry.t_us = t_us;
  entry.kind = Kind::kLost;
  entry.count = 3;
  entry.sender = ":1.5";
  return entry;
}

// The whole of it: as a line, the entry says all that it holds.
std::string Line(const Entry& entry) {
  return recording::LineOf(entry);
}

class RecordingFile : public testing::Test {
 protected:
  void Record(const std::vector<Entry>& entries, bool ends = true) const {
    Writer writer;
    ASSERT_EQ(writer.Open(path_, Writer::Existing::kReplace), "");
    ASSERT_EQ(writer.Write(kHeader), "");
    for (const Entry& entry : entries) ASSERT_EQ(writer.Write(entry), "");
    if (!ends) return;
    ASSERT_EQ(writer.End(1000, "interrupted"), "");
  }
  // The file, with the text in place of its second line.
  void RecordAsSecondLine(const std::string& line) const {
    WriteFile(path_, recording::LineOf(kHeader) + "\n" + line + "\n");
  }

  // What a reader says in the end; the entries before go to where it is told.
  Reader::What ReadAll(std::vector<Entry>* entries = nullptr, std::string* problem = nullptr) const {
    Reader reader(path_);
    Header header;
    Reader::What what = Reader::What::kBroken;
    if (reader.Open(header)) {
      Entry entry;
      while ((what = reader.Next(entry)) == Reader::What::kEntry) {
        if (entries != nullptr) entries->push_back(entry);
      }
    }
    if (problem != nullptr) *problem = reader.Problem();
    return what;
  }
  std::string ProblemOf(const std::string& content) const {
    WriteFile(path_, content);
    std::string problem;
    EXPECT_EQ(ReadAll(nullptr, &problem), Reader::What::kBroken);
    return problem;
  }

  const TempDir dir_;
  const std::string path_ = dir_ / "tv.nuvrec";
};

TEST_F(RecordingFile, IsReadAsItWasWritten) {
  const std::vector<Entry> written = {Owner(0, ":1.3"), Client(1), Call(2), Error(2), Lost(3), Left(3), Owner(4, "")};
  Record(written);
  Reader reader(path_);
  Header header;
  ASSERT_TRUE(reader.Open(header)) << reader.Problem();
  EXPECT_EQ(recording::LineOf(header), recording::LineOf(kHeader));
  for (const Entry& entry : written) {
    Entry read;
    ASSERT_EQ(reader.Next(read), Reader::What::kEntry) << reader.Problem();
    EXPECT_EQ(Line(read), Line(entry));
    EXPECT_EQ(read.bytes, entry.bytes);
  }
  Entry end;
  ASSERT_EQ(reader.Next(end), Reader::What::kEnd) << reader.Problem();
  EXPECT_EQ(end.reason, "interrupted");
  EXPECT_EQ(end.t_us, 1000);
}

TEST_F(RecordingFile, SaysWhatAMessageIsAndKeepsItsBytes) {
  const Entry call = Call(12);
  EXPECT_EQ(call.kind, Kind::kCall);
  EXPECT_EQ(call.sender, ":1.5");
  EXPECT_EQ(call.destination, ":1.3");
  EXPECT_EQ(call.serial, 7U);
  EXPECT_EQ(call.path, "/org/kelvo/tv");
  EXPECT_EQ(call.interface, "org.kelvo.tv.corvane");
  EXPECT_EQ(call.member, "launch_app");
  EXPECT_EQ(call.signature, "si");
  Record({call});
  std::vector<Entry> read;
  ASSERT_EQ(ReadAll(&read), Reader::What::kEnd);
  const recording::MessageOwner message = recording::MessageOf(read.at(0));
  ASSERT_NE(message, nullptr);
  const char* text = nullptr;
  int number = 0;
  g_variant_get(g_dbus_message_get_body(message.get()), "(&si)", &text, &number);
  EXPECT_STREQ(text, "a \"quoted\" \xc3\xa9\n");
  EXPECT_EQ(number, 5);
}

TEST_F(RecordingFile, BytesThatAreNoMessageGiveNone) {
  EXPECT_EQ(recording::MessageOf(Error(0)), nullptr);
  EXPECT_EQ(recording::MessageOf(Entry()), nullptr);
}

TEST_F(RecordingFile, LeavesOutWhatDoesNotApply) {
  EXPECT_EQ(Line(Client(5)), R"({"t":5,"type":"client","name":":1.5","pid":123,"uid":1000,"program":"nuvctl"})");
  EXPECT_EQ(Line(Owner(6, "")), R"({"t":6,"type":"owner","name":"org.kelvo.tv.corvane.server","owner":null})");
  EXPECT_THAT(Line(Call(6)), testing::Not(HasSubstr("reply_to")));
  EXPECT_EQ(Line(Error(7)),
            R"({"t":7,"type":"error","sender":":1.3","destination":":1.5","serial":4294967295,"reply_to":7,)"
            R"("error":"org.freedesktop.DBus.Error.NoReply","signature":"s","bytes":"AP8KDQ=="})");
}

TEST_F(RecordingFile, TimeNeverGoesBack) {
  Record({Client(50), Client(20), Client(60)});
  std::vector<Entry> read;
  ASSERT_EQ(ReadAll(&read), Reader::What::kEnd);
  ASSERT_EQ(read.size(), 3U);
  EXPECT_EQ(read[1].t_us, 50);
  EXPECT_EQ(read[2].t_us, 60);
}

TEST_F(RecordingFile, IsThereLineByLine) {
  Writer writer;
  ASSERT_EQ(writer.Open(path_, Writer::Existing::kRefuse), "");
  ASSERT_EQ(writer.Write(kHeader), "");
  EXPECT_EQ(ReadFile(path_), recording::LineOf(kHeader) + "\n");
  ASSERT_EQ(writer.Write(Client(1)), "");
  EXPECT_THAT(ReadFile(path_), EndsWith(Line(Client(1)) + "\n"));
}

TEST_F(RecordingFile, AnotherFileIsNotOverwritten) {
  WriteFile(path_, "a letter");
  Writer writer;
  EXPECT_EQ(writer.Open(path_, Writer::Existing::kRefuse), "File exists");
  EXPECT_EQ(ReadFile(path_), "a letter");
}

TEST_F(RecordingFile, WithoutAnEndItWasCut) {
  Record({Client(1), Call(2)}, false);
  std::vector<Entry> read;
  std::string problem;
  EXPECT_EQ(ReadAll(&read, &problem), Reader::What::kCut);
  EXPECT_EQ(read.size(), 2U);
  EXPECT_EQ(problem, "");
}

TEST_F(RecordingFile, CutAnywhereWhatIsWholeIsRead) {
  Record({Client(1), Call(2)});
  const std::string whole = ReadFile(path_);
  const size_t header = recording::LineOf(kHeader).size() + 1;
  for (size_t size = header; size + 1 < whole.size(); ++size) {
    WriteFile(path_, whole.substr(0, size));
    std::vector<Entry> read;
    ASSERT_EQ(ReadAll(&read), Reader::What::kCut) << size;
    const auto lines = std::count(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size), '\n');
    ASSERT_EQ(static_cast<std::ptrdiff_t>(read.size()), std::min<std::ptrdiff_t>(lines - 1, 2)) << size;
  }
}

TEST_F(RecordingFile, AnotherVersionIsRefused) {
  EXPECT_EQ(ProblemOf(R"({"format":"nuv-recording","version":2})"
                      "\n"),
            path_ + ":1: version 2 of the format, and only version 1 can be read");
}

TEST_F(RecordingFile, WhatIsNoRecordingIsRefused) {
  EXPECT_EQ(ProblemOf(""), path_ + ":1: not a recording, it is empty");
  EXPECT_EQ(ProblemOf("a letter\n"), path_ + ":1: no JSON object");
  EXPECT_EQ(ProblemOf("{\"apps\":[]}\n"), path_ + ":1: not a recording");
  EXPECT_EQ(ProblemOf("[1]\n"), path_ + ":1: no JSON object");
  EXPECT_EQ(ProblemOf("{\"format\":\"nuv-recording\",\"version\":1}\n"), path_ + ":1: \"library\" is missing");
}

TEST_F(RecordingFile, WhatCannotBeOpenedIsSaid) {
  Reader missing(dir_ / "missing");
  Header header;
  EXPECT_FALSE(missing.Open(header));
  EXPECT_EQ(missing.Problem(), dir_ / "missing" + ": No such file or directory");
  Reader directory(dir_.path());
  EXPECT_FALSE(directory.Open(header));
  EXPECT_EQ(directory.Problem(), dir_.path() + ":1: Is a directory");
}

TEST_F(RecordingFile, ABrokenLineIsNamedAndWhatIsBeforeItIsRead) {
  Record({Client(1), Call(2)}, false);
  std::ofstream(path_, std::ios::app) << "{\"t\":3,\n" << Line(Client(4)) << "\n";
  std::vector<Entry> read;
  std::string problem;
  EXPECT_EQ(ReadAll(&read, &problem), Reader::What::kBroken);
  EXPECT_EQ(read.size(), 2U);
  EXPECT_EQ(problem, path_ + ":4: no JSON object");
}

TEST_F(RecordingFile, EachFieldIsWhatItHasToBe) {
  struct {
    const char* line;
    const char* problem;
  } const broken[] = {
      {R"({"type":"end","reason":"x"})", "\"t\" is missing"},
      {R"({"t":-1,"type":"end","reason":"x"})", "\"t\" is no number that it can be"},
      {R"({"t":1.5,"type":"end","reason":"x"})", "\"t\" is no number that it can be"},
      {R"({"t":9223372036854775808,"type":"end","reason":"x"})", "\"t\" is no number that it can be"},
      {R"({"t":1,"type":"song"})", "\"song\" is no type of an entry"},
      {R"({"t":1,"type":"call"})", "\"bytes\" is missing"},
      {R"({"t":1,"type":"call","bytes":"A-=="})", "\"bytes\" is no base64"},
      {R"({"t":1,"type":"call","bytes":"","sender":5})", "\"sender\" is no text"},
      {R"({"t":1,"type":"call","bytes":"","serial":4294967296})", "\"serial\" is no number that it can be"},
      {R"({"t":1,"type":"client","name":":1.1","pid":"1","uid":0,"program":"x"})",
       "\"pid\" is no number that it can be"},
      {R"({"t":1,"type":"owner","name":"x"})", "\"owner\" is missing"},
      {R"({"t":1,"type":"lost"})", "\"count\" is missing"},
      {R"({"t":1,"type":"end"})", "\"reason\" is missing"},
  };
  for (const auto& one : broken) {
    RecordAsSecondLine(one.line);
    std::string problem;
    EXPECT_EQ(ReadAll(nullptr, &problem), Reader::What::kBroken) << one.line;
    EXPECT_EQ(problem, path_ + ":2: " + one.problem) << one.line;
  }
}

TEST_F(RecordingFile, ATimeThatGoesBackIsBroken) {
  RecordAsSecondLine(Line(Client(5)) + "\n" + Line(Client(4)));
  std::string problem;
  EXPECT_EQ(ReadAll(nullptr, &problem), Reader::What::kBroken);
  EXPECT_EQ(problem, path_ + ":3: \"t\" goes back");
}

TEST_F(RecordingFile, NothingFollowsTheEnd) {
  Record({});
  std::ofstream(path_, std::ios::app) << Line(Client(2000)) << "\n";
  std::string problem;
  EXPECT_EQ(ReadAll(nullptr, &problem), Reader::What::kBroken);
  EXPECT_EQ(problem, path_ + ":3: something follows the end");
}

TEST_F(RecordingFile, ALineThatIsTooLongIsNamedAndNotRead) {
  Record({Client(1), Call(2)});
  Reader reader(path_, recording::LineOf(kHeader).size());
  Header header;
  ASSERT_TRUE(reader.Open(header));
  Entry entry;
  ASSERT_EQ(reader.Next(entry), Reader::What::kEntry);
  EXPECT_EQ(reader.Next(entry), Reader::What::kBroken);
  EXPECT_THAT(reader.Problem(), HasSubstr(path_ + ":3: a line of more than "));
  EXPECT_EQ(reader.Next(entry), Reader::What::kBroken);
}

// The limit of the process stands in for a disk that is full: it fails writes in the same way.
TEST_F(RecordingFile, OnAFullDiskTheEndIsStillWritten) {
  const int full = InChild([this] {
    const std::string start = recording::LineOf(kHeader) + "\n" + Line(Call(1)) + "\n";
    signal(SIGXFSZ, SIG_IGN);
    const rlimit room = {start.size() + 10, start.size() + 10};
    Writer writer;
    if (writer.Open(path_, Writer::Existing::kRefuse) != "" || setrlimit(RLIMIT_FSIZE, &room) != 0) return 1;
    if (writer.Write(kHeader) != "" || writer.Write(Call(1)) != "") return 2;
    if (writer.Write(Call(2)) != "File too large" || ReadFile(path_) != start) return 3;
    return writer.End(3, "disk full") == "" ? 0 : 4;
  });
  ASSERT_EQ(full, 0);
  std::vector<Entry> read;
  std::string problem;
  EXPECT_EQ(ReadAll(&read, &problem), Reader::What::kEnd) << problem;
  EXPECT_THAT(ReadFile(path_), EndsWith("\"reason\":\"disk full\"}\n"));
}

// The peak of the process while it reads; a thread writes it into a pipe, and holds one entry at a time.
long PeakAfter(int entries) {
  int ends[2];
  if (pipe(ends) != 0) return -1;
  std::thread source([&] {
    Writer writer(ends[1]);
    bool fine = writer.Write(kHeader).empty();
    for (int i = 0; i < entries && fine; ++i) fine = writer.Write(Call(i)).empty();
    writer.End(entries, "interrupted");
  });
  Reader reader("/dev/fd/" + std::to_string(ends[0]));
  Header header;
  Entry entry;
  bool opened = reader.Open(header);
  int read = 0;
  while (opened && reader.Next(entry) == Reader::What::kEntry) ++read;
  source.join();
  close(ends[0]);
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return read == entries ? usage.ru_maxrss : -1;
}

TEST_F(RecordingFile, TakesTheSameMemoryWhateverItsSize) {
  const int grown = InChild(
      [] {
        const long few = PeakAfter(1000);
        const long many = PeakAfter(100000);
        if (few < 0 || many < 0) return 1;
        return many - few < kSpareKb ? 0 : 2;
      },
      std::chrono::minutes(2));
  EXPECT_EQ(grown, 0);
}

TEST_F(RecordingFile, AHeaderMayTellTheMonotonicClockAtItsStart) {
  Header read;
  EXPECT_EQ(recording::ReadLine(recording::LineOf(kHeader), read), "");
  EXPECT_EQ(read.monotonic_start_us, std::nullopt);
  Header header = kHeader;
  header.monotonic_start_us = 9007199254740993;
  EXPECT_THAT(recording::LineOf(header), HasSubstr("\"monotonic_start_us\":9007199254740993"));
  EXPECT_EQ(recording::ReadLine(recording::LineOf(header), read), "");
  EXPECT_EQ(read.monotonic_start_us, 9007199254740993);
}

TEST_F(RecordingFile, TheMonotonicClockOfNowIsTheSystemsOwn) {
  const auto read = [] {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
  };
  const std::int64_t before = read();
  const std::int64_t now = recording::MonotonicNow();
  EXPECT_LE(before, now);
  EXPECT_LE(now, read());
}

TEST_F(RecordingFile, AHeaderTellsTheTimeToTheMicrosecond) {
  EXPECT_THAT(recording::Now(), testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}[.][0-9]{6}Z"));
}

}  // namespace
