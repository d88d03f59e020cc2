#include "nuv_launcher_api/nuv_payload_caller_id.h"

#include <gtest/gtest.h>

#include <ostream>

#include "fake_platform.h"
#include "log_notation.h"

namespace {

constexpr int kLaunchMode = 2;

struct Row {
  const char* name;
  int mode;
  const char* payload;
  const char* caller_id;
  const char* payload_out;
  const char* caller_id_out;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

const Row kRows[] = {
    {"EmbeddedIdIsTakenWhenNoneIsGiven", kLaunchMode, "a=1&callerid=X&b=2", nullptr, "a=1&callerid=X&b=2", "X"},
    {"GivenIdReplacesTheEmbeddedOneInPlace", kLaunchMode, "a=1&callerid=X&b=2", "Y", "a=1&callerid=Y&b=2", "Y"},
    {"GivenIdReplacesTheLastParameter", kLaunchMode, "a=1&callerid=X", "Y", "a=1&callerid=Y", "Y"},
    {"LaunchModeKeepsAPayloadWithoutMarker", kLaunchMode, "a=1", "Y", "a=1", "Y"},
    {"OtherModesAddTheGivenId", 0, "a=1", "Y", "a=1&callerid=Y", "Y"},
    {"OtherModesAddNothingWithoutAnId", 0, "a=1", nullptr, "a=1", ""},
    {"OtherModesReplaceLikeTheLaunchMode", 7, "a=1&callerid=X", "Y", "a=1&callerid=Y", "Y"},
    {"NothingGivenGivesNothing", kLaunchMode, nullptr, nullptr, "", ""},
    {"NullPayloadKeepsTheGivenId", kLaunchMode, nullptr, "Y", "", "Y"},
    {"MarkerAloneNamesNobody", kLaunchMode, "&callerid=", nullptr, "&callerid=", ""},
    {"EmptyIdCountsAsGivenAndClearsTheValue", kLaunchMode, "a=1&callerid=X&b=2", "", "a=1&callerid=&b=2", ""},
    {"EmptyIdClearsTheLastValue", kLaunchMode, "&callerid=X", "", "&callerid=", ""},
    {"ParameterWithoutLeadingSeparatorIsNotRecognised", kLaunchMode, "callerid=X&a=1", nullptr, "callerid=X&a=1", ""},
    {"OnlyTheFirstMarkerCounts", kLaunchMode, "&callerid=X&callerid=Z", "Y", "&callerid=Y&callerid=Z", "Y"},
    {"OnlyTheFirstMarkerIsRead", kLaunchMode, "&callerid=X&callerid=Z", nullptr, "&callerid=X&callerid=Z", "X"},
    {"MarkerDirectlyAfterMarkerIsAnEmptyId", kLaunchMode, "&callerid=&callerid=Z", nullptr, "&callerid=&callerid=Z",
     ""},
};

class PayloadCallerId : public ::testing::TestWithParam<Row> {};

TEST_P(PayloadCallerId, IsSettled) {
  const Row& row = GetParam();
  std::string payload_out = "overwritten";
  std::string caller_id_out = "overwritten";
  nuv_ProcessPayloadCallerID_internal(row.mode, row.payload, row.caller_id, payload_out, caller_id_out);
  EXPECT_EQ(row.payload_out, payload_out);
  EXPECT_EQ(row.caller_id_out, caller_id_out);
}

INSTANTIATE_TEST_SUITE_P(Rows, PayloadCallerId, ::testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(PayloadCallerIdLog, TellsWhetherThePayloadNamesACaller) {
  std::string payload;
  std::string caller;
  nuv_ProcessPayloadCallerID_internal(kLaunchMode, "a&callerid=X", "Y", payload, caller);
  nuv_ProcessPayloadCallerID_internal(kLaunchMode, "plain", "Y", payload, caller);
  EXPECT_EQ(4, fake_platform::LogPriority(Yellow("callerid found in payload [a&callerid=X].")));
  EXPECT_EQ(4, fake_platform::LogPriority(Yellow("no callerid found in payload [plain].")));
}

}  // namespace
