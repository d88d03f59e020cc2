// What only a simulator can be asked for: that this program asks for the PIN, and that the service misbehaves.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "server/requests.h"
#include "tv/tv.h"

namespace home {

class Simulator {
 public:
  struct Listener {
    std::function<void(const Json&)> on_pins;  // the questions that are open
    std::function<void(const std::string& app, bool asked)> on_pin_asked;
  };

  // There is one for the life of the process.
  Simulator(const Tv& tv, Listener listener);
  ~Simulator() = delete;

  // It is there or gone, and pages that could ask are.
  void SetThere(bool there);
  void SetPages(bool pages);
  void OnSignal(const std::string& signal, GVariant* arguments);

  Json Pins() const;
  void EnterPin(const RequestFields& fields, const Requests::Answer& answer) const;
  void CancelPin(const RequestFields& fields, const Requests::Answer& answer) const;
  // A fault of the list below for the next calls.
  void SetFault(const RequestFields& fields, const Requests::Answer& answer) const;

 private:
  void AskOrNot();
  void Close(unsigned question);

  const Tv& tv_;
  const Listener listener_;
  bool there_ = false;
  bool pages_ = false;
  bool asks_ = false;
  std::map<unsigned, std::string> pins_;  // question, application
};

}  // namespace home
