// A Nuv service that ends itself or its bus, with SIGKILL, where it is told to: mortal_service ADDRESS PLAN. It answers
// every method, reports a result for each launch, and comes back to a bus that comes back. Says "ready" whenever it
// owns its names. The plan is a file of one line, and gone when it was carried out:
//   METHOD STAGE BUS SELF    at this stage of METHOD's next call, kill process BUS (0: none), and itself if SELF is 1
// Stages: "received", "answered", "result" (has left), and "never": the result is held back, and nobody is killed.
#include <signal.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <deque>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "recording_service.h"

namespace {

struct Plan {
  std::string method;
  std::string stage;
  pid_t bus = 0;
  int self = 0;
};

std::string plan_path;

Plan PlanFor(const std::string& method) {
  Plan plan;
  std::ifstream file(plan_path);
  file >> plan.method >> plan.stage >> plan.bus >> plan.self;
  return plan.method == method ? plan : Plan();
}

void CarryOut(const Plan& plan) {
  unlink(plan_path.c_str());
  if (plan.bus > 0) kill(plan.bus, SIGKILL);
  if (plan.self == 1) kill(getpid(), SIGKILL);
}

// Calls with the plan that was there when they arrived, on their way from the bus thread to the main thread.
class Calls {
 public:
  explicit Calls(RecordingService& service) : service_(service) {}

  void Arrived(const RecordedCall& call) {
    plan_ = PlanFor(call.method);
    if (plan_.stage == "received") CarryOut(plan_);
    // The answer is the last one, even if the next call is faster than the end.
    if (plan_.stage == "answered") service_.FallSilent();
  }
  void Answered(const RecordedCall& call) {
    const std::lock_guard<std::mutex> lock(mutex_);
    answered_.emplace_back(call, plan_);
    changed_.notify_one();
  }
  // The next call, if there is one soon.
  bool Take(std::pair<RecordedCall, Plan>& call) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (!changed_.wait_for(lock, std::chrono::milliseconds(5), [this] { return !answered_.empty(); })) return false;
    call = std::move(answered_.front());
    answered_.pop_front();
    return true;
  }

 private:
  RecordingService& service_;
  Plan plan_;  // of the call that is being handled
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::pair<RecordedCall, Plan>> answered_;
};

void GoOn(const RecordingService& service, const RecordedCall& call, const Plan& plan) {
  if (plan.stage == "answered") {
    service.Flush();
    CarryOut(plan);
    return;
  }
  if (call.method != "launch_app" || plan.stage == "never") return;
  const LaunchRequest launch = UnpackLaunch(call);
  SentResult result;
  result.cb_type = launch.flags.at(6);
  if (plan.stage == "result") {
    service.SendToClient(launch, result);
    service.Flush();
    CarryOut(plan);
    return;
  }
  service.SendResult(launch, result);
}

void Serve(const char* address) {
  RecordingService service(address);
  for (const char* method :
       {"nuv_update_app_count", "nuv_update_app_version", "nuv_update_app_by_key", "get_android_app_status"}) {
    service.AnswerTo(method, {RecordingService::Answer::kReply, "(0,)"});
  }
  service.AnswerTo("get_extra_app", {RecordingService::Answer::kReply, "('extra',)"});
  Calls calls(service);
  service.OnCall([&](const RecordedCall& call) { calls.Arrived(call); });
  service.OnAnswered([&](const RecordedCall& call) { calls.Answered(call); });
  puts("ready");
  fflush(stdout);
  std::pair<RecordedCall, Plan> call;
  while (!service.Closed()) {
    if (calls.Take(call)) GoOn(service, call.first, call.second);
  }
}

}  // namespace

int main(int, char** arguments) {
  plan_path = arguments[2];
  for (;;) {
    try {
      Serve(arguments[1]);
    } catch (const std::runtime_error&) {  // no bus yet
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }
}
