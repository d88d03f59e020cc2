// Launches of a process that forks. Not among the tests of the label "threads": ThreadSanitizer cannot start a thread
// in a child of a process that has some.
#include "launch_desk_test.h"

namespace {

using nuv::LaunchEnd;
using nuv::LaunchOutcome;

class ForkedLaunch : public LaunchDeskTest {};

TEST_F(ForkedLaunch, InAChildThatHasNotExecedFindsNoServiceAndTheParentGoesOn) {
  AnswerWith({Result(900)});
  EXPECT_TRUE(nuv::launch("app", {}, kLong).ok());
  EXPECT_EQ(0, InChild([] {
              const bool gone = nuv::launch("app", {}, kLong).end == LaunchEnd::service_gone;
              const bool told = nuv::launch_future("app", {}, kLong).get().end == LaunchEnd::service_gone;
              return (gone ? 0 : 1) + (told ? 0 : 2);
            }));
  EXPECT_TRUE(nuv::launch("app", {}, kLong).ok());
}

TEST_F(ForkedLaunch, OfAParentIsToldToTheParentOnly) {
  StartService();
  std::atomic<int> told{0};
  nuv::launch_async("app", {}, kLong, [&told](const LaunchOutcome&) { ++told; });
  ASSERT_TRUE(WaitUntil([&] { return service_->Launches().size() == 1; }));
  // The child has launches of its own, which find no service, and none of its parent's.
  EXPECT_EQ(0, InChild([&told] {
              const bool own = nuv::launch_future("app", {}, kLong).get().end == LaunchEnd::service_gone;
              return (own ? 0 : 1) + 2 * told;
            }));
  EXPECT_TRUE(service_->SendResult(service_->Launches()[0], Result(900)));
  EXPECT_TRUE(WaitUntil([&] { return told == 1; }));
}

// The helper that is in the callback goes on in the child, alone.
TEST_F(ForkedLaunch, InACallbackLeavesTheChildAbleToLaunch) {
  AnswerWith({Result(900)});
  auto child = std::make_shared<std::promise<int>>();
  nuv::launch_async("app", {}, kLong, [child](const LaunchOutcome&) {
    child->set_value(
        InChild([] { return nuv::launch_future("app", {}, kLong).get().end == LaunchEnd::service_gone ? 0 : 1; }));
  });
  EXPECT_EQ(child->get_future().get(), 0);
  EXPECT_TRUE(nuv::launch_future("app", {}, kLong).get().ok());
}

}  // namespace
