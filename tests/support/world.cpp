#include "world.h"

#include "fake_platform.h"
#include "faults.h"

namespace {

World* current = nullptr;  // the callbacks' user data is in another place where a call fails

void OnNotify(const char*, nuv_notify_event_e, int, int, void*) {
  ++current->failures_told;
}

void OnResult(void*, int, const char*, int) {
  ++current->failures_told;
}

}  // namespace

World::World() {
  current = this;
  // The version is a number in the database, so SQLite needs memory to convert it to a text.
  database_.Run("pragma writable_schema = on");
  database_.Run("update sqlite_master set sql = replace(sql, ',version text', ',version integer')");
  database_.Close();
  AddApplications(database_);
  database_.Run("update widgetinfo set version = 4711");
  fake_platform::SetDatabaseDirectory(database_.directory());
  StartService();
  // The text of a change has the time in it: the same call asks SQLite the same whenever it is made.
  faults::fixed_time = 1741338303;
  Renew();
}

void World::StartService() {
  service_ = std::make_unique<RecordingService>(bus_.address());
  AnswerCalls(*service_);
}

std::vector<std::string> World::Asked() const {
  std::vector<std::string> asked;
  for (const RecordedCall& call : service_->Calls()) {
    if (call.method == "heartbeat") continue;
    std::string text = call.method;
    if (call.method == "launch_app") {
      const LaunchRequest launch = UnpackLaunch(call);
      for (const std::string& argument : launch.texts) text += " " + argument;
      for (const int32_t flag : launch.flags) text += " " + std::to_string(flag);
      for (const std::string& data : launch.extra_datas) text += " " + data;
    } else {
      text += " " + call.Text();
    }
    asked.push_back(text);
  }
  return asked;
}

void World::LoseBus() {
  service_.reset();
  bus_.Restart();
  StartService();
}

void World::Renew() {
  failures_told = 0;
  arguments.emplace();
  arguments->on_notify = OnNotify;
  arguments->on_result = OnResult;
  arguments->user_data = this;
  AnswerCalls(*service_);
  service_->Forget();
}
