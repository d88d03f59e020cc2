// nuvctl doctor on a host: bus, service, state directory and applications, each in a state in which it is not well.
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>

#include "bus_users.h"
#include "doctor_rows.h"
#include "nuvctl_host_test.h"
#include "recording_service.h"

namespace {

using testing::_;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

constexpr char kServiceName[] = "org.kelvo.tv.litecorvane.server";
constexpr char kPolicyFile[] = "/dbus-1/system.d/org.kelvo.tv.corvane.conf";
constexpr char kNoSources[] = R"({"apps": []})";

class NuvctlDoctor : public NuvctlHostTest {
 protected:
  // On a busy machine an answer may take its time.
  DoctorRows Ask(Arguments options = {"--timeout", "20"}, const Process::Environment& extra = {}) const {
    options.insert(options.begin(), {"doctor", "--json"});
    return DoctorRows(Run(options, extra));
  }
  DoctorRow Row(const std::string& name, const Process::Environment& extra = {}) const {
    return Ask({"--timeout", "20"}, extra)[name];
  }

  static std::unique_ptr<RecordingService> ServiceOf(uid_t user, const PrivateBus& bus) {
    const ActAs act(user);
    return std::make_unique<RecordingService>(bus.address());
  }

  // A program that runs, below an install path.
  std::string InstallProgram(const std::string& name) const {
    const std::string path = directory_ / name;
    fs::create_directories(path + "/bin");
    WriteFile(path + "/bin/run", "#!/bin/sh\nexec sleep 1000\n");
    fs::permissions(path + "/bin/run", fs::perms::owner_all);
    return path;
  }
  std::string CatalogueWith(const std::string& install_path) const {
    return R"({"apps": [{"id": "an.app", "install_path": ")" + install_path + R"("}]})";
  }
  void MakeState() const { fs::create_directories(state()); }

  // Files below a directory: name, size and the time of the last change.
  static std::map<std::string, std::pair<std::uintmax_t, fs::file_time_type>> FilesBelow(const std::string& path) {
    std::map<std::string, std::pair<std::uintmax_t, fs::file_time_type>> files;
    if (!fs::exists(path)) return files;
    for (const auto& entry : fs::recursive_directory_iterator(path)) {
      files[entry.path()] = {entry.is_regular_file() ? entry.file_size() : 0, entry.last_write_time()};
    }
    return files;
  }
};

TEST_F(NuvctlDoctor, IsWellOnAHostThatIs) {
  StartHost(CatalogueWith(InstallProgram("program")), "[]", {"--pin-answer", "right"});
  const NuvctlRun run = Run({"doctor", "--json", "--timeout", "20"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  const DoctorRows rows(run);
  const char* kNames[] = {"bus",           "own-name",      "results",   "service", "version",
                          "heartbeat",     "pin",           "directory", "lock",    "service-directory",
                          "factory-reset", "repair",        "database",  "columns", "integrity",
                          "values",        "running-files", "programs",  "log"};
  for (const char* name : kNames) ExpectRow(rows[name], "ok", Not(IsEmpty()), IsEmpty());
  EXPECT_EQ(rows.json().size(), std::size(kNames) + 1) << "and the indexes";
  EXPECT_THAT(rows["bus"].text, StartsWith(bus_.address()));
  EXPECT_THAT(rows["pin"].text, HasSubstr("--pin-answer right"));
}

TEST_F(NuvctlDoctor, WritesALineForEachCheckAndSaysWhatMendsIt) {
  StartHost(kNoSources);
  const NuvctlRun run = Run({"doctor", "--timeout", "20"}, {{"NUV_LOG", "nowhere"}});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "");
  const auto lines = std::count(run.output.begin(), run.output.end(), '\n');
  EXPECT_EQ(static_cast<size_t>(lines), Ask().json().size());
  EXPECT_THAT(run.output, HasSubstr("\nwarn  pin                nobody is asked for the PIN"));
  EXPECT_THAT(run.output, HasSubstr("fail  log                NUV_LOG is nowhere, which is no sink, and the log is off "
                                    "-- mend: NUV_LOG, set to off, stderr, journal or file:PATH\n"));
}

TEST_F(NuvctlDoctor, InJsonAFailureNamesTheChecks) {
  StartHost(kNoSources);
  const NuvctlRun run = Run({"doctor", "--json", "--timeout", "20"}, {{"NUV_LOG", "nowhere"}});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.Json()["error"]["message"], "failed: log");
  EXPECT_EQ(run.Json()["outcome"], "failed");
}

TEST_F(NuvctlDoctor, TellsASocketThatIsNotThere) {
  const std::string address = "unix:path=" + (directory_ / "nobody");
  ExpectRow(Row("bus", {{"DBUS_SYSTEM_BUS_ADDRESS", address}}), "fail", address + ": there is no such socket",
            HasSubstr("DBUS_SYSTEM_BUS_ADDRESS"));
}

TEST_F(NuvctlDoctor, TellsABusThatHasEnded) {
  bus_.Kill();
  ExpectRow(Row("bus"), "fail", HasSubstr("nobody listens on the socket (connection refused)"),
            HasSubstr("nuv-session"));
}

TEST_F(NuvctlDoctor, TellsAnAddressThatIsNone) {
  ExpectRow(Row("bus", {{"DBUS_SYSTEM_BUS_ADDRESS", "nonsense"}}), "fail",
            testing::ContainsRegex("^nonsense: .*nonsense"), Not(IsEmpty()));
}

TEST_F(NuvctlDoctor, WithoutABusSaysThatItDoesNotKnow) {
  bus_.Kill();
  const DoctorRows rows = Ask();
  for (const char* name : {"own-name", "results", "service", "version", "heartbeat", "pin", "service-directory"}) {
    ExpectRow(rows[name], "warn", "not known: the bus cannot be reached", IsEmpty());
  }
}

// A bus that takes the connection and says nothing more.
TEST_F(NuvctlDoctor, ABusThatDoesNotAnswerDoesNotHoldItUp) {
  bus_.Pause();
  const auto begin = std::chrono::steady_clock::now();
  const DoctorRows rows = Ask({"--timeout", "0.3"});
  const auto took = std::chrono::steady_clock::now() - begin;
  bus_.Resume();
  ExpectRow(rows["bus"], "fail", HasSubstr("it does not answer within 0.3 s"), Not(IsEmpty()));
  EXPECT_GE(took, Milliseconds(300));
}

// Its own daemon, which serves that user only.
TEST_F(NuvctlDoctor, TellsTheBusOfAnotherUser) {
  ASSERT_EQ(geteuid(), 0U) << "needs root, or subordinate users";
  const TempDir place;
  fs::permissions(place.path(), fs::perms::all);
  WriteFile(place / "conf",
            "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN\""
            " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\"><busconfig><type>session</type><listen>"
            "unix:path=" +
                (place / "bus") + "</listen><auth>EXTERNAL</auth></busconfig>");
  const Process daemon({"setpriv", "--reuid", std::to_string(kUser), "--clear-groups", "dbus-daemon", "--nofork",
                        "--nopidfile", "--print-address=1", "--config-file=" + (place / "conf")},
                       directory_.path());
  ASSERT_TRUE(WaitUntil([&] { return daemon.Output().find('\n') != std::string::npos; })) << daemon.Errors();
  ExpectRow(Row("bus", {{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (place / "bus")}}), "fail",
            HasSubstr("it is the bus of the user 1 (daemon) and does not serve the user 0 (root)"), Not(IsEmpty()));
}

TEST_F(NuvctlDoctor, TellsAPolicyThatKeepsANameFromClients) {
  const PrivateBus strict("<policy context=\"default\"><deny own_prefix=\"org.kelvo.tv.corvane\"/></policy>");
  const DoctorRows rows = Ask();
  ExpectRow(rows["own-name"], "fail", HasSubstr("no client may own a name"), EndsWith(kPolicyFile));
  ExpectRow(rows["results"], "warn", "not known: no client has a name to send them to", IsEmpty());
}

constexpr char kNoResults[] =
    "<policy context=\"default\"><deny send_destination_prefix=\"org.kelvo.tv.corvane.launcherclient\" "
    "send_type=\"method_call\"/></policy>";

TEST_F(NuvctlDoctor, TellsAPolicyThatKeepsTheServicesResultsFromClients) {
  const PrivateBus strict(kNoResults);
  const RecordingService service(strict.address());
  const DoctorRows rows = Ask();
  ExpectRow(rows["own-name"], "ok", _, IsEmpty());
  ExpectRow(rows["results"], "fail", HasSubstr("the bus keeps the results of the service"), EndsWith(kPolicyFile));
}

// What another user may do cannot be tried.
TEST_F(NuvctlDoctor, DoesNotSayWhetherAnotherUsersResultsArrive) {
  ASSERT_EQ(geteuid(), 0U) << "needs root, or subordinate users";
  const PrivateBus strict(kNoResults);
  ASSERT_EQ(chmod(strict.directory().c_str(), 0755), 0);  // the socket is in it
  const auto service = ServiceOf(kServiceUser, strict);
  ExpectRow(Row("results"), "warn", AllOf(StartsWith("not known: "), HasSubstr("the service is the user 2 (bin)")),
            HasSubstr("run as the user 2"));
}

TEST_F(NuvctlDoctor, TellsAServiceThatDoesNotRun) {
  const DoctorRows rows = Ask();
  ExpectRow(rows["service"], "fail", std::string(kServiceName) + " does not run, and the bus cannot start it",
            HasSubstr("nuv-simulator"));
  ExpectRow(rows["heartbeat"], "warn", "not known: the service does not run", IsEmpty());
}

class NuvctlDoctorActivation : public NuvctlDoctor {
 protected:
  // A bus that starts the service with the command.
  std::unique_ptr<PrivateBus> BusThatStarts(const std::string& command) const {
    fs::create_directories(directory_ / "services");
    WriteFile(directory_ / "services/nuv.service",
              std::string("[D-BUS Service]\nName=") + kServiceName + "\nExec=" + command + "\n");
    return std::make_unique<PrivateBus>("", directory_ / "services");
  }
  std::string Simulator() const { return NUV_BIN_DIR "/nuv-simulator --quiet --dir " + state(); }
};

TEST_F(NuvctlDoctorActivation, AServiceThatTheBusStartsIsNotStartedUnasked) {
  const auto bus = BusThatStarts(Simulator());
  const DoctorRows rows = Ask();
  ExpectRow(rows["service"], "warn", HasSubstr("does not run; the bus starts it with the first request"),
            "nuvctl doctor --start");
  ExpectRow(rows["heartbeat"], "warn", "not known: the service does not run", "nuvctl doctor --start");
  EXPECT_FALSE(bus->NameHasOwner(kServiceName));
  EXPECT_FALSE(fs::exists(state()));
}

TEST_F(NuvctlDoctorActivation, AServiceThatTheBusStartsIsStartedWhereTheUserWants) {
  const auto bus = BusThatStarts(Simulator());
  const DoctorRows rows = Ask({"--start", "--timeout", "20"});
  ExpectRow(rows["service"], "ok", HasSubstr("; the bus starts it"), IsEmpty());
  ExpectRow(rows["heartbeat"], "ok", _, IsEmpty());
  EXPECT_TRUE(bus->NameHasOwner(kServiceName));
}

TEST_F(NuvctlDoctorActivation, TellsAServiceThatCannotBeStarted) {
  const auto bus = BusThatStarts("/bin/false");
  ExpectRow(Ask({"--start", "--timeout", "20"})["service"], "fail",
            HasSubstr(std::string("the bus could not start ") + kServiceName + ": "),
            EndsWith(std::string(kServiceName) + ".service"));
}

TEST_F(NuvctlDoctor, AServiceThatDoesNotAnswerDoesNotHoldItUp) {
  RecordingService service(bus_.address());
  service.FallSilent();
  const DoctorRows rows = Ask({"--timeout", "3"});
  ExpectRow(rows["heartbeat"], "fail", "the service did not answer within 3 s",
            "kill " + std::to_string(getpid()) + ", and start the service anew");
  for (const char* name : {"version", "pin", "service-directory"}) {
    ExpectRow(rows[name], "warn", "not known: the service does not answer", IsEmpty());
  }
  EXPECT_EQ(service.Calls().size(), 1U) << "asked again although it is silent";
}

TEST_F(NuvctlDoctor, TellsAServiceThatRefusesTheHeartbeat) {
  RecordingService service(bus_.address());
  service.AnswerTo("heartbeat", {RecordingService::Answer::kError, "not now", "org.kelvo.Error.Refused"});
  ExpectRow(Row("heartbeat"), "fail", "org.kelvo.Error.Refused: not now", HasSubstr("start the service anew"));
}

// A TV's own service says nothing of what only nuv-simulator says.
TEST_F(NuvctlDoctor, OfAServiceThatIsNoSimulatorSaysThatItDoesNotKnow) {
  StartHost(CatalogueWith("/no/such/place"));
  StopHost();
  const RecordingService service(bus_.address());
  const NuvctlRun run = Run({"doctor", "--json", "--timeout", "20"});
  EXPECT_EQ(run.status, 0);
  const DoctorRows rows(run);
  ExpectRow(rows["heartbeat"], "ok", _, IsEmpty());
  ExpectRow(rows["version"], "warn", "not known: the service does not say its version", IsEmpty());
  ExpectRow(rows["pin"], "warn", "not known: the service does not say who is asked for the PIN", IsEmpty());
  ExpectRow(rows["service-directory"], "warn", "not known: the service does not say where it works", IsEmpty());
  ExpectRow(rows["programs"], "warn", "not known: the service does not say which programs it runs", IsEmpty());
}

TEST_F(NuvctlDoctor, TellsAServiceOfAnotherVersion) {
  RecordingService service(bus_.address());
  service.AnswerTo("GetAll", {RecordingService::Answer::kReply, "({'Version': <'0.0.1'>},)", ""});
  ExpectRow(Row("version"), "warn", StartsWith("the service has 0.0.1, and nuvctl "), HasSubstr("nuv-simulator"));
}

TEST_F(NuvctlDoctor, TellsThatNobodyIsAskedForThePin) {
  StartHost(kNoSources);
  ExpectRow(Row("pin"), "warn", "nobody is asked for the PIN: locked applications are refused",
            HasSubstr("--pin-answer"));
}

TEST_F(NuvctlDoctor, TellsAStateDirectoryThatIsNotThereAndMakesNone) {
  ExpectRow(Row("directory"), "fail", state() + ": No such file or directory", "nuv-simulator --dir " + state());
  EXPECT_FALSE(fs::exists(state()));
}

TEST_F(NuvctlDoctor, TellsAStateDirectoryThatIsAFile) {
  WriteFile(state(), "");
  ExpectRow(Row("directory"), "fail", state() + " is no directory", HasSubstr("NUV_HOST_DIR"));
}

TEST_F(NuvctlDoctor, TellsAStateDirectoryThatOthersCanWriteTo) {
  MakeState();
  ASSERT_EQ(chmod(state().c_str(), 0777), 0);
  const DoctorRow row = Row("directory");
  ExpectRow(row, "fail", HasSubstr("can be written to by other users (mode 0777)"), "chmod go-w " + state());
  ASSERT_EQ(Process({"sh", "-c", row.mend}, directory_.path()).Wait(), 0);
  ExpectRow(Row("directory"), "ok", state() + " is this user's", IsEmpty());
}

TEST_F(NuvctlDoctor, TellsAStateDirectoryOfAnotherUser) {
  ASSERT_EQ(geteuid(), 0U) << "needs root, or subordinate users";
  MakeState();
  ASSERT_EQ(chown(state().c_str(), kServiceUser, 0), 0);
  ExpectRow(Row("directory"), "warn", HasSubstr("belongs to the user 2 (bin)"), HasSubstr("NUV_HOST_DIR"));
  ASSERT_EQ(chmod(bus_.directory().c_str(), 0755), 0);  // the socket is in it
  const auto service = ServiceOf(kServiceUser, bus_);
  ExpectRow(Row("directory"), "ok", HasSubstr("the user 2 (bin), as whom the service runs"), IsEmpty());
}

// The inner side keeps 127 characters.
TEST_F(NuvctlDoctor, TellsADirectoryWithAPathThatTheInnerSideCuts) {
  const std::string base = directory_.path() + "/";
  const size_t fits = 127 - std::string("/.corvane.db").size() - base.size();
  for (const auto& [length, state] : {std::pair(fits, "ok"), std::pair(fits + 1, "fail")}) {
    const std::string path = base + std::string(length, 'x');
    fs::create_directories(path);
    EXPECT_EQ(Row("directory", {{"NUV_HOST_DIR", path}}).state, state) << length;
  }
}

TEST_F(NuvctlDoctor, TellsAnotherSimulatorInTheStateDirectory) {
  const PrivateBus other;
  StartHost(kNoSources);
  const std::string own_bus = bus_.address();
  const std::string holder = std::to_string(host_pid());
  ExpectRow(Row("lock", {{"DBUS_SYSTEM_BUS_ADDRESS", own_bus}}), "fail",
            "process " + holder + " holds the state directory, and is not the service on this bus",
            HasSubstr("kill " + holder));
  ExpectRow(Row("lock"), "ok", "the service holds the state directory (process " + holder + ")", IsEmpty());
  StopHost();
  ExpectRow(Row("lock"), "ok", "no nuv-simulator holds the state directory", IsEmpty());
}

TEST_F(NuvctlDoctor, TellsASimulatorWithoutALock) {
  StartHost(kNoSources);
  fs::remove(state() + "/.nuv-simulator.lock");
  ExpectRow(Row("lock"), "warn", HasSubstr("without its lock"), HasSubstr("NUV_HOST_DIR"));
}

TEST_F(NuvctlDoctor, TellsAServiceThatWorksInAnotherDirectory) {
  StartHost(kNoSources);
  const std::string elsewhere = directory_ / "elsewhere";
  fs::create_directories(elsewhere);
  ExpectRow(Row("service-directory", {{"NUV_HOST_DIR", elsewhere}}), "fail",
            "the service works in " + state() + ", and nuvctl in " + elsewhere, "export NUV_HOST_DIR=" + state());
  fs::create_directory_symlink(state(), directory_ / "link");
  EXPECT_EQ(Row("service-directory", {{"NUV_HOST_DIR", directory_ / "link"}}).state, "ok");
}

TEST_F(NuvctlDoctor, TellsAFactoryReset) {
  fs::create_directories(state() + "/settings/db/nuv");
  const std::string setting = state() + "/settings/db/nuv/factory_reset";
  WriteFile(setting, "2");
  ExpectRow(Row("factory-reset"), "fail",
            "a factory reset is running (setting db/nuv/factory_reset is 2): lookups fail", setting);
  WriteFile(setting, "soon");
  ExpectRow(Row("factory-reset"), "warn", HasSubstr("is no number"), setting);
  WriteFile(setting, "0");
  ExpectRow(Row("factory-reset"), "ok", _, IsEmpty());
}

// The mend is a command, and mends.
TEST_F(NuvctlDoctor, TellsAFileOfAnApplicationThatDoesNotRun) {
  StartHost(CatalogueWith(InstallProgram("program")));
  ExpectLaunched("an.app");
  EXPECT_EQ(Row("running-files").state, "ok");
  WriteFile(state() + "/running/an odd 'app'", "pid 1\nstatus 3\nstarttime 1\n");
  const DoctorRow row = Row("running-files");
  ExpectRow(row, "warn", "1 file of an application that does not run", HasSubstr("rm -- "));
  ASSERT_EQ(Process({"sh", "-c", row.mend}, directory_.path()).Wait(), 0);
  EXPECT_EQ(Row("running-files").state, "ok");
  EXPECT_TRUE(fs::exists(state() + "/running/an.app"));
}

TEST_F(NuvctlDoctor, TellsAnHbbtvApplicationThatDoesNotRun) {
  StartHost(CatalogueWith(InstallProgram("program")));
  WriteFile(state() + "/hbbtv", "gone.app\n");
  const DoctorRow row = Row("running-files");
  ExpectRow(row, "warn", "1 file of an application that does not run", "rm -- " + state() + "/hbbtv");
  ExpectLaunched("an.app");
  WriteFile(state() + "/hbbtv", "an.app\n");
  EXPECT_EQ(Row("running-files").state, "ok");
}

TEST_F(NuvctlDoctor, TellsAnInstallPathWithoutAProgram) {
  StartHost(CatalogueWith(directory_ / "nothing"));
  ExpectRow(Row("programs"), "warn", "1 of 1 install paths have no program: an.app; stand-ins run in their place",
            HasSubstr("bin/run"));
}

TEST_F(NuvctlDoctor, AnInstallPathWithoutAProgramIsAFailureWhereThereAreNoStandIns) {
  StartHost(CatalogueWith(directory_ / "nothing"), "[]", {"--no-stand-ins"});
  ExpectRow(Row("programs"), "fail", HasSubstr("an.app; their launches fail"), HasSubstr("bin/run"));
}

TEST_F(NuvctlDoctor, TellsWhereTheLogGoes) {
  const std::string file = directory_ / "log";
  ExpectRow(Row("log", {{"NUV_LOG", "file:" + file}}), "ok", HasSubstr(file), IsEmpty());
  EXPECT_FALSE(fs::exists(file));
  ExpectRow(Row("log", {{"NUV_LOG", "stderr"}}), "ok", "goes to the standard error stream", IsEmpty());
  ExpectRow(Row("log", {{"NUV_LOG", "off"}}), "ok", "is off, as NUV_LOG says", IsEmpty());
}

TEST_F(NuvctlDoctor, TellsALogThatGoesNowhere) {
  const DoctorRow row = Row("log", {{"NUV_LOG", "file:" + (directory_ / "no/log")}});
  ExpectRow(row, "fail", HasSubstr("no/log: No such file or directory"), "mkdir -p " + (directory_ / "no"));
  ExpectRow(Row("log", {{"NUV_LOG", "file:" + directory_.path()}}), "fail", HasSubstr("is a directory"), _);
  ExpectRow(Row("log", {{"NUV_LOG", "syslog"}}), "fail", HasSubstr("NUV_LOG is syslog, which is no sink"), _);
}

// nuvctl then leaves the log off, which is its own choice and not the user's.
TEST_F(NuvctlDoctor, TellsWhereTheLogGoesWhereTheUserHasNotSaid) {
  Process plain({"env", "-u", "NUV_LOG", NUV_BIN_DIR "/nuvctl", "doctor", "--json"}, directory_.path(),
                {{"NUV_HOST_DIR", state()}});
  const DoctorRow row = DoctorRows(Finish(plain))["log"];
  const bool has_journal = fs::exists("/run/systemd/journal/socket");
  EXPECT_EQ(row.state, has_journal ? "ok" : "warn");
  EXPECT_EQ(row.text,
            has_journal ? "goes to the journal" : "NUV_LOG is not set, and there is no journal: the log is off");
}

TEST_F(NuvctlDoctor, ChangesNothingAnywhere) {
  StartHost(CatalogueWith(InstallProgram("program")));
  ExpectLaunched("an.app");
  const auto before = FilesBelow(state());
  EXPECT_GE(before.size(), 4U);
  EXPECT_EQ(Run({"doctor", "--timeout", "20"}).status, 0);
  EXPECT_EQ(FilesBelow(state()), before);
}

// As a user whom the rights of a file hold back, which root is not.
class NuvctlDoctorWithoutRights : public NuvctlDoctor {
 protected:
  DoctorRows AskAsHeldBack() const {
    Arguments command = {NUV_BIN_DIR "/nuvctl", "doctor", "--json"};
    if (geteuid() == 0) {
      command.insert(command.begin(), {"setpriv", "--bounding-set", "-dac_override,-dac_read_search", "--"});
    }
    Process nuvctl(command, directory_.path(), {{"NUV_HOST_DIR", state()}});
    return DoctorRows(Finish(nuvctl));
  }
};

TEST_F(NuvctlDoctorWithoutRights, ADirectoryThatMayNotBeReadLeavesWhatIsInItUnknown) {
  StartHost(kNoSources);
  fs::create_directories(state() + "/settings/db/nuv");
  WriteFile(state() + "/settings/db/nuv/factory_reset", "2");
  StopHost();
  ASSERT_EQ(chmod(state().c_str(), 0), 0);
  const DoctorRows rows = AskAsHeldBack();
  ASSERT_EQ(chmod(state().c_str(), 0700), 0);
  ExpectRow(rows["directory"], "fail", state() + ": Permission denied", "chmod go+rx " + state());
  ExpectRow(rows["lock"], "warn", HasSubstr("not known: the lock of the state directory cannot be read"), IsEmpty());
  ExpectRow(rows["factory-reset"], "warn", "not known: this user may not read the settings", Not(IsEmpty()));
  ExpectRow(rows["database"], "fail", state() + "/.corvane.db: Permission denied", "chmod go+rx " + state());
  ExpectRow(rows["running-files"], "fail", state() + "/running: Permission denied", Not(IsEmpty()));
}

TEST_F(NuvctlDoctorWithoutRights, ADirectoryThatMayOnlyBeReadIsLookedAtAsAnyOther) {
  StartHost(CatalogueWith(InstallProgram("program")));
  StopHost();
  ASSERT_EQ(chmod(state().c_str(), 0500), 0);
  ASSERT_EQ(chmod((state() + "/.corvane.db").c_str(), 0400), 0);
  const DoctorRows rows = AskAsHeldBack();
  ASSERT_EQ(chmod(state().c_str(), 0700), 0);
  for (const char* name : {"directory", "lock", "database", "columns", "integrity", "values", "programs"}) {
    EXPECT_EQ(rows[name].state, "ok") << name << ": " << rows[name].text;
  }
}

TEST_F(NuvctlDoctor, WhatOthersHaveNamedCannotControlTheTerminal) {
  const std::string path = directory_ / "a\x1b[2Jb\xff";
  fs::create_directories(path);
  const NuvctlRun run = Run({"doctor"}, {{"NUV_HOST_DIR", path}});
  EXPECT_THAT(run.output, HasSubstr("a\\u001b[2Jb\xef\xbf\xbd is this user's"));
  EXPECT_THAT(run.output, Not(HasSubstr("\x1b")));
}

}  // namespace
