// What the process is to the bus, and has for it.
//
// Which process connected: GLib's bus thread does not exist in a child of fork(), so such a child can use
// neither its parent's connection nor a new one.
#pragma once

#include <signal.h>

// Notes that this process is about to connect; true when it is the first time. Undone when it did not come to that.
bool NoteBusProcess();
void ForgetBusProcess();

// Whether the caller is a forked child of the process that connected; says so in the log.
bool RefuseInForkedChild();
bool IsForkedChild();

// Blocks every signal for the calling thread, so that a thread created meanwhile starts with all of them blocked.
class AllSignalsBlocked {
 public:
  AllSignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &m_before);
  }
  ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
  AllSignalsBlocked(const AllSignalsBlocked&) = delete;
  AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

 private:
  sigset_t m_before;
};

// Whether a thread can be started; says so in the log where none can. GLib ends the process where it cannot start its
// own.
bool AThreadCanBeStarted();

// Whether so many descriptors are free; says so in the log where they are not. GLib ends the process where it finds
// none for the main context that each of its synchronous calls makes.
bool DescriptorsAreFree(int count);
