// The process that keeps a session: it starts bus and service, and when nuv-session ends, however that ends, it ends
// everything that belongs to the session and takes the session's directory away. It is nobody's child and in no
// terminal's session, so that what kills nuv-session, with its children or its terminal, does not reach it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "file.h"
#include "layout.h"
#include "options.h"
#include "sessions.h"
#include "signals.h"

namespace session {

// What the keeper says. It is a packet each: the first character and a text.
enum class Word : char {
  kReady = 'r',   // where the home screen is
  kFailed = 'f',  // why there is no session
  kLost = 'l',    // what of the session ended before its time
  kDone = 'd',    // all is ended and taken away
};

struct Message {
  Word word{};
  std::string text;
};

// The session's end of the wire. The keeper ends the session when this is closed.
class KeeperLink {
 public:
  KeeperLink(const Layout& layout, const Options& options, Claim& claim, const Signals& signals);

  int get() const { return link_.get(); }
  // Nothing when the keeper is gone.
  std::optional<Message> Receive();
  void TellCommand(pid_t command) const;
  // Asks for the end and waits for it. False when the keeper was killed before it was done.
  bool End();
  // What of the session has ended before its time, as far as the keeper has said so.
  const std::vector<std::string>& lost() const { return lost_; }

 private:
  File link_;
  bool done_ = false;
  std::vector<std::string> lost_;
};

// In place of a keeper that was killed: ends what belongs to the session and takes its directory away.
void EndWithoutKeeper(const Layout& layout);

}  // namespace session
