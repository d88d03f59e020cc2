// nuvctl launch --request: the request in the file, what is made of it, and what is wrong with it.
#include <gmock/gmock.h>

#include "nuvctl_run.h"
#include "recording_service.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using Json = nlohmann::json;

namespace {

struct WrongFile {
  std::string content;
  std::string says;  // the place and what is wrong there
};

const WrongFile kWrongFiles[] = {
    {"", "parse error at line 1, column 1"},
    {"{\"app\": \"a\",\n  \"uri\" \"b\"}", "parse error at line 2, column 11"},
    {"{\"app\": \"a\"} x", "parse error at line 1, column 14"},
    {"{\"app\": \"a\xff\"}", "parse error at line 1, column 11"},
    {"{\"app\": \"\\ud800\"}", "parse error at line 1"},
    {"[\"app\"]", ": an object is needed"},
    {"null", ": an object is needed"},
    {"{}", ": app: the application is missing"},
    {R"({"uri": "u"})", ": app: the application is missing"},
    {R"({"app": 7})", ": app: a text is needed, not a value of type number"},
    {R"({"app": null})", ": app: a text is needed, not a value of type null"},
    {R"({"app": "a\u0000b"})", ": app: a text with a null character"},
    {R"({"app": "a", "app": "b"})", ": the key \"app\" is there twice"},
    {R"({"app": "a", "Uri": "u"})", ": Uri: no such key; the keys are app, operation, uri and extra"},
    {R"({"app": "a", "\u001b[2J": "u"})", ": \\u001b[2J: no such key"},
    {R"({"app": "a", "operation": true})", ": operation: a text is needed, not a value of type boolean"},
    {R"({"app": "a", "uri": {}})", ": uri: a text is needed, not a value of type object"},
    {R"({"app": "a", "extra": "text"})", ": extra: an object or an array of pairs is needed"},
    {R"({"app": "a", "extra": {"k": 1}})", ": extra.k: a text is needed, not a value of type number"},
    {R"({"app": "a", "extra": {"k\u0000": "1"}})", ": extra: a text with a null character"},
    {R"({"app": "a", "extra": {"k": "1", "k": "2"}})", ": the key \"k\" is there twice"},
    {R"({"app": "a", "extra": [["k", "v"], "w"]})", ": extra[1]: a pair of a key and a text is needed"},
    {R"({"app": "a", "extra": [["k", "v", "w"]]})", ": extra[0]: a pair of a key and a text is needed"},
    {R"({"app": "a", "extra": [[1, "v"]]})", ": extra[0][0]: a text is needed, not a value of type number"},
    {R"({"app": "a", "extra": [["k", []]]})", ": extra[0].k: a text is needed, not a value of type array"},
    {R"({"app": "a", "extra": [["k", "1"], ["k", "2"]]})", ": extra: the key \"k\" is there twice"},
};

}  // namespace

class NuvctlRequest : public NuvctlOnBusTest {
 protected:
  std::string file() const { return directory_ / "request.json"; }

  NuvctlRun Launch(const std::string& content, const Arguments& more = {}) const {
    WriteFile(file(), content);
    Arguments arguments = {"launch", "--request", file()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
};

// The request, as a service sees it.
class NuvctlRequestSent : public NuvctlRequest {
 protected:
  LaunchRequest Sent(const std::string& content) {
    service_.Forget();
    const NuvctlRun run = Launch(content, {"--no-wait"});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "accepted\n");
    return TheLaunch();
  }

  LaunchRequest TheLaunch() {
    const auto launches = service_.Launches();
    EXPECT_EQ(launches.size(), 1u);
    return launches.empty() ? LaunchRequest{"", 0, std::vector<std::string>(7), 0, "", std::vector<int32_t>(11), {}}
                            : launches.front();
  }

  // The extra data, each as "KEY=VALUE".
  static std::vector<std::string> ExtraData(const LaunchRequest& request) {
    std::vector<std::string> pairs;
    for (const std::string& block : request.extra_datas) {
      const size_t key_end = block.find('\0');
      const size_t value_begin = block.find_first_not_of('\0', key_end);
      const std::string value = value_begin == std::string::npos ? "" : block.substr(value_begin).c_str();
      pairs.push_back(block.substr(0, key_end) + "=" + value);
    }
    return pairs;
  }

  RecordingService service_{bus_.address()};
};

TEST_F(NuvctlRequestSent, CarriesTheApplicationTheUriAndTheOperation) {
  const LaunchRequest request = Sent(R"({"app": "a.b", "operation": "http://example/view", "uri": "player://1?x=ä"})");
  EXPECT_EQ(request.texts[0], "a.b");
  EXPECT_EQ(request.texts[2], "player://1?x=ä");
  EXPECT_THAT(ExtraData(request), ElementsAre("AC_Operation=http://example/view"));
}

TEST_F(NuvctlRequestSent, NeedsTheApplicationOnly) {
  const LaunchRequest request = Sent(R"({"app": "a.b"})");
  EXPECT_EQ(request.texts[0], "a.b");
  EXPECT_EQ(request.texts[2], "");
  EXPECT_TRUE(request.extra_datas.empty());
}

TEST_F(NuvctlRequestSent, KeepsTheOrderOfTheExtraDataOfAnObjectAndOfPairs) {
  const auto in_order = ElementsAre("z=1", "a=two words", "M=\"\\");
  EXPECT_THAT(ExtraData(Sent(R"({"app": "a", "extra": {"z": "1", "a": "two words", "M": "\"\\"}})")), in_order);
  EXPECT_THAT(ExtraData(Sent(R"({"app": "a", "extra": [["z", "1"], ["a", "two words"], ["M", "\"\\"]]})")), in_order);
}

TEST_F(NuvctlRequestSent, ExtraDataSetTheOptionsOfTheLaunch) {
  const LaunchRequest request = Sent(R"({"app": "a", "extra": {
      "PayLoad": "x=1&callerid=you", "CallerId": "me", "Operation": "BackgroundAndDeeplink", "Entry": "e",
      "RelocateBelowApp": "below", "SkipPIN": "true", "__K_EX_LAUNCH_REQUESTOR": "r"}})");
  EXPECT_EQ(request.texts, (std::vector<std::string>{"a", "x=1&callerid=you", "", "me", "e", "below", "r"}));
  EXPECT_EQ(request.flags[0], 1);
  EXPECT_EQ(request.flags[7], 1);
  EXPECT_EQ(request.flags[9], 1);
  EXPECT_EQ(request.flags[10], 1);
  EXPECT_EQ(request.extra_datas.size(), 7u);
}

TEST_F(NuvctlRequestSent, MayComeFromTheStandardInputStream) {
  WriteFile(file(), R"({"app": "a.b", "uri": "u"})");
  Process shell({"sh", "-c", NUV_BIN_DIR "/nuvctl launch --no-wait --request - < " + file()}, directory_.path());
  EXPECT_EQ(shell.Wait(), 0) << shell.Errors();
  EXPECT_EQ(TheLaunch().texts[2], "u");
}

// The outcome, from the reference service.
TEST_F(NuvctlRequest, EndsInLaunched) {
  StartSimulator();
  const NuvctlRun run = Launch(R"({"app": "org.example.player"})", {"--wait", "20"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "launched: 900 NUV_NOTIFY_LAUNCHED: the application was started\n");
  EXPECT_EQ(run.errors, "");
}

TEST_F(NuvctlRequest, IsDescribedInJson) {
  StartSimulator();
  const Json json =
      Launch(R"({"app": "org.example.player", "extra": {"Operation": "DeepLink"}})", {"--wait", "20", "--json"}).Json();
  EXPECT_EQ(json["verb"], "launch");
  EXPECT_EQ(json["app"], "org.example.player");
  EXPECT_EQ(json["function"], "nuv_launch_app_ex");
  EXPECT_EQ(json["code"], 906);
}

TEST_F(NuvctlRequest, AnUnknownApplicationIsAFailureWithItsReason) {
  StartSimulator();
  const NuvctlRun run = Launch(R"({"app": "org.example.nosuch"})", {"--wait", "20"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, HasSubstr("400 NUV_LAUNCH_STATUS_UNKNOWN_APP"));
}

TEST_F(NuvctlRequest, AResultThatDoesNotComeIsATimeout) {
  StartSimulator(R"([{"method": "launch_app", "results": []}])");
  EXPECT_EQ(Launch(R"({"app": "org.example.player"})", {"--wait", "0.5"}).status, 4);
}

TEST_F(NuvctlRequest, WithoutServiceOrBusItSaysWhichIsGone) {
  EXPECT_EQ(Launch(R"({"app": "a"})").status, 5);
  EXPECT_EQ(Launch(R"({"app": "a"})", {"--wait", "20"}).status, 5);
  bus_.Kill();
  EXPECT_EQ(Launch(R"({"app": "a"})").status, 6);
  EXPECT_EQ(Launch(R"({"app": "a"})", {"--wait", "20"}).status, 6);
}

TEST_F(NuvctlRequest, AWrongFileIsAUsageErrorThatNamesThePlace) {
  for (const WrongFile& wrong : kWrongFiles) {
    const NuvctlRun run = Launch(wrong.content);
    EXPECT_EQ(run.status, 2) << wrong.content;
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, StartsWith("nuvctl: " + file() + ": ")) << wrong.content;
    EXPECT_THAT(run.errors, HasSubstr(wrong.says)) << wrong.content;
    EXPECT_EQ(run.errors.find('\n'), run.errors.size() - 1) << run.errors;
  }
}

TEST_F(NuvctlRequest, AWrongFileIsDescribedInJson) {
  const NuvctlRun run = Launch(R"({"app": 7})", {"--json"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.Json()["verb"], "launch");
  EXPECT_EQ(run.Json()["outcome"], "usage error");
  EXPECT_EQ(run.Json()["error"]["message"], file() + ": app: a text is needed, not a value of type number");
}

TEST_F(NuvctlRequest, AFileThatCannotBeReadIsAUsageError) {
  const std::pair<std::string, std::string> files[] = {
      {directory_ / "nosuch.json", "No such file or directory"},
      {directory_.path(), "Is a directory"},
      {"", "No such file or directory"},
      {"/dev/zero", "longer than 16 MiB"},
  };
  for (const auto& [path, says] : files) {
    const NuvctlRun run = Run({"launch", "--request", path});
    EXPECT_EQ(run.status, 2) << path;
    EXPECT_EQ(run.errors, "nuvctl: " + path + ": " + says + "\n");
  }
}

TEST_F(NuvctlRequest, AnEmptyStandardInputStreamIsAUsageError) {
  Process shell({"sh", "-c", NUV_BIN_DIR "/nuvctl launch --request - < /dev/null"}, directory_.path());
  EXPECT_EQ(shell.Wait(), 2);
  EXPECT_THAT(shell.Errors(), StartsWith("nuvctl: standard input: parse error at line 1"));
}

TEST_F(NuvctlRequest, GoesWithNoOtherDescriptionOfTheLaunch) {
  for (const Arguments& other : {Arguments{"a.b"},
                                 {"--title", "t"},
                                 {"--payload", "p"},
                                 {"--caller", "c"},
                                 {"--force"},
                                 {"--background"},
                                 {"--deep-link"},
                                 {"--webapp"},
                                 {"--plain"}}) {
    const NuvctlRun run = Launch(R"({"app": "a"})", other);
    EXPECT_EQ(run.status, 2) << other.front();
    EXPECT_THAT(run.errors, HasSubstr("excludes")) << other.front();
  }
  EXPECT_THAT(Run({"launch"}).errors, HasSubstr("--request, ID or --title is required"));
}
