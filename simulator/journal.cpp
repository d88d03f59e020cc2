#include "journal.h"

#include <cstdio>

#include "json.h"
#include "printable.h"

namespace simulator {
namespace {

// The probe that precedes almost every other call would double the signals and says little.
bool Worthwhile(const std::string& method) {
  return method != "heartbeat";
}

}  // namespace

void Journal::Note(const std::string& text) const {
  if (!verbose_) return;
  std::printf("%s\n", Printable(text).c_str());
  std::fflush(stdout);
}

void Journal::Request(const std::string& method, const std::string& app_id, const std::string& caller) const {
  if (verbose_) Note("request " + method + " app=\"" + app_id + "\" caller=\"" + caller + "\"");
  if (control_ == nullptr || !Worthwhile(method)) return;
  nuv_glue_nuv_simulator1_emit_request(control_, method.c_str(), app_id.c_str(), caller.c_str());
}

void Journal::Reply(const std::string& method, const std::string& app_id, const std::string& answer) const {
  if (verbose_) Note("reply   " + method + " app=\"" + app_id + "\" " + answer);
  if (control_ == nullptr || !Worthwhile(method)) return;
  nuv_glue_nuv_simulator1_emit_reply(control_, method.c_str(), app_id.c_str(), answer.c_str());
}

void Journal::Result(const std::string& app_id, int event, int result, int event_index,
                     const std::string& delivery) const {
  if (verbose_) {
    Note("result  app=\"" + app_id + "\" event=" + std::to_string(event) + " result=" + std::to_string(result) +
         " index=" + std::to_string(event_index) + " " + delivery);
  }
  if (control_ == nullptr) return;
  nuv_glue_nuv_simulator1_emit_result(control_, app_id.c_str(), event, result, event_index, delivery.c_str());
}

void Journal::AppStarted(const std::string& app_id, int pid, bool stand_in) const {
  Note("started " + app_id + " pid=" + std::to_string(pid) + (stand_in ? " stand-in" : ""));
  if (control_ == nullptr) return;
  nuv_glue_nuv_simulator1_emit_app_started(control_, app_id.c_str(), pid, stand_in ? TRUE : FALSE);
}

void Journal::AppStopped(const std::string& app_id, int pid, int status) const {
  Note("stopped " + app_id + " pid=" + std::to_string(pid) + " status=" + std::to_string(status));
  if (control_ != nullptr) nuv_glue_nuv_simulator1_emit_app_stopped(control_, app_id.c_str(), pid, status);
}

void Journal::LaunchDelivered(int pid, const ProgramInput& input) const {
  if (verbose_) Note("told    " + input.app_id + " pid=" + std::to_string(pid) + " uri=\"" + input.uri + "\"");
  if (control_ == nullptr) return;
  nuv_glue_nuv_simulator1_emit_launch_delivered(control_, input.app_id.c_str(), pid, input.payload.c_str(),
                                                input.caller_id.c_str(), input.uri.c_str(),
                                                ToJson(input.extra_data).c_str());
}

void Journal::ForegroundChanged(const std::string& app_id) const {
  Note("front   " + (app_id.empty() ? "none" : app_id));
  if (control_ != nullptr) nuv_glue_nuv_simulator1_emit_foreground_changed(control_, app_id.c_str());
}

void Journal::PinAsked(unsigned question, const std::string& app_id) const {
  if (control_ != nullptr) nuv_glue_nuv_simulator1_emit_pin_asked(control_, question, app_id.c_str());
}

void Journal::PinClosed(unsigned question) const {
  if (control_ != nullptr) nuv_glue_nuv_simulator1_emit_pin_closed(control_, question);
}

void Warn(const std::string& text) {
  std::fprintf(stderr, "nuv-simulator: %s\n", Printable(text).c_str());
}

}  // namespace simulator
