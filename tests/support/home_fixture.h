// nuv-home as a real process on a bus of the test's own, and what a browser would do with it.
#pragma once

#include <gmock/gmock.h>
#include <libsoup/soup.h>

#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "simulator_fixture.h"

struct HttpAnswer {
  unsigned status = 0;  // 0: there was none
  std::string body;
  std::map<std::string, std::string> headers;  // by their names in lower case

  std::string Header(const std::string& name) const;
};

// The socket of a page.
class PageSocket {
 public:
  using Json = nlohmann::json;
  using Headers = std::map<std::string, std::string>;

  PageSocket(const std::string& url, const std::string& origin, const Headers& headers);
  ~PageSocket();
  PageSocket(const PageSocket&) = delete;
  PageSocket& operator=(const PageSocket&) = delete;

  bool open() const;
  unsigned refused() const { return refused_; }  // the status, where the socket was not opened
  unsigned short close_code() const;
  std::string close_reason() const;
  bool WaitForClose() const;

  // Sends it with a number of its own, and waits for the answer. Null where none comes.
  Json Ask(Json request);
  void Send(const std::string& text) const;
  void SendBinary(const std::string& bytes) const;
  // The first message that came, and was not taken yet, for which the condition holds.
  Json WaitFor(const std::function<bool(const Json&)>& condition, Milliseconds limit = Milliseconds(20000));
  Json WaitForEvent(const std::string& event, const std::function<bool(const Json&)>& condition = nullptr);
  void StopReading() { acknowledge_ = false; }
  void Forget() { messages_.clear(); }
  void GoAway();  // without a word

 private:
  static void OnConnected(GObject* session, GAsyncResult* result, gpointer self);
  static void OnMessage(SoupWebsocketConnection*, gint, GBytes* bytes, gpointer self);

  SoupSession* const session_;
  SoupMessage* const message_;
  SoupWebsocketConnection* connection_ = nullptr;
  bool answered_ = false;
  unsigned refused_ = 0;
  bool acknowledge_ = true;
  unsigned last_ = 0;
  std::vector<Json> messages_;
};

class HomeTest : public SimulatorTest {
 protected:
  using Headers = PageSocket::Headers;
  static constexpr const char* kHome = NUV_BIN_DIR "/nuv-home";

  using SimulatorTest::SimulatorTest;
  HomeTest() = default;
  ~HomeTest() override;

  // Waits until it has printed its address.
  void StartHome(const std::vector<std::string>& options = {});
  std::unique_ptr<Process> RunHome(const std::vector<std::string>& options) const;

  std::string FirstAddress() const { return first_address_; }
  std::string Origin() const;  // "http://127.0.0.1:PORT"
  std::string Host() const;    // the same without "http://"
  std::string Cookie();        // as a browser sends it, got with the first address
  HttpAnswer Get(const std::string& path, const Headers& headers = {}, const char* method = "GET") const;
  HttpAnswer GetAsPage(const std::string& path, Headers headers = {});
  // What comes back for the bytes, until the server closes the connection or the limit is over.
  std::string SendRaw(const std::string& bytes) const;

  std::unique_ptr<PageSocket> Open();  // as the page does
  std::unique_ptr<PageSocket> OpenWith(const std::string& origin, const Headers& headers,
                                       const std::string& path = "/socket") const;

  std::unique_ptr<Process> home_;

 private:
  std::string first_address_;
  std::string cookie_;
  SoupSession* const session_ = soup_session_new();
};

// A catalogue of so many applications, "app.0" and on, titled "Title 0" and on, with what comes behind each title.
std::string CatalogueOf(int count, const std::string& behind = "");
