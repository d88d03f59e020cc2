// Where a test's own code runs within a call of the library: faults that are meant for the library pass it by.
#pragma once

class Undisturbed {
 public:
  Undisturbed() { ++depth; }
  ~Undisturbed() { --depth; }
  Undisturbed(const Undisturbed&) = delete;
  Undisturbed& operator=(const Undisturbed&) = delete;

  // Whether the calling thread is in such code.
  static bool Now() { return depth != 0; }

 private:
  static inline thread_local int depth = 0;
};
