// What calls of the library leave behind in their process.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "process.h"

// A snapshot, taken when it is made. What the library keeps by design, its database connections and its link with the
// threads of that, counts as left behind where it was made since: let the calls under test make it before the snapshot.
class LeftBehind {
 public:
  LeftBehind();

  // What there is now and was not there before, one line each, by name:
  //   "descriptor 7 of socket:[4711]"   open now, and not only under another number
  //   "thread 4712 gdbus"               running now
  //   "statement select id from ..."    live on either connection, whether or not it was there before
  //   "lock g_Mute"                     not to be had at once by another thread: a named mutex or a side's turn
  // Threads and descriptors of a call that is over may take a moment to vanish, so what is there is looked at anew
  // until nothing is left or the limit is over.
  std::vector<std::string> Now(Milliseconds limit = Milliseconds(2000)) const;

 private:
  std::vector<std::string> LookOnce() const;

  std::map<std::string, std::string> descriptors_;
  std::map<std::string, std::string> threads_;
};
