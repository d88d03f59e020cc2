// What nuvctl makes of the things that can happen to a launch, in every order.
#include <gtest/gtest.h>

#include "launch/launch_wait.h"

namespace {

LaunchReport Event(int event, int status = 0) {
  return {CallbackShape::kWebApp, "org.example.app", event, status};
}

LaunchReport PlainResult(int code) {
  return {CallbackShape::kPlain, "org.example.app", 0, code};
}

constexpr char kService[] = ":1.5";
constexpr char kNextService[] = ":1.9";
constexpr char kNobody[] = "";

Outcome OutcomeOf(const LaunchWait& wait) {
  EXPECT_TRUE(wait.conclusion().has_value());
  return wait.conclusion().value_or(Conclusion{Outcome::kUsage, {}, ""}).outcome;
}

class AcceptedLaunch : public testing::Test {
 protected:
  AcceptedLaunch() {
    wait.OnServiceOwner(kService);
    wait.OnClientName(true);
    wait.OnAccepted(kService);
  }

  LaunchWait wait{true};
};

}  // namespace

TEST(NotWaiting, AcceptanceIsTheEnd) {
  LaunchWait wait(false);
  wait.OnAccepted(kService);
  EXPECT_EQ(OutcomeOf(wait), Outcome::kAccepted);
}

TEST(NotWaiting, AResultThatComesBeforeTheAcceptanceIsNotTheEnd) {
  LaunchWait wait(false);
  wait.OnReport(Event(903, 401));
  EXPECT_FALSE(wait.conclusion());
  wait.OnAccepted(kService);
  EXPECT_EQ(OutcomeOf(wait), Outcome::kAccepted);
}

TEST(NotWaiting, AFailedRequestEndsInItsCause) {
  LaunchWait wait(false);
  wait.OnNotAccepted({Outcome::kServiceGone, std::nullopt, "why"});
  EXPECT_EQ(OutcomeOf(wait), Outcome::kServiceGone);
}

TEST_F(AcceptedLaunch, AcceptanceIsNotTheEnd) {
  EXPECT_FALSE(wait.conclusion());
}

TEST_F(AcceptedLaunch, ASuccessEventEndsInLaunchedWithTheEvent) {
  wait.OnReport(Event(901));
  EXPECT_EQ(OutcomeOf(wait), Outcome::kLaunched);
  EXPECT_EQ(wait.conclusion()->code, 901);
}

TEST_F(AcceptedLaunch, AFailureEventEndsInFailedWithTheStatus) {
  wait.OnReport(Event(905, 401));
  EXPECT_EQ(OutcomeOf(wait), Outcome::kFailed);
  EXPECT_EQ(wait.conclusion()->code, 401);
}

TEST_F(AcceptedLaunch, TheFirstDecisionStands) {
  wait.OnReport(Event(900));
  wait.OnReport(Event(903, 404));
  EXPECT_EQ(OutcomeOf(wait), Outcome::kLaunched);
  EXPECT_EQ(wait.reports().size(), 1u);
}

TEST_F(AcceptedLaunch, AnUnknownEventIsKeptAndTheWaitGoesOn) {
  wait.OnReport(Event(950, 7));
  EXPECT_FALSE(wait.conclusion());
  wait.OnReport(Event(900));
  EXPECT_EQ(OutcomeOf(wait), Outcome::kLaunched);
  ASSERT_EQ(wait.reports().size(), 2u);
  EXPECT_EQ(wait.reports()[0].event, 950);
}

TEST_F(AcceptedLaunch, AFailureThatIsNotDecidedYetDoesNotEndTheWait) {
  wait.OnReport(Event(903, 402));
  EXPECT_FALSE(wait.conclusion());
}

TEST_F(AcceptedLaunch, AVanishedServiceEndsInServiceGoneAfterTheGrace) {
  wait.OnServiceOwner(kNobody);
  EXPECT_FALSE(wait.conclusion());
  ASSERT_TRUE(wait.InGrace());
  wait.OnGraceOver();
  EXPECT_EQ(OutcomeOf(wait), Outcome::kServiceGone);
}

TEST_F(AcceptedLaunch, AResultInTheGraceIsNotLost) {
  wait.OnServiceOwner(kNobody);
  wait.OnReport(Event(900));
  EXPECT_EQ(OutcomeOf(wait), Outcome::kLaunched);
}

TEST_F(AcceptedLaunch, AServiceThatComesBackDoesNotKnowTheLaunchAnyMore) {
  wait.OnServiceOwner(kNobody);
  wait.OnServiceOwner(kNextService);
  ASSERT_TRUE(wait.InGrace());
  wait.OnGraceOver();
  EXPECT_EQ(OutcomeOf(wait), Outcome::kServiceGone);
}

TEST_F(AcceptedLaunch, AClosedBusEndsInBusGoneAfterTheGrace) {
  wait.OnBusClosed();
  ASSERT_TRUE(wait.InGrace());
  EXPECT_FALSE(wait.conclusion());
  wait.OnGraceOver();
  EXPECT_EQ(OutcomeOf(wait), Outcome::kBusGone);
}

TEST_F(AcceptedLaunch, ABusThatTakesTheServiceWithItIsABusGone) {
  wait.OnServiceOwner(kNobody);
  wait.OnBusClosed();
  wait.OnServiceOwner(kNobody);
  wait.OnGraceOver();
  EXPECT_EQ(OutcomeOf(wait), Outcome::kBusGone);
}

TEST_F(AcceptedLaunch, TheDeadlineEndsInTimedOut) {
  wait.OnDeadline();
  EXPECT_EQ(OutcomeOf(wait), Outcome::kTimedOut);
}

TEST_F(AcceptedLaunch, TheDeadlineInTheGraceEndsInWhatTheGraceIsFor) {
  wait.OnServiceOwner(kNobody);
  wait.OnDeadline();
  EXPECT_EQ(OutcomeOf(wait), Outcome::kServiceGone);
}

TEST_F(AcceptedLaunch, AnInterruptEndsAtOnce) {
  wait.OnInterrupt();
  EXPECT_EQ(OutcomeOf(wait), Outcome::kInterrupted);
}

TEST(WaitingForResult, AResultBeforeTheAcceptanceCounts) {
  LaunchWait wait(true);
  wait.OnReport(PlainResult(604));
  EXPECT_EQ(OutcomeOf(wait), Outcome::kFailed);
  EXPECT_EQ(wait.conclusion()->code, 604);
}

TEST(WaitingForResult, AServiceSeenAbsentBeforeTheAcceptanceGetsTimeToShowUp) {
  LaunchWait wait(true);
  wait.OnServiceOwner(kNobody);
  EXPECT_FALSE(wait.InGrace());
  wait.OnAccepted(kService);
  ASSERT_TRUE(wait.InGrace());
  wait.OnServiceOwner(kService);
  EXPECT_FALSE(wait.InGrace());
  EXPECT_FALSE(wait.conclusion());
}

TEST(WaitingForResult, AServiceThatEndsRightAfterItsAnswerIsGone) {
  LaunchWait wait(true);
  wait.OnServiceOwner(kService);
  wait.OnServiceOwner(kNobody);
  wait.OnAccepted(kService);
  ASSERT_TRUE(wait.InGrace());
  wait.OnGraceOver();
  EXPECT_EQ(OutcomeOf(wait), Outcome::kServiceGone);
}

TEST(WaitingForResult, AServiceThatIsReplacedBeforeItsAcceptanceIsKnownIsGone) {
  LaunchWait wait(true);
  wait.OnServiceOwner(kService);
  wait.OnServiceOwner(kNobody);
  wait.OnServiceOwner(kNextService);
  wait.OnAccepted(kService);
  ASSERT_TRUE(wait.InGrace());
  EXPECT_FALSE(wait.conclusion());
  wait.OnGraceOver();
  EXPECT_EQ(OutcomeOf(wait), Outcome::kServiceGone);
}

TEST(WaitingForResult, AServiceThatIsReplacedBetweenTheNewsOfItsEndAndThoseOfTheNextIsGone) {
  LaunchWait wait(true);
  wait.OnServiceOwner(kService);
  wait.OnServiceOwner(kNobody);
  wait.OnAccepted(kService);
  wait.OnServiceOwner(kNextService);
  ASSERT_TRUE(wait.InGrace());
  wait.OnGraceOver();
  EXPECT_EQ(OutcomeOf(wait), Outcome::kServiceGone);
}

TEST(WaitingForResult, AnAcceptanceBeforeTheNewsThatItsServiceTookOverWaitsForThem) {
  LaunchWait wait(true);
  wait.OnServiceOwner(kService);
  wait.OnAccepted(kNextService);
  ASSERT_TRUE(wait.InGrace());
  wait.OnServiceOwner(kNobody);
  wait.OnServiceOwner(kNextService);
  EXPECT_FALSE(wait.InGrace());
  EXPECT_FALSE(wait.conclusion());
}

TEST(WaitingForResult, AnAcceptanceBeforeAnyNewsOfAServiceIsNoEnd) {
  LaunchWait wait(true);
  wait.OnAccepted(kService);
  EXPECT_FALSE(wait.InGrace());
  wait.OnServiceOwner(kService);
  EXPECT_FALSE(wait.InGrace());
}

TEST(WaitingForResult, AnAcceptanceWithoutASenderIsTakenForThatOfTheServiceThatShowsUp) {
  LaunchWait wait(true);
  wait.OnServiceOwner(kNobody);
  wait.OnAccepted(kNobody);
  ASSERT_TRUE(wait.InGrace());
  wait.OnServiceOwner(kService);
  EXPECT_FALSE(wait.InGrace());
  wait.OnServiceOwner(kNextService);
  ASSERT_TRUE(wait.InGrace());
  wait.OnGraceOver();
  EXPECT_EQ(OutcomeOf(wait), Outcome::kServiceGone);
}

TEST(WaitingForResult, ABusThatClosesDuringTheRequestExplainsItsFailure) {
  LaunchWait wait(true);
  wait.OnServiceOwner(kService);
  wait.OnBusClosed();
  wait.OnNotAccepted({Outcome::kServiceGone, std::nullopt, "a new bus without the service"});
  EXPECT_EQ(OutcomeOf(wait), Outcome::kBusGone);
}

TEST(WaitingForResult, TheDeadlineHoldsWhileTheRequestIsUnanswered) {
  LaunchWait wait(true);
  wait.OnServiceOwner(kService);
  wait.OnDeadline();
  EXPECT_EQ(OutcomeOf(wait), Outcome::kTimedOut);
}

TEST(ClientNameRefused, IsSaidOnceTheNameHadItsTime) {
  LaunchWait wait(true);
  wait.OnClientName(false);
  EXPECT_FALSE(wait.AwaitsClientName());
  wait.OnAccepted(kService);
  EXPECT_TRUE(wait.AwaitsClientName());
  EXPECT_EQ(wait.Hopeless(), "");
  wait.OnClientNameTimeOver();
  EXPECT_FALSE(wait.AwaitsClientName());
  EXPECT_NE(wait.Hopeless().find("no result can arrive: "), std::string::npos);
  EXPECT_FALSE(wait.conclusion());
}

TEST(ClientNameRefused, IsTheReasonOfTheTimeoutAlsoWhenTheDeadlineComesFirst) {
  LaunchWait wait(true);
  wait.OnClientName(false);
  wait.OnAccepted(kService);
  wait.OnDeadline();
  EXPECT_EQ(OutcomeOf(wait), Outcome::kTimedOut);
  EXPECT_NE(wait.conclusion()->reason.find("no result can arrive: "), std::string::npos);
}

TEST(ClientNameRefused, IsNotSaidOfANameThatAppearsAMomentLater) {
  LaunchWait wait(true);
  wait.OnClientName(false);
  wait.OnAccepted(kService);
  wait.OnClientName(true);
  wait.OnClientNameTimeOver();
  EXPECT_EQ(wait.Hopeless(), "");
}

TEST(ClientNameRefused, IsNotSaidWhereNobodyCouldLook) {
  LaunchWait wait(true);
  wait.OnAccepted(kService);
  wait.OnClientNameTimeOver();
  EXPECT_EQ(wait.Hopeless(), "");
}
