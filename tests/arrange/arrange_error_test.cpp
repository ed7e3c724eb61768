#include "arrange/arrange_error.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kestrune {
namespace {

const std::string kNotchTail =
    " be dragged while hidden behind the notch. Move other items around it instead, or arrange "
    "on a display without a notch.";
const std::string kOverflowTail =
    " be dragged while in the menu bar's hidden overflow (\u00BB). Move other items around it "
    "instead.";

bool endsWith(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

TEST(ArrangeErrorTest, DragFailedNamesBothItemsInTypographicQuotes) {
  const auto e = ArrangeError::dragFailed("Dropbox", "Wi-Fi");
  EXPECT_EQ(e.message(),
            "macOS didn't accept moving \u201CDropbox\u201D next to \u201CWi-Fi\u201D. The list "
            "shows the real order now.");
  EXPECT_EQ(e.which(), ArrangeError::Case::dragFailed);
  EXPECT_EQ(e.names(), (std::vector<std::string>{"Dropbox", "Wi-Fi"}));
}

TEST(ArrangeErrorTest, DragFailedAlwaysEndsPointingAtTheRescannedList) {
  for (const auto& [a, b] : std::vector<std::pair<std::string, std::string>>{
           {"", ""}, {"A", "B"}, {"Name. With dots.", "\u201Cquoted\u201D"}}) {
    EXPECT_TRUE(
        endsWith(ArrangeError::dragFailed(a, b).message(), "The list shows the real order now."))
        << a << " / " << b;
  }
}

TEST(ArrangeErrorTest, MissingNamesTheItem) {
  const auto e = ArrangeError::missing("Slack");
  EXPECT_EQ(e.message(), "\u201CSlack\u201D disappeared from the menu bar while arranging.");
  EXPECT_EQ(e.which(), ArrangeError::Case::missing);
  EXPECT_EQ(e.names(), std::vector<std::string>{"Slack"});
}

TEST(ArrangeErrorTest, AccessibilityAsksForThePermission) {
  const auto e = ArrangeError::accessibility();
  EXPECT_EQ(e.message(), "Accessibility permission is required to move menu bar items.");
  EXPECT_EQ(e.which(), ArrangeError::Case::accessibility);
  EXPECT_TRUE(e.names().empty());
}

TEST(ArrangeErrorTest, CannotGrabWithOneNameOnTheLegacyBarSpeaksOfTheNotch) {
  const auto e = ArrangeError::cannotGrab({"A"}, false);
  EXPECT_EQ(e.message(),
            "macOS won't let \u201CA\u201D be dragged while hidden behind the notch. Move other "
            "items around it "
            "instead, or arrange on a display without a notch.");
  EXPECT_EQ(e.which(), ArrangeError::Case::cannotGrab);
  EXPECT_FALSE(e.isModern());
}

TEST(ArrangeErrorTest, CannotGrabWithOneNameOnTheModernBarSpeaksOfTheOverflow) {
  const auto e = ArrangeError::cannotGrab({"A"}, true);
  EXPECT_EQ(e.message(),
            "macOS won't let \u201CA\u201D be dragged while in the menu bar's hidden overflow "
            "(\u00BB). Move other "
            "items around it instead.");
  EXPECT_TRUE(e.isModern());
}

TEST(ArrangeErrorTest, ThreeNamesAreListedWithoutATail) {
  const auto e = ArrangeError::cannotGrab({"A", "B", "C"}, false);
  EXPECT_EQ(e.message(),
            "macOS won't let \u201CA\u201D, \u201CB\u201D, \u201CC\u201D" + kNotchTail);
}

TEST(ArrangeErrorTest, FourNamesListThreeAndOneMore) {
  const auto e = ArrangeError::cannotGrab({"A", "B", "C", "D"}, true);
  EXPECT_EQ(e.message(), "macOS won't let \u201CA\u201D, \u201CB\u201D, \u201CC\u201D and 1 more" +
                             kOverflowTail);
  // Every name is kept, the listed ones and the counted one.
  EXPECT_EQ(e.names(), (std::vector<std::string>{"A", "B", "C", "D"}));
}

TEST(ArrangeErrorTest, FiveNamesListThreeAndTwoMore) {
  const auto e = ArrangeError::cannotGrab({"A", "B", "C", "D", "E"}, false);
  EXPECT_EQ(e.message(),
            "macOS won't let \u201CA\u201D, \u201CB\u201D, \u201CC\u201D and 2 more" + kNotchTail);
}

TEST(ArrangeErrorTest, ThirteenNamesCountTenInDecimal) {
  std::vector<std::string> names;
  for (int i = 0; i < 13; ++i) names.push_back("N" + std::to_string(i));
  const auto e = ArrangeError::cannotGrab(names, true);
  EXPECT_EQ(
      e.message(),
      "macOS won't let \u201CN0\u201D, \u201CN1\u201D, \u201CN2\u201D and 10 more" + kOverflowTail);
}

TEST(ArrangeErrorTest, WhatIsTheMessageAndSurvivesCatchingAsStdException) {
  try {
    throw ArrangeError::missing("Bartender");
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(), "\u201CBartender\u201D disappeared from the menu bar while arranging.");
    return;
  }
  FAIL() << "not thrown";
}

TEST(ArrangeErrorTest, CopiesCarryTheSameCaseAndMessage) {
  const auto original = ArrangeError::cannotGrab({"A", "B"}, false);
  const ArrangeError copy = original;  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(copy.which(), ArrangeError::Case::cannotGrab);
  EXPECT_EQ(copy.message(), original.message());
  EXPECT_STREQ(copy.what(), original.message().c_str());
}

}  // namespace
}  // namespace kestrune
