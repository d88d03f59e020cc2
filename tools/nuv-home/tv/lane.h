// A thread that does one piece of work after the other. The library's calls block, for as long as the bus, the service
// or the database make them: none is made on the main loop's thread, and none waits behind one of another kind.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>

namespace home {

class Lane {
 public:
  // So much work waits at most.
  explicit Lane(std::size_t most_waiting);
  Lane(const Lane&) = delete;
  Lane& operator=(const Lane&) = delete;

  // False where too much is waiting.
  bool Do(std::function<void()> work);

 private:
  // The thread's as well, which nobody waits for: it may be in the library when the program ends.
  struct Queue;
  const std::shared_ptr<Queue> queue_;
};

}  // namespace home
