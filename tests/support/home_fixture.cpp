#include "home_fixture.h"

#include <utility>

namespace {

template <typename T>
struct Unowned {
  void operator()(T* object) const { g_object_unref(object); }
};

std::string TextOf(GBytes* bytes) {
  gsize size = 0;
  const auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
  return data != nullptr ? std::string(data, size) : "";
}

void AddHeaders(SoupMessage* message, const PageSocket::Headers& headers) {
  SoupMessageHeaders* all = soup_message_get_request_headers(message);
  for (const auto& [name, value] : headers) soup_message_headers_replace(all, name.c_str(), value.c_str());
}

}  // namespace

std::string HttpAnswer::Header(const std::string& name) const {
  const auto found = headers.find(name);
  return found != headers.end() ? found->second : "";
}

PageSocket::PageSocket(const std::string& url, const std::string& origin, const Headers& headers)
    : session_(soup_session_new()), message_(soup_message_new("GET", url.c_str())) {
  AddHeaders(message_, headers);
  soup_session_websocket_connect_async(session_, message_, origin.c_str(), nullptr, G_PRIORITY_DEFAULT, nullptr,
                                       OnConnected, this);
  EXPECT_TRUE(RunUntil([this] { return answered_; }));
}

PageSocket::~PageSocket() {
  GoAway();
  g_object_unref(message_);
  soup_session_abort(session_);
  g_object_unref(session_);
}

void PageSocket::GoAway() {
  if (connection_ == nullptr) return;
  g_signal_handlers_disconnect_by_data(connection_, this);
  g_io_stream_close(soup_websocket_connection_get_io_stream(connection_), nullptr, nullptr);
  g_object_unref(connection_);
  connection_ = nullptr;
}

void PageSocket::OnConnected(GObject* session, GAsyncResult* result, gpointer data) {
  auto* self = static_cast<PageSocket*>(data);
  self->connection_ = soup_session_websocket_connect_finish(SOUP_SESSION(session), result, nullptr);
  self->answered_ = true;
  if (self->connection_ == nullptr) {
    self->refused_ = soup_message_get_status(self->message_);
    return;
  }
  soup_websocket_connection_set_max_incoming_payload_size(self->connection_, 0);
  g_signal_connect(self->connection_, "message", G_CALLBACK(OnMessage), self);
}

void PageSocket::OnMessage(SoupWebsocketConnection* connection, gint, GBytes* bytes, gpointer data) {
  auto* self = static_cast<PageSocket*>(data);
  Json message = Json::parse(TextOf(bytes));
  const bool open = soup_websocket_connection_get_state(connection) == SOUP_WEBSOCKET_STATE_OPEN;
  if (self->acknowledge_ && open) {
    soup_websocket_connection_send_text(connection, Json{{"seen", message["n"]}}.dump().c_str());
  }
  self->messages_.push_back(std::move(message));
}

bool PageSocket::open() const {
  return connection_ != nullptr && soup_websocket_connection_get_state(connection_) == SOUP_WEBSOCKET_STATE_OPEN;
}

unsigned short PageSocket::close_code() const {
  return soup_websocket_connection_get_close_code(connection_);
}

bool PageSocket::WaitForClose() const {
  return RunUntil([this] { return !open(); });
}

std::string PageSocket::close_reason() const {
  const char* reason = soup_websocket_connection_get_close_data(connection_);
  return reason != nullptr ? reason : "";
}

void PageSocket::Send(const std::string& text) const {
  if (open()) soup_websocket_connection_send_text(connection_, text.c_str());
}

void PageSocket::SendBinary(const std::string& bytes) const {
  soup_websocket_connection_send_binary(connection_, bytes.data(), bytes.size());
}

PageSocket::Json PageSocket::Ask(Json request) {
  const unsigned id = ++last_;
  request["id"] = id;
  Send(request.dump());
  return WaitFor([id](const Json& message) { return message.value("id", Json()) == Json(id); });
}

PageSocket::Json PageSocket::WaitFor(const std::function<bool(const Json&)>& condition, Milliseconds limit) {
  Json taken;
  const auto take = [&] {
    const auto found = std::find_if(messages_.begin(), messages_.end(), condition);
    if (found == messages_.end()) return false;
    taken = *found;
    messages_.erase(found);
    return true;
  };
  RunUntil(take, limit);
  return taken;
}

PageSocket::Json PageSocket::WaitForEvent(const std::string& event, const std::function<bool(const Json&)>& condition) {
  return WaitFor([&](const Json& message) {
    return message.value("event", "") == event && (condition == nullptr || condition(message));
  });
}

HomeTest::~HomeTest() {
  if (home_ != nullptr && home_->Running()) {
    home_->Signal(SIGTERM);
    EXPECT_EQ(home_->Wait(), 0) << home_->Errors();
  }
  g_object_unref(session_);
}

std::unique_ptr<Process> HomeTest::RunHome(const std::vector<std::string>& options) const {
  std::vector<std::string> command = {kHome};
  command.insert(command.end(), options.begin(), options.end());
  return std::make_unique<Process>(
      command, files_.path(),
      Process::Environment{{"NUV_HOST_DIR", directory_.path()}, {"G_DEBUG", "fatal-criticals"}});
}

void HomeTest::StartHome(const std::vector<std::string>& options) {
  home_ = RunHome(options);
  ASSERT_TRUE(WaitUntil([&] { return home_->Output().find('\n') != std::string::npos || !home_->Running(); }));
  const std::string output = home_->Output();
  ASSERT_EQ(output.rfind("http://", 0), 0U) << output << home_->Errors();
  first_address_ = output.substr(0, output.find('\n'));
  cookie_.clear();
}

std::string HomeTest::Origin() const {
  return first_address_.substr(0, first_address_.find("/?"));
}

std::string HomeTest::Host() const {
  return Origin().substr(sizeof "http://" - 1);
}

std::string HomeTest::Cookie() {
  if (!cookie_.empty()) return cookie_;
  const std::string set = Get(first_address_.substr(Origin().size())).Header("set-cookie");
  return cookie_ = set.substr(0, set.find(';'));
}

HttpAnswer HomeTest::Get(const std::string& path, const Headers& headers, const char* method) const {
  SoupMessage* message = soup_message_new(method, (Origin() + path).c_str());
  AddHeaders(message, headers);
  GBytes* bytes = soup_session_send_and_read(session_, message, nullptr, nullptr);
  HttpAnswer answer;
  if (bytes != nullptr) {
    answer.status = soup_message_get_status(message);
    answer.body = TextOf(bytes);
    soup_message_headers_foreach(
        soup_message_get_response_headers(message),
        [](const char* name, const char* value, gpointer all) {
          const std::unique_ptr<char, decltype(&g_free)> lower(g_ascii_strdown(name, -1), g_free);
          (*static_cast<std::map<std::string, std::string>*>(all))[lower.get()] = value;
        },
        &answer.headers);
    g_bytes_unref(bytes);
  }
  g_object_unref(message);
  return answer;
}

HttpAnswer HomeTest::GetAsPage(const std::string& path, Headers headers) {
  headers["Cookie"] = Cookie();
  return Get(path, headers);
}

std::string HomeTest::SendRaw(const std::string& bytes) const {
  GSocketClient* client = g_socket_client_new();
  g_socket_client_set_timeout(client, 10);
  GSocketConnection* connection = g_socket_client_connect_to_host(client, Host().c_str(), 0, nullptr, nullptr);
  std::string answer;
  if (connection != nullptr) {
    GOutputStream* out = g_io_stream_get_output_stream(G_IO_STREAM(connection));
    g_output_stream_write_all(out, bytes.data(), bytes.size(), nullptr, nullptr, nullptr);
    GInputStream* in = g_io_stream_get_input_stream(G_IO_STREAM(connection));
    char buffer[4096];
    gssize size = 0;
    while ((size = g_input_stream_read(in, buffer, sizeof buffer, nullptr, nullptr)) > 0) {
      answer.append(buffer, static_cast<std::size_t>(size));
    }
    g_object_unref(connection);
  }
  g_object_unref(client);
  return answer;
}

std::unique_ptr<PageSocket> HomeTest::Open() {
  return OpenWith(Origin(), {{"Cookie", Cookie()}});
}

std::unique_ptr<PageSocket> HomeTest::OpenWith(const std::string& origin, const Headers& headers,
                                               const std::string& path) const {
  return std::make_unique<PageSocket>(Origin() + path, origin, headers);
}

std::string CatalogueOf(int count, const std::string& behind) {
  nlohmann::json apps = nlohmann::json::array();
  for (int i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    apps.push_back({{"id", "app." + number},
                    {"kelvo_id", "app." + number},
                    {"title", "Title " + number + behind},
                    {"run_title", "Title " + number},
                    {"app_index", i},
                    {"use_count", i},
                    {"app_type", i % 3 == 0 ? 4 : 2},
                    {"app_featured", 1}});
  }
  return nlohmann::json{{"apps", apps}}.dump();
}
