// Whether this process may use the bus, and has the thread and the descriptors that GLib needs for it.
//
// GLib's bus thread does not exist in a child of fork(). Where the parent had connected, the child can use neither the
// parent's connection nor a new one, so the process that connects is noted.
#pragma once

#include <signal.h>

// Notes that this process is about to connect; true the first time. ForgetBusProcess() takes the note back where
// connecting failed.
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

// Whether `count` descriptors are free; says so in the log where they are not. Each synchronous call of GLib makes a
// main context, and GLib ends the process where it finds no descriptor for it.
bool DescriptorsAreFree(int count);
