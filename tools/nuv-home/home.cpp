#include "home.h"

#include <nuv/nuv_launcher_api.h>

#include <utility>

#include "obstacles/explain.h"
#include "obstacles/obstacles.h"
#include "tv/mending.h"

namespace home {
namespace {

constexpr std::size_t kLongestId = 512;
constexpr std::size_t kLongestTitle = 1024;
constexpr std::size_t kLongestPayload = 8192;
constexpr std::size_t kLongestSearch = 256;
constexpr int kMostTiles = 200;
constexpr int kMostIndex = 10000000;
constexpr unsigned kCatalogueEveryMs = 1000;
constexpr char kTooMuch[] = "too much is asked for at once";

const char* LaunchWords(const std::optional<bool>& goes_ahead) {
  if (!goes_ahead) return "Only the service can tell what becomes of a launch.";
  return *goes_ahead ? "A launch is accepted." : "A launch does not succeed.";
}

Json ExplanationOf(const std::string& app) {
  const Explanation explanation = ::Explain(app);
  Json reasons = Json::array();
  for (const Reason& reason : explanation.reasons) {
    reasons.push_back({{"words", reason.obstacle.why.message}, {"mending", MendingOfObstacle(reason.obstacle.key)}});
  }
  return {{"ok", true}, {"launch", LaunchWords(explanation.launch_goes_ahead)}, {"reasons", reasons}};
}

Json TerminationOf(const std::string& app) {
  if (nuv_terminate_app(app.c_str()) == 0) return {{"ok", true}};
  const Diagnosis why = DiagnoseAppCall({app, {}});
  return Refused(why.message);
}

// What blocks, on its lane; its answer, on the main loop.
template <typename Work>
void DoIn(Lane& lane, const Requests::Answer& answer, Work work) {
  const bool taken = lane.Do([answer, work = std::move(work)] {
    Json message = work();
    InMainLoop([answer, message = std::move(message)] { answer(message); });
  });
  if (!taken) answer(Refused(kTooMuch));
}

}  // namespace

Home::Home(const Options& options)
    : browsers_([this](Browsers::Id browser, const Json& request) {
        requests_.Take(request, [this, browser](Json message) { browsers_.Tell(browser, std::move(message)); });
      }),
      server_(ParseEndpoint(options.listen), options.allow_remote, browsers_,
              [this](const std::string& app, const WebServer::IconFound& found) { catalogue_.FindIcon(app, found); }),
      running_(*new Running([this](const Json& apps) {
        TellAll("running", {{"apps", apps}});
      })),
      launches_(*new Launches(options.wait_ms, [this](const Json& launch) { TellAll("launch", launch); })),
      messages_(*new Messages([this] { TellAll("lines", Json::object()); })),
      tv_(*new Tv(TvListener())),
      simulator_(*new Simulator(tv_, SimulatorListener())) {
  AddRequests();
  browsers_.OnAny([this](bool any) { OnBrowsers(any); });
}

Tv::Listener Home::TvListener() {
  Tv::Listener listener;
  listener.on_state = [this](const Json& state) { TellAll("tv", state); };
  listener.on_service_gone = [this] { launches_.OnServiceGone(); };
  listener.on_bus_gone = [this] { launches_.OnBusGone(); };
  listener.on_simulator = [this](bool there) { simulator_.SetThere(there); };
  listener.on_signal = [this](const std::string& signal, GVariant* arguments) {
    simulator_.OnSignal(signal, arguments);
    messages_.OnSignal(signal, arguments);
    if (signal == "AppStarted" || signal == "AppStopped" || signal == "ForegroundChanged") running_.Look();
  };
  return listener;
}

Simulator::Listener Home::SimulatorListener() {
  Simulator::Listener listener;
  listener.on_pins = [this](const Json& pins) { TellAll("pins", {{"pins", pins}}); };
  listener.on_pin_asked = [this](const std::string& app, bool asked) { launches_.OnPinAsked(app, asked); };
  return listener;
}

void Home::TellAll(const char* event, Json message) {
  if (!browsers_.Any()) return;
  message["event"] = event;
  browsers_.TellAll(message);
}

void Home::AddRequests() {
  requests_.Add("hello", [this](const RequestFields&, const Requests::Answer& answer) { Greet(answer); });
  const auto add = [this](const char* name, void (Home::*handler)(const RequestFields&, const Requests::Answer&)) {
    requests_.Add(name, [this, handler](const RequestFields& fields, const Requests::Answer& answer) {
      (this->*handler)(fields, answer);
    });
  };
  add("tiles", &Home::AskForTiles);
  add("launch", &Home::Launch);
  add("terminate", &Home::Terminate);
  add("explain", &Home::Explain);
  AddSimulatorRequests();
}

void Home::AddSimulatorRequests() {
  requests_.Add("lines",
                [this](const RequestFields& fields, const Requests::Answer& answer) { messages_.Ask(fields, answer); });
  requests_.Add("timeline",
                [this](const RequestFields&, const Requests::Answer& answer) { messages_.AskTimeline(answer); });
  requests_.Add("enter-pin", [this](const RequestFields& fields, const Requests::Answer& answer) {
    simulator_.EnterPin(fields, answer);
  });
  requests_.Add("cancel-pin", [this](const RequestFields& fields, const Requests::Answer& answer) {
    simulator_.CancelPin(fields, answer);
  });
  requests_.Add("fault", [this](const RequestFields& fields, const Requests::Answer& answer) {
    simulator_.SetFault(fields, answer);
  });
}

void Home::Greet(const Requests::Answer& answer) const {
  answer({{"ok", true},
          {"tv", tv_.State()},
          {"running", running_.Now()},
          {"launches", launches_.All()},
          {"pins", simulator_.Pins()}});
}

void Home::AskForTiles(const RequestFields& fields, const Requests::Answer& answer) {
  TileQuestion question;
  question.view = fields.Text("view", 32);
  if (!Catalogue::IsView(question.view)) throw BadRequest("there is no such view");
  question.type = static_cast<int>(fields.NumberOr("type", 0, 127, 0));
  question.category = static_cast<int>(fields.NumberOr("category", 0, 8, 0));
  question.search = fields.TextOr("search", kLongestSearch, "");
  question.hidden = fields.Flag("hidden");
  question.index = static_cast<int>(fields.Number("index", 0, kMostIndex));
  question.count = static_cast<int>(fields.Number("count", 1, kMostTiles));
  catalogue_.Ask(question, answer);
}

void Home::Launch(const RequestFields& fields, const Requests::Answer& answer) {
  LaunchWish wish;
  wish.app = fields.Text("app", kLongestId);
  wish.title = fields.TextOr("title", kLongestTitle, "");
  wish.payload = fields.TextOr("payload", kLongestPayload, "");
  wish.force = fields.Flag("force");
  wish.background = fields.Flag("background");
  wish.deep_link = fields.Flag("deepLink");
  const Launches::Begun begun = launches_.Begin(wish);
  answer(begun.number != 0 ? Json{{"ok", true}, {"launch", begun.number}} : Refused(begun.why_not));
}

void Home::Terminate(const RequestFields& fields, const Requests::Answer& answer) {
  DoIn(terminations_, answer, [app = fields.Text("app", kLongestId)] { return TerminationOf(app); });
}

void Home::Explain(const RequestFields& fields, const Requests::Answer& answer) {
  DoIn(explanations_, answer, [app = fields.Text("app", kLongestId)] { return ExplanationOf(app); });
}

void Home::OnBrowsers(bool any) {
  running_.Follow(any);
  simulator_.SetPages(any);
  if (any) messages_.Listen();
  any ? LookAtCatalogue() : catalogue_timer_.Stop();
}

void Home::LookAtCatalogue() {
  stamps_.Do([this] {
    InMainLoop([this, stamp = Catalogue::Stamp()] {
      if (stamp != std::exchange(catalogue_stamp_, stamp)) TellAll("catalogue", Json::object());
    });
  });
  catalogue_timer_.Start(kCatalogueEveryMs, [this] { LookAtCatalogue(); });
}

}  // namespace home
