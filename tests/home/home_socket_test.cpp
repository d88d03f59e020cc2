// The socket of a page: who gets one, and what comes of what is sent over it.
#include "home_fixture.h"

namespace {

using Json = nlohmann::json;
using testing::HasSubstr;

class HomeSocket : public HomeTest {
 protected:
  void SetUp() override {
    Start({}, CatalogueOf(5));
    StartHome();
  }
};

TEST_F(HomeSocket, OpensForThePageAndForNoOther) {
  EXPECT_TRUE(Open()->open());
  EXPECT_EQ(OpenWith(Origin(), {})->refused(), 403U);
  EXPECT_EQ(OpenWith("http://tv.example", {{"Cookie", Cookie()}})->refused(), 403U);
  EXPECT_EQ(OpenWith("null", {{"Cookie", Cookie()}})->refused(), 403U);
  EXPECT_EQ(OpenWith("https://" + Host(), {{"Cookie", Cookie()}})->refused(), 403U);
  const std::string other = "tv.example" + Host().substr(Host().find(':'));
  EXPECT_EQ(OpenWith("http://" + other, {{"Cookie", Cookie()}, {"Host", other}})->refused(), 421U);
}

TEST_F(HomeSocket, OpensForNoOtherPageBelowItsPathEither) {
  for (const char* path : {"/socket", "/socket/", "/socket/more", "/socketmore", "/socket?more"}) {
    EXPECT_EQ(OpenWith("http://tv.example", {{"Cookie", Cookie()}}, path)->refused(), 403U) << path;
    EXPECT_EQ(OpenWith(Origin(), {}, path)->refused(), 403U) << path;
  }
}

TEST_F(HomeSocket, AnswersWhatIsNoRequestAndGoesOn) {
  const auto page = Open();
  for (const char* text :
       {"", "[", "[]", "1", "null", "\"do\"", "{}", R"({"do":1})", R"({"do":"nothing"})", R"({"do":"tiles"})",
        R"({"do":"tiles","view":"index","index":-1,"count":1})", R"({"do":"tiles","view":"none","index":0,"count":1})",
        R"({"do":"launch","app":7})", R"({"do":"launch","app":"app.0","force":"yes"})",
        R"({"do":"launch","app":"a\u0000b"})", R"({"seen":99999})", R"({"seen":"x"})"}) {
    page->Send(text);
    const Json answer = page->WaitFor([](const Json& message) { return message.contains("error"); });
    ASSERT_TRUE(answer.is_object()) << text;
    EXPECT_THAT(answer["error"].get<std::string>(), HasSubstr("not a request: ")) << text;
    EXPECT_EQ(answer["ok"], false) << text;
  }
  EXPECT_EQ(page->Ask({{"do", "hello"}})["ok"], true);
}

TEST_F(HomeSocket, AnOversizedMessageEndsItAndNothingElse) {
  const auto page = Open();
  const auto other = Open();
  page->Send(R"({"do":"hello","more":")" + std::string(20000, 'x') + "\"}");
  EXPECT_TRUE(page->WaitForClose());
  EXPECT_TRUE(page->WaitFor([](const Json& message) { return message.contains("ok"); }, Milliseconds(0)).is_null());
  EXPECT_EQ(other->Ask({{"do", "hello"}})["ok"], true);
}

TEST_F(HomeSocket, BytesEndIt) {
  const auto page = Open();
  page->SendBinary("{}");
  EXPECT_TRUE(page->WaitForClose());
  EXPECT_EQ(page->close_code(), SOUP_WEBSOCKET_CLOSE_UNSUPPORTED_DATA);
}

TEST_F(HomeSocket, AnAnswerToAPageThatHasGoneHarmsNobody) {
  const auto other = Open();
  for (int round = 0; round < 5; ++round) {
    const auto page = Open();
    for (int i = 0; i < 10; ++i) page->Send(R"({"do":"explain","app":"app.1"})");
    page->GoAway();
    EXPECT_EQ(other->Ask({{"do", "explain"}, {"app", "app.1"}})["ok"], true);
  }
}

TEST_F(HomeSocket, AFloodEndsIt) {
  const auto page = Open();
  for (int i = 0; i < 1000; ++i) page->Send(R"({"do":"nothing"})");
  EXPECT_TRUE(page->WaitForClose());
  EXPECT_EQ(page->close_code(), SOUP_WEBSOCKET_CLOSE_POLICY_VIOLATION);
  EXPECT_EQ(Open()->Ask({{"do", "hello"}})["ok"], true);
}

TEST_F(HomeSocket, SeventeenPagesAreTooMany) {
  std::vector<std::unique_ptr<PageSocket>> pages;
  for (int i = 0; i < 16; ++i) pages.push_back(Open());
  for (const auto& page : pages) EXPECT_TRUE(page->open());
  EXPECT_EQ(Open()->refused(), 503U);
  pages.pop_back();
  EXPECT_TRUE(WaitUntil([this] { return Open()->open(); }));
}

// Slower than the bound on requests, so that it is the unread answers that end it.
bool StaysOpen(PageSocket& page, int requests) {
  const std::string ask = R"({"do":"tiles","view":"index","index":0,"count":200})";
  for (int i = 0; i < requests && page.open(); ++i) {
    page.Send(ask);
    RunUntil([&page] { return !page.open(); }, Milliseconds(22));
    page.Forget();
  }
  return page.open();
}

TEST_F(HomeSocket, APageThatDoesNotReadIsGivenUp) {
  home_->Signal(SIGTERM);
  ASSERT_EQ(home_->Wait(), 0);
  ASSERT_EQ(End(), 0);
  Start({}, CatalogueOf(200, std::string(100, 'x')));
  StartHome();
  const auto page = Open();
  const auto deaf = Open();
  deaf->StopReading();
  EXPECT_FALSE(StaysOpen(*deaf, 1000));
  EXPECT_EQ(deaf->close_code(), SOUP_WEBSOCKET_CLOSE_POLICY_VIOLATION);
  EXPECT_EQ(deaf->close_reason(), "the page does not read what it is sent");
  EXPECT_TRUE(StaysOpen(*page, 250));
}

}  // namespace
