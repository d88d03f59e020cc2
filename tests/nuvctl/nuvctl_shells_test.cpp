// The completion of nuvctl and nuv-session in the shells themselves, on a terminal and loaded as a user's shell loads
// it.
#include <filesystem>

#include "nuvctl_catalogue.h"
#include "terminal_session.h"

namespace {

constexpr char kPrompt[] = "ready> ";
constexpr char kTab[] = "\t";
constexpr char kEnter[] = "\r";

struct Shell {
  const char* name;
  const char* file;     // that it reads first
  const char* content;  // of that file
  std::vector<std::string> command;
};

// In the name of a test.
void PrintTo(const Shell& shell, std::ostream* out) {
  *out << shell.name;
}

const Shell kShells[] = {
    {"bash",
     "bashrc",
     "PS1='ready> '\n. /usr/share/bash-completion/bash_completion\n",
     {"bash", "--noprofile", "--rcfile", "bashrc", "-i"}},
    {"bash_alone",
     "bashrc",
     "PS1='ready> '\n. " NUV_SHARE_DIR "/bash-completion/completions/nuvctl\n. " NUV_SHARE_DIR
     "/bash-completion/completions/nuv-session\n",
     {"bash", "--noprofile", "--rcfile", "bashrc", "-i"}},
    {"zsh",
     ".zshrc",
     "PS1='ready> '\nfpath=(" NUV_SHARE_DIR
     "/zsh/site-functions $fpath)\nautoload -Uz compinit && compinit -u -d ~/compdump\n",
     {"zsh", "-d", "-i"}},
    {"fish",
     "prompt.fish",
     "function fish_prompt; echo -n 'ready> '; end\n",
     {"fish", "-i", "-C", "source prompt.fish"}},
};

}  // namespace

class CompletionIn : public NuvctlCatalogueTest, public testing::WithParamInterface<Shell> {
 protected:
  CompletionIn() {
    // A program that says with which arguments it was run. The questions of the shell go to the one that it stands for.
    for (const std::string program : {"nuvctl", "nuv-session", "tune-the-set"}) {
      const std::string path = directory_ / program;
      WriteFile(path, "#!/bin/sh\n[ \"$1\" != --complete ] || exec " NUV_BIN_DIR "/" + program +
                          " \"$@\"\nfor word; do printf '<%s>' \"$word\"; done >" + Arguments() + ".part\nmv " +
                          Arguments() + ".part " + Arguments() + "\n");
      std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }
    WriteFile(directory_ / GetParam().file, GetParam().content);
    // Without it fish reads all man pages of the machine, in a process that outlives it.
    std::filesystem::create_directories(directory_ / ".local/share/fish/generated_completions");
  }

  void OpenShell() {
    const std::string home = directory_.path();
    std::vector<std::string> command = {"env",
                                        "-C",
                                        home,
                                        "-i",
                                        "HOME=" + home,
                                        "ZDOTDIR=" + home,
                                        "TERM=xterm",
                                        "LC_ALL=C.UTF-8",
                                        "PATH=" + home + ":/usr/bin:/bin",
                                        "XDG_DATA_DIRS=" NUV_SHARE_DIR ":/usr/share",
                                        "XDG_RUNTIME_DIR=" + runtime_.path(),
                                        "NUV_HOST_DIR=" + database_.directory()};
    command.insert(command.end(), GetParam().command.begin(), GetParam().command.end());
    terminal_ = std::make_unique<TerminalSession>(command);
    ASSERT_TRUE(terminal_->Shows(kPrompt)) << terminal_->screen();
  }

  // The arguments of the command that the user gets who types this, with a tabulator at its end, and Enter.
  std::string Completed(const std::string& typed) {
    std::filesystem::remove(Arguments());
    terminal_->Type(typed + kTab + kEnter);
    EXPECT_TRUE(WaitUntil([this] { return std::filesystem::exists(Arguments()); })) << terminal_->screen();
    return ReadFile(Arguments());
  }

  std::string Arguments() const { return directory_ / "arguments"; }

  TempDir runtime_;  // where sessions are
  std::unique_ptr<TerminalSession> terminal_;
};

INSTANTIATE_TEST_SUITE_P(Shells, CompletionIn, testing::ValuesIn(kShells),
                         [](const auto& shell) { return std::string(shell.param.name); });

TEST_P(CompletionIn, CompletesVerbsOptionsAndTheirWords) {
  OpenShell();
  EXPECT_EQ(Completed("nuvctl terminate-"), "<terminate-all>");
  EXPECT_EQ(Completed("nuvctl inner sh"), "<inner><show>");
  EXPECT_EQ(Completed("nuvctl list --isp"), "<list><--isp-bound>");
  EXPECT_EQ(Completed("nuvctl list --view last"), "<list><--view><last-download>");
  EXPECT_EQ(Completed("nuvctl list --view=last"), "<list><--view=last-download>");
  EXPECT_EQ(Completed("nuvctl list --columns id,run-"), "<list><--columns><id,run-title>");
  EXPECT_EQ(Completed("nuvctl --color=ne"), "<--color=never>");
  EXPECT_EQ(Completed("nuvctl set x is_lock t"), "<set><x><is_lock><true>");
}

TEST_P(CompletionIn, CompletesIdsAndRunTitlesOfTheCatalogue) {
  database_.Add("org.example.clock", {{"run_title", "Clock"}});
  database_.Add("org.example.player:hd", {{"run_title", "Player"}});
  OpenShell();
  EXPECT_EQ(Completed("nuvctl launch org.example.c"), "<launch><org.example.clock>");
  EXPECT_EQ(Completed("nuvctl launch org.example.p"), "<launch><org.example.player:hd>");
  EXPECT_EQ(Completed("nuvctl launch org.example.player:"), "<launch><org.example.player:hd>");
  EXPECT_EQ(Completed("nuvctl show --title Cl"), "<show><--title><Clock>");
}

TEST_P(CompletionIn, QuotesATitleAsItsUserBegan) {
  const std::string titles[] = {"My \"good\" 시계 & $HOME", "It's `late` (a\\b) #1;", "Ünlü \xF0\x9F\x93\xBA TV",
                                "a:b=c@d"};
  for (const std::string& title : titles) database_.Add("id of " + title.substr(0, 2), {{"run_title", title}});
  OpenShell();
  EXPECT_EQ(Completed("nuvctl show --title M"), "<show><--title><" + titles[0] + ">");
  EXPECT_EQ(Completed("nuvctl show --title=M"), "<show><--title=" + titles[0] + ">");
  EXPECT_EQ(Completed("nuvctl show --title My\\ "), "<show><--title><" + titles[0] + ">");
  EXPECT_EQ(Completed("nuvctl show --title 'My "), "<show><--title><" + titles[0] + ">");
  EXPECT_EQ(Completed("nuvctl show --title \"My "), "<show><--title><" + titles[0] + ">");
  EXPECT_EQ(Completed("nuvctl show --title It"), "<show><--title><" + titles[1] + ">");
  EXPECT_EQ(Completed("nuvctl show --title \"It"), "<show><--title><" + titles[1] + ">");
  EXPECT_EQ(Completed("nuvctl show --title 'It"), "<show><--title><" + titles[1] + ">");
  EXPECT_EQ(Completed("nuvctl show --title Ü"), "<show><--title><" + titles[2] + ">");
  EXPECT_EQ(Completed("nuvctl show --title a:"), "<show><--title><" + titles[3] + ">");
  EXPECT_EQ(Completed("nuvctl show --title a:b="), "<show><--title><" + titles[3] + ">");
}

TEST_P(CompletionIn, CompletesFilesWhereAFileIsAsked) {
  WriteFile(directory_ / "request of mine.json", "{}");
  OpenShell();
  EXPECT_EQ(Completed("nuvctl launch --request requ"), "<launch><--request><request of mine.json>");
  EXPECT_EQ(Completed("nuvctl launch --request=requ"), "<launch><--request=request of mine.json>");
}

TEST_P(CompletionIn, SaysNothingWhereThereIsNoCatalogue) {
  RemoveDatabase();
  OpenShell();
  EXPECT_EQ(Completed("nuvctl launch x"), "<launch><x>");
  terminal_->Type("echo all''read" + std::string(kEnter));
  ASSERT_TRUE(terminal_->Shows("allread"));
  EXPECT_EQ(terminal_->screen().find("nuvctl:"), std::string::npos) << terminal_->screen();
}

TEST_P(CompletionIn, CompletesOptionsOfNuvSessionItsSessionsAndItsCommand) {
  database_.Add("org.example.clock");
  Process session({NUV_BIN_DIR "/nuv-session", "--name", "kitchen-tv", "--", "sh", "-c", "echo ready; exec sleep 600"},
                  directory_.path(), {{"XDG_RUNTIME_DIR", runtime_.path()}});
  ASSERT_TRUE(WaitUntil([&] { return session.Output() == "ready\n"; })) << session.Errors();
  OpenShell();
  EXPECT_EQ(Completed("nuv-session --start"), "<--start-limit>");
  EXPECT_EQ(Completed("nuv-session --pin-answer=ca"), "<--pin-answer=cancelled>");
  EXPECT_EQ(Completed("nuv-session --attach kit"), "<--attach><kitchen-tv>");
  EXPECT_EQ(Completed("nuv-session --keep tune-"), "<--keep><tune-the-set>");
  if (std::string(GetParam().name) != "bash_alone") {
    EXPECT_EQ(Completed("nuv-session --name=a --keep -- nuvctl launch org.ex"),
              "<--name=a><--keep><--><nuvctl><launch><org.example.clock>");
    EXPECT_EQ(Completed("nuv-session nuvctl launch --titl"), "<nuvctl><launch><--title>");
  }
  session.Signal(SIGTERM);
  EXPECT_TRUE(session.Wait());
}
