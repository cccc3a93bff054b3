#include "device/views/causes.h"

#include <gtest/gtest.h>

namespace views {
namespace {

TEST(Causes, AreTheStackIfNothingIsKnown) {
  Causes causes;
  EXPECT_EQ(causes.OfRequest(false), Cause::STACK);
  EXPECT_EQ(causes.OfInterface(10), Cause::INTERFACE);
  EXPECT_FALSE(causes.AreOpen());
}

TEST(Causes, AreWhatIsBeingSentUntilItHasSettled) {
  Causes causes;
  causes.Sending(Cause::DOCUMENT);
  EXPECT_TRUE(causes.AreOpen());
  EXPECT_EQ(causes.OfRequest(false), Cause::DOCUMENT);
  EXPECT_EQ(causes.OfInterface(10), Cause::DOCUMENT);
  causes.Settled();
  EXPECT_FALSE(causes.AreOpen());
  EXPECT_EQ(causes.OfRequest(false), Cause::STACK);
}

TEST(Causes, TellAVlanWhoseInterfacesHaveChangedByThemselves) {
  Causes causes;
  causes.Sending(Cause::DOCUMENT);
  causes.InterfaceChanged(10, false);
  EXPECT_EQ(causes.OfInterface(10), Cause::INTERFACE);
  EXPECT_EQ(causes.OfInterface(20), Cause::DOCUMENT);
  EXPECT_EQ(causes.OfRequest(false), Cause::DOCUMENT);
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
  causes.Restarted();
  EXPECT_EQ(causes.OfRequest(false), Cause::STACK);
  EXPECT_EQ(causes.OfInterface(10), Cause::STACK);
  causes.Settled();
  EXPECT_EQ(causes.OfRequest(false), Cause::STACK);
}

TEST(Causes, AreTheConsoleOfWhatItHasHastened) {
  Causes causes;
  EXPECT_EQ(causes.OfRequest(true), Cause::CONSOLE);
  EXPECT_FALSE(causes.AreOpen());
  causes.Sending(Cause::DOCUMENT);
  EXPECT_EQ(causes.OfRequest(true), Cause::DOCUMENT);
  causes.Restarted();
  EXPECT_EQ(causes.OfRequest(true), Cause::STACK);
}

}  // namespace
}  // namespace views
