// Owner of a file descriptor.
#pragma once

#include <unistd.h>

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}  // negative: none
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int number() const { return number_; }

 private:
  const int number_;
};
