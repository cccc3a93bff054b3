#include "device/views/causes.h"

#include <gtest/gtest.h>

namespace views {
namespace {

TEST(Causes, AreTheStackIfNothingIsKnown) {
  Causes causes;
  EXPECT_EQ(causes.OfRequest(0), Cause::STACK);
  EXPECT_EQ(causes.OfInterface(10), Cause::INTERFACE);
  EXPECT_FALSE(causes.AreOpen());
}

TEST(Causes, AreWhatIsBeingSentUntilItHasSettled) {
  Causes causes;
  causes.Sending(Cause::DOCUMENT);
  EXPECT_TRUE(causes.AreOpen());
  EXPECT_EQ(causes.OfRequest(0), Cause::DOCUMENT);
  EXPECT_EQ(causes.OfInterface(10), Cause::DOCUMENT);
  causes.Settled();
  EXPECT_FALSE(causes.AreOpen());
  EXPECT_EQ(causes.OfRequest(0), Cause::STACK);
}

TEST(Causes, TellAVlanWhoseInterfacesHaveChangedByThemselves) {
  Causes causes;
  causes.Sending(Cause::DOCUMENT);
  causes.InterfaceChanged(10, false);
  EXPECT_EQ(causes.OfInterface(10), Cause::INTERFACE);
  EXPECT_EQ(causes.OfInterface(20), Cause::DOCUMENT);
  EXPECT_EQ(causes.OfRequest(0), Cause::DOCUMENT);
  causes.InterfaceChanged(10, true);
  EXPECT_EQ(causes.OfInterface(10), Cause::DOCUMENT);
  causes.InterfaceChanged(10, false);
  causes.Settled();
  causes.Sending(Cause::DOCUMENT);
  EXPECT_EQ(causes.OfInterface(10), Cause::DOCUMENT);
}

TEST(Causes, EndWithARestart) {
  Causes causes;
  causes.InterfaceChanged(10, false);
  EXPECT_TRUE(causes.AreOpen());
  causes.Sending(Cause::DOCUMENT);
  causes.Retried(0);
  causes.Restarted();
  EXPECT_EQ(causes.OfRequest(1), Cause::STACK);
  EXPECT_EQ(causes.OfInterface(10), Cause::STACK);
  causes.Settled();
  EXPECT_EQ(causes.OfRequest(1), Cause::STACK);
}

TEST(Causes, AreTheConsoleAsLongAsAnswersFollowARetry) {
  Causes causes;
  causes.Retried(5000);
  EXPECT_EQ(causes.OfRequest(5900), Cause::CONSOLE);
  EXPECT_EQ(causes.OfRequest(6800), Cause::CONSOLE);
  EXPECT_EQ(causes.OfRequest(7800), Cause::STACK);
  EXPECT_EQ(causes.OfRequest(7801), Cause::STACK);
  causes.Retried(8000);
  causes.Sending(Cause::DOCUMENT);
  EXPECT_EQ(causes.OfRequest(8001), Cause::DOCUMENT);
}

}  // namespace
}  // namespace views
