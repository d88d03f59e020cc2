// Tells a watcher what happens: a line on standard output, and a signal of the control interface.
#pragma once

#include <string>

#include "nuv_service_glue.h"
#include "program.h"

namespace simulator {

class Journal {
 public:
  explicit Journal(bool verbose) : verbose_(verbose) {}

  // Where signals go; null while there is no bus.
  void Attach(NuvGlueNuvSimulator1* control) { control_ = control; }

  void Request(const std::string& method, const std::string& app_id, const std::string& caller) const;
  void Reply(const std::string& method, const std::string& app_id, const std::string& answer) const;
  void Result(const std::string& app_id, int event, int result, int event_index, const std::string& delivery) const;
  void AppStarted(const std::string& app_id, int pid, bool stand_in) const;
  void AppStopped(const std::string& app_id, int pid, int status) const;
  void LaunchDelivered(int pid, const ProgramInput& input) const;
  void ForegroundChanged(const std::string& app_id) const;
  void PinAsked(unsigned question, const std::string& app_id) const;  // these two are signals only
  void PinClosed(unsigned question) const;
  void Note(const std::string& text) const;  // a line only

 private:
  bool verbose_;
  NuvGlueNuvSimulator1* control_ = nullptr;
};

// A line on standard error, whatever the verbosity. The text may be anybody's, and so may those of the lines above.
void Warn(const std::string& text);

}  // namespace simulator
