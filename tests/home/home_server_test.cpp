// What nuv-home gives to whom over HTTP.
#include <sys/stat.h>

#include <fstream>

#include "home_fixture.h"

namespace {

using testing::HasSubstr;

constexpr char kPng[] = "\x89PNG\r\n\x1a\n and the rest of it";

class HomeServer : public HomeTest {
 protected:
  // A catalogue with one application, whose icon has that path.
  std::string WithIcon(const std::string& path) const {
    return nlohmann::json{{"apps", {{{"id", "app"}, {"title", "App"}, {"icon_path", path}}}}}.dump();
  }
  std::string IconFile(const std::string& content) const {
    const std::string path = files_ / "icon";
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }
  HttpAnswer GetIcon() { return GetAsPage("/icon?app=app"); }
};

TEST_F(HomeServer, GivesThePageToWhoeverHasTheFirstAddress) {
  StartHome();
  const HttpAnswer page = Get(FirstAddress().substr(Origin().size()));
  EXPECT_EQ(page.status, 200U);
  EXPECT_EQ(page.Header("content-type"), "text/html; charset=utf-8");
  EXPECT_THAT(page.body, HasSubstr("<title>"));
  EXPECT_THAT(page.Header("set-cookie"), HasSubstr("; Path=/; SameSite=Strict; HttpOnly"));
}

TEST_F(HomeServer, GivesNothingWithoutTheTokenOrItsCookie) {
  StartHome();
  for (const char* path : {"/", "/?token=", "/?token=0000", "/index.html", "/icon?app=app", "/socket", "/nothing"}) {
    const HttpAnswer answer = Get(path);
    EXPECT_EQ(answer.status, 403U) << path;
    EXPECT_EQ(answer.Header("set-cookie"), "") << path;
    EXPECT_THAT(answer.body, HasSubstr("Open the address that nuv-home has printed")) << path;
  }
  EXPECT_EQ(Get("/", {{"Cookie", "nuv_home=1"}}).status, 403U);
}

TEST_F(HomeServer, GivesEverythingToTheCookie) {
  StartHome();
  EXPECT_EQ(GetAsPage("/").status, 200U);
  EXPECT_EQ(GetAsPage("/index.html").status, 200U);
  EXPECT_EQ(GetAsPage("/nothing.js").status, 404U);
  EXPECT_EQ(GetAsPage("/../options.h").status, 404U);
}

TEST_F(HomeServer, TheTokenOpensNothingButThePage) {
  StartHome();
  const std::string query = FirstAddress().substr(Origin().size() + 1);
  EXPECT_EQ(Get("/index.html" + query).status, 403U);
  EXPECT_EQ(Get("/socket" + query).status, 403U);
}

TEST_F(HomeServer, SaysWithEachAnswerWhatAPageMayDo) {
  StartHome();
  const HttpAnswer answers[] = {GetAsPage("/"), Get("/"), GetAsPage("/nothing"), GetAsPage("/icon?app=app")};
  for (const HttpAnswer& answer : answers) {
    EXPECT_EQ(answer.Header("content-security-policy"),
              "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
              "base-uri 'none'; form-action 'none'; frame-ancestors 'none'")
        << answer.status;
    EXPECT_EQ(answer.Header("x-content-type-options"), "nosniff") << answer.status;
    EXPECT_EQ(answer.Header("referrer-policy"), "no-referrer") << answer.status;
    EXPECT_EQ(answer.Header("cross-origin-resource-policy"), "same-origin") << answer.status;
  }
}

TEST_F(HomeServer, RefusesAForeignHost) {
  StartHome();
  const std::string port = Host().substr(Host().find(':'));
  const std::string first = FirstAddress().substr(Origin().size());
  for (const std::string& host : {"tv.example" + port, "127.0.0.1.example" + port, std::string("127.0.0.1:1")}) {
    EXPECT_EQ(Get(first, {{"Host", host}}).status, 421U) << host;
    EXPECT_EQ(GetAsPage("/", {{"Host", host}}).status, 421U) << host;
  }
  EXPECT_EQ(Get(first, {{"Host", "localhost" + port}}).status, 200U);
}

TEST_F(HomeServer, RefusesWhatAPageOfAnotherSiteAsks) {
  StartHome();
  for (const char* site : {"cross-site", "same-site"}) {
    EXPECT_EQ(GetAsPage("/", {{"Sec-Fetch-Site", site}}).status, 403U) << site;
    EXPECT_EQ(GetAsPage("/icon?app=app", {{"Sec-Fetch-Site", site}}).status, 403U) << site;
  }
  EXPECT_EQ(GetAsPage("/", {{"Sec-Fetch-Site", "same-origin"}}).status, 200U);
  EXPECT_EQ(GetAsPage("/", {{"Sec-Fetch-Site", "none"}}).status, 200U);
}

TEST_F(HomeServer, OnlyReads) {
  StartHome();
  for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS"}) {
    EXPECT_EQ(Get("/", {{"Cookie", Cookie()}}, method).status, 405U) << method;
  }
}

TEST_F(HomeServer, RefusesABodyBeforeItHasCome) {
  StartHome();
  const std::string begin = "GET / HTTP/1.1\r\nHost: " + Host() + "\r\nCookie: " + Cookie() + "\r\n";
  EXPECT_THAT(SendRaw(begin + "Content-Length: 10\r\n\r\n0123456789"), HasSubstr("413"));
  EXPECT_THAT(SendRaw(begin + "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n"), HasSubstr("413"));
}

TEST_F(HomeServer, OutlivesWhatIsNoRequest) {
  StartHome();
  SendRaw("\r\n\r\n");
  SendRaw("NOTHING\r\n\r\n");
  SendRaw(std::string(100000, 'x') + "\r\n\r\n");
  SendRaw("GET /?token=%ff%00 HTTP/1.1\r\nHost: " + Host() + "\r\nConnection: close\r\n\r\n");
  EXPECT_EQ(GetAsPage("/").status, 200U);
}

TEST_F(HomeServer, ShowsAnIconOfTheCatalogueByTheApplicationsId) {
  Start({}, WithIcon(IconFile(kPng)));
  StartHome();
  const HttpAnswer icon = GetIcon();
  EXPECT_EQ(icon.status, 200U);
  EXPECT_EQ(icon.Header("content-type"), "image/png");
  EXPECT_EQ(icon.body, kPng);
  EXPECT_EQ(GetAsPage("/icon?app=" + IconFile(kPng)).status, 404U);
  EXPECT_EQ(GetAsPage("/icon").status, 400U);
}

TEST_F(HomeServer, ShowsNoFileThatIsNoPicture) {
  Start({}, WithIcon(IconFile("root:x:0:0:root:/root:/bin/sh\n")));
  StartHome();
  EXPECT_EQ(GetIcon().status, 404U);
  IconFile("<svg xmlns='http://www.w3.org/2000/svg'><script>alert(1)</script></svg>");
  EXPECT_EQ(GetIcon().status, 404U);
  IconFile(kPng + std::string(std::size_t{1} << 20, ' '));
  EXPECT_EQ(GetIcon().status, 404U);
  IconFile(kPng);
  EXPECT_EQ(GetIcon().status, 200U);
}

TEST_F(HomeServer, DoesNotWaitForAPipeThatIsNamedAsAnIcon) {
  const std::string pipe = files_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  Start({}, WithIcon(pipe));
  StartHome();
  EXPECT_EQ(GetIcon().status, 404U);
}

TEST_F(HomeServer, ServesOtherMachinesOnlyWhereThatWasSaid) {
  const auto refused = RunHome({"--listen", "0.0.0.0:0"});
  EXPECT_EQ(refused->Wait(), 1);
  EXPECT_THAT(refused->Errors(), HasSubstr("0.0.0.0 can be reached from other machines, and nothing is encrypted; "
                                           "--allow-remote permits it"));
  StartHome({"--listen", "0.0.0.0:0", "--allow-remote"});
  EXPECT_EQ(GetAsPage("/").status, 200U);
}

TEST_F(HomeServer, SaysThatThePortIsInUse) {
  StartHome();
  const auto second = RunHome({"--listen", Host()});
  EXPECT_EQ(second->Wait(), 1);
  EXPECT_THAT(second->Errors(), HasSubstr("cannot serve at " + Host() + ": "));
  EXPECT_EQ(second->Output(), "");
}

TEST_F(HomeServer, RefusesWrongUsage) {
  for (const auto& options : std::vector<std::vector<std::string>>{{"--listen"}, {"--wait", "0"}, {"extra"}}) {
    EXPECT_EQ(RunHome(options)->Wait(), 2) << options.front();
  }
  const auto wrong = RunHome({"--listen", "somewhere"});
  EXPECT_EQ(wrong->Wait(), 1);
  EXPECT_THAT(wrong->Errors(), HasSubstr("--listen somewhere: not ADDRESS:PORT"));
}

TEST_F(HomeServer, KeepsAnsweringWhileConnectionsAreHeldOpen) {
  StartHome();
  std::vector<GSocketConnection*> held;
  GSocketClient* client = g_socket_client_new();
  g_socket_client_set_timeout(client, 10);
  for (int i = 0; i < 100; ++i) {
    held.push_back(g_socket_client_connect_to_host(client, Host().c_str(), 0, nullptr, nullptr));
  }
  EXPECT_EQ(GetAsPage("/").status, 200U);
  // Beyond its bound the server closes a connection at once, and goes on when some are given back.
  for (int i = 0; i < 100; ++i) {
    held.push_back(g_socket_client_connect_to_host(client, Host().c_str(), 0, nullptr, nullptr));
  }
  char byte = 0;
  ASSERT_NE(held.back(), nullptr);
  EXPECT_EQ(g_input_stream_read(g_io_stream_get_input_stream(G_IO_STREAM(held.back())), &byte, 1, nullptr, nullptr), 0);
  for (GSocketConnection* connection : held) g_clear_object(&connection);
  g_object_unref(client);
  EXPECT_TRUE(WaitUntil([this] { return GetAsPage("/").status == 200U; }));
}

}  // namespace
