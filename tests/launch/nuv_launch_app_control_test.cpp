// Launching from an app-control request: what of the request reaches the service.
#include <nuv/nuv_launcher_api.h>

#include <algorithm>
#include <ostream>

#include "effects.h"
#include "fake_apps.h"
#include "launch_test.h"

namespace {

using fake_platform::AppControl;
using fake_platform::AppControlHandle;
using fake_platform::MakeAppControl;
using ::testing::ValuesIn;
using ::testing::WithParamInterface;

enum Text { kAppId, kPayload, kUri, kCallerId, kEntry, kRelocateBelow, kRequestor };

const std::vector<int32_t> kInitialFlags = {0, 0, 0, 1, 1, 0, 1, 0, 0, 0, 0};

// A block of the extra data as it travels.
std::string Block(const std::string& key, const std::string& value) {
  std::string block = key.substr(0, 511);
  block.resize(512, '\0');
  block += value.substr(0, 511);
  block.resize(1024, '\0');
  return block;
}

// Behind the colour, up to the value in brackets.
bool LoggedLabel(const std::string& label) {
  const auto log = fake_platform::Log();
  return std::any_of(log.begin(), log.end(), [&](const fake_platform::LogLine& line) {
    return line.text.rfind(OpenEnded(Yellow(label + " [")), 0) == 0;
  });
}

class AppControlTest : public LaunchTest {
 protected:
  void SetUp() override { WarmUp(); }

  LaunchRequest Launch(const AppControl& content) {
    service_->Forget();
    const AppControlHandle request = MakeAppControl(content);
    EXPECT_EQ(0, nuv_launch_app_ex(request.get(), nullptr, nullptr));
    return service_->Launches().at(0);
  }
};

TEST_F(AppControlTest, SendsEverythingThatTheRequestHolds) {
  const LaunchRequest launch = Launch({"app",
                                       "http://operation",
                                       "http://uri",
                                       {{"__K_EX_LAUNCH_REQUESTOR", "requestor"},
                                        {"SkipPIN", "true"},
                                        {"own", "value"},
                                        {"RelocateBelowApp", "below"},
                                        {"Entry", "entry"},
                                        {"Operation", "BackgroundAndDeeplink"},
                                        {"CallerId", "caller"},
                                        {"PayLoad", "payload"}}});
  EXPECT_EQ((std::vector<std::string>{"app", "payload", "http://uri", "caller", "entry", "below", "requestor"}),
            launch.texts);
  EXPECT_EQ((std::vector<int32_t>{1, 0, 0, 1, 1, 0, 1, 1, 0, 1, 1}), launch.flags);
  EXPECT_EQ("nuv_launch_app", launch.method_call);
  EXPECT_EQ(
      (std::vector<std::string>{Block("__K_EX_LAUNCH_REQUESTOR", "requestor"), Block("SkipPIN", "true"),
                                Block("own", "value"), Block("RelocateBelowApp", "below"), Block("Entry", "entry"),
                                Block("Operation", "BackgroundAndDeeplink"), Block("CallerId", "caller"),
                                Block("PayLoad", "payload"), Block("AC_Operation", "http://operation")}),
      launch.extra_datas);
}

TEST_F(AppControlTest, SendsTheInitialValuesForABareRequest) {
  const LaunchRequest launch = Launch({"app", {}, {}, {}});
  EXPECT_EQ((std::vector<std::string>{"app", "", "", "", "", "", ""}), launch.texts);
  EXPECT_EQ(kInitialFlags, launch.flags);
  EXPECT_TRUE(launch.extra_datas.empty());
  EXPECT_FALSE(LoggedLabel("deeplink uri"));
}

// Keys whose value becomes a text of the launch.
struct TextKey {
  const char* key;
  const char* label;
  Text text;
};
void PrintTo(const TextKey& row, std::ostream* out) {
  *out << row.key;
}
const TextKey kTextKeys[] = {{"PayLoad", "payload", kPayload},
                             {"CallerId", "callerid", kCallerId},
                             {"Entry", "entry", kEntry},
                             {"RelocateBelowApp", "relocate_below_app", kRelocateBelow},
                             {"__K_EX_LAUNCH_REQUESTOR", "launch_requestor", kRequestor}};

class AppControlText : public AppControlTest, public WithParamInterface<TextKey> {
 protected:
  void ExpectOnly(const LaunchRequest& launch, const std::string& value) {
    std::vector<std::string> texts(7);
    texts[kAppId] = "app";
    texts[GetParam().text] = value;
    EXPECT_EQ(texts, launch.texts);
    EXPECT_EQ(kInitialFlags, launch.flags);
  }
};

TEST_P(AppControlText, IsTakenUnchanged) {
  const std::string value = "a=1&callerid=X&\xc3\xa9";
  const LaunchRequest launch = Launch({"app", {}, {}, {{GetParam().key, value}}});
  ExpectOnly(launch, value);
  EXPECT_EQ(std::vector<std::string>{Block(GetParam().key, value)}, launch.extra_datas);
  EXPECT_EQ(4, fake_platform::LogPriority(Yellow(std::string(GetParam().label) + " [" + value + "].")));
}

TEST_P(AppControlText, StaysEmptyWhereTheValueIsEmpty) {
  const LaunchRequest launch = Launch({"app", {}, {}, {{GetParam().key, ""}}});
  ExpectOnly(launch, "");
  EXPECT_EQ(std::vector<std::string>{Block(GetParam().key, "")}, launch.extra_datas);
  EXPECT_FALSE(LoggedLabel(GetParam().label));
}

TEST_P(AppControlText, StaysEmptyWhereTheKeyIsAbsentOrHasNoValue) {
  ExpectOnly(Launch({"app", {}, {}, {{"other", "value"}}}), "");
  const LaunchRequest launch = Launch({"app", {}, {}, {{GetParam().key, std::nullopt}, {"other", "value"}}});
  ExpectOnly(launch, "");
  EXPECT_EQ(std::vector<std::string>{Block("other", "value")}, launch.extra_datas);
  EXPECT_FALSE(LoggedLabel(GetParam().label));
}

TEST_P(AppControlText, ComesFromTheValueThatWasAddedLast) {
  const AppControlHandle request = MakeAppControl({"app", {}, {}, {{GetParam().key, "first"}, {"other", "value"}}});
  ASSERT_EQ(0, app_control_add_extra_data(request.get(), GetParam().key, "second"));
  ASSERT_EQ(0, nuv_launch_app_ex(request.get(), nullptr, nullptr));
  const LaunchRequest launch = service_->Launches().at(0);
  ExpectOnly(launch, "second");
  EXPECT_EQ((std::vector<std::string>{Block(GetParam().key, "second"), Block("other", "value")}), launch.extra_datas);
}

TEST_P(AppControlText, IsNotTakenFromAKeyInAnotherCase) {
  std::string key = GetParam().key;
  std::transform(key.begin(), key.end(), key.begin(), ::tolower);
  ExpectOnly(Launch({"app", {}, {}, {{key, "value"}}}), "");
}

INSTANTIATE_TEST_SUITE_P(Keys, AppControlText, ValuesIn(kTextKeys),
                         [](const auto& row) { return std::string(row.param.label); });

struct OperationRow {
  const char* value;
  int force, deep_link, preload, background;
};
void PrintTo(const OperationRow& row, std::ostream* out) {
  std::string name = row.value;
  std::replace(name.begin(), name.end(), ' ', '_');
  *out << name;
}
const OperationRow kOperations[] = {{"ForceLaunch", 1, 0, 0, 0},
                                    {"DeepLink", 1, 1, 0, 0},
                                    {"PreLoad", 0, 0, 1, 0},
                                    {"BackGround", 0, 0, 0, 1},
                                    {"BackgroundAndDeeplink", 1, 1, 0, 1},
                                    {"forcelaunch", 0, 0, 0, 0},
                                    {"FORCELAUNCH", 0, 0, 0, 0},
                                    {"Forcelaunch", 0, 0, 0, 0},
                                    {"ForceLaunch ", 0, 0, 0, 0},
                                    {" ForceLaunch", 0, 0, 0, 0},
                                    {"ForceLaunchX", 0, 0, 0, 0},
                                    {"ForceLaunc", 0, 0, 0, 0},
                                    {"Deeplink", 0, 0, 0, 0},
                                    {"Preload", 0, 0, 0, 0},
                                    {"Background", 0, 0, 0, 0},
                                    {"BackgroundAndDeepLink", 0, 0, 0, 0},
                                    {"BackGroundAndDeeplink", 0, 0, 0, 0},
                                    {"Launch", 0, 0, 0, 0}};

class AppControlOperation : public AppControlTest, public WithParamInterface<OperationRow> {};

TEST_P(AppControlOperation, SetsItsFlagsAndTravelsToTheApplication) {
  const OperationRow& row = GetParam();
  const LaunchRequest launch = Launch({"app", {}, {}, {{"Operation", row.value}}});
  EXPECT_EQ((std::vector<int32_t>{row.force, row.preload, 0, 1, 1, 0, 1, row.deep_link, 0, row.background, 0}),
            launch.flags);
  EXPECT_EQ(std::vector<std::string>{Block("Operation", row.value)}, launch.extra_datas);
  EXPECT_EQ(4, fake_platform::LogPriority(Yellow("operation [" + std::string(row.value) + "].")));
}

INSTANTIATE_TEST_SUITE_P(Values, AppControlOperation, ValuesIn(kOperations),
                         [](const auto& row) { return std::to_string(row.index); });

TEST_F(AppControlTest, AnEmptyOperationSetsNothing) {
  EXPECT_EQ(kInitialFlags, Launch({"app", {}, {}, {{"Operation", ""}}}).flags);
  EXPECT_FALSE(LoggedLabel("operation"));
}

TEST_F(AppControlTest, SkipsThePinOnlyForTheValueTrue) {
  const int skip_pin = 10;
  for (const std::string value : {"true", "True", "TRUE", "1", "yes", "true ", " true", "tru", "false"}) {
    fake_platform::Clear();
    EXPECT_EQ(value == "true" ? 1 : 0, Launch({"app", {}, {}, {{"SkipPIN", value}}}).flags[skip_pin]) << value;
    EXPECT_EQ(4, fake_platform::LogPriority(Yellow("Skip PIN [" + value + "]."))) << value;
  }
  fake_platform::Clear();
  EXPECT_EQ(0, Launch({"app", {}, {}, {{"SkipPIN", ""}}}).flags[skip_pin]);
  EXPECT_FALSE(LoggedLabel("Skip PIN"));
}

TEST_F(AppControlTest, AUriAloneMakesNoDeepLink) {
  const LaunchRequest launch = Launch({"app", {}, "http://uri", {}});
  EXPECT_EQ("http://uri", launch.texts[kUri]);
  EXPECT_EQ(kInitialFlags, launch.flags);
  EXPECT_EQ(4, fake_platform::LogPriority(Yellow("deeplink uri [http://uri].")));
  fake_platform::Clear();
  EXPECT_EQ("", Launch({"app", {}, "", {}}).texts[kUri]);
  EXPECT_FALSE(LoggedLabel("deeplink uri"));
}

TEST_F(AppControlTest, KeepsTheOperationInTheRequestWhichStaysTheCallers) {
  const AppControlHandle request = MakeAppControl({"app", "http://operation", "uri", {{"AC_Operation", "earlier"}}});
  ASSERT_EQ(0, nuv_launch_app_ex(request.get(), nullptr, nullptr));
  EXPECT_EQ(std::vector<std::string>{Block("AC_Operation", "http://operation")},
            service_->Launches().at(0).extra_datas);
  const AppControl content = ContentOf(request);
  EXPECT_EQ("app", content.app_id);
  EXPECT_EQ("http://operation", content.operation);
  EXPECT_EQ("uri", content.uri);
  ASSERT_EQ(1u, content.extra_data.size());
  EXPECT_EQ("http://operation", content.extra_data[0].second);
}

TEST_F(AppControlTest, SendsAThousandExtraDataCompleteAndInOrder) {
  for (const size_t size : {511, 512, 10000}) {
    AppControl content = {"app", {}, {}, {}};
    std::vector<std::string> blocks;
    for (int i = 0; i < 1000; ++i) {
      const std::string key = "key" + std::to_string(999 - i);
      const std::string value = std::to_string(i) + std::string(size - std::to_string(i).size(), 'v');
      content.extra_data.emplace_back(key, value);
      blocks.push_back(Block(key, value));
    }
    EXPECT_TRUE(blocks == Launch(content).extra_datas) << size;
  }
}

TEST_F(AppControlTest, CutsALongKeyAndSendsBytesThatAreNoText) {
  const std::string key(600, 'k');
  const LaunchRequest launch = Launch({"app", {}, {}, {{key, "value"}, {"bytes", "caf\xc3"}}});
  EXPECT_EQ((std::vector<std::string>{Block(key, "value"), Block("bytes", "caf\xc3")}), launch.extra_datas);
}

}  // namespace
