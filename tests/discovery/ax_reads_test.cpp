#include "discovery/ax_reads.hpp"

#include <gtest/gtest.h>

#include "core/virtual_executors.hpp"
#include "sim/sim_mac.hpp"
#include "support/fake_accessibility.hpp"
#include "support/scenarios.hpp"

namespace kestrune {
namespace {

using testing::FakeAccessibility;

TEST(AXReads, TextOfTheWrongTypeIsNoneNotEmpty) {
  FakeAccessibility ax;
  auto n = ax.node(1);
  n->attributes["AXTitle"] = AXAnyValue{42.0};
  n->attributes["AXDescription"] = AXAnyValue{std::string("Sound")};
  const auto e = FakeAccessibility::element(n);
  EXPECT_EQ(ax::attribute<std::string>(ax, e, "AXTitle"), std::nullopt);
  EXPECT_EQ(ax::attribute<std::string>(ax, e, "AXDescription"), "Sound");
  EXPECT_EQ(ax::stringOrEmpty(ax, e, "AXTitle"), "");
}

TEST(AXReads, PositionHoldingASizeWrapperIsNone) {
  FakeAccessibility ax;
  auto n = ax.node(1);
  n->attributes["AXPosition"] = FakeAccessibility::size(3, 4);
  n->attributes["AXSize"] = FakeAccessibility::size(30, 24);
  const auto e = FakeAccessibility::element(n);
  EXPECT_EQ(ax::axValue<Point>(ax, e, "AXPosition", AXValueType::cgPoint), std::nullopt);
  EXPECT_EQ(ax::frame(ax, e), std::nullopt);
  n->attributes["AXPosition"] = FakeAccessibility::point(3, 4);
  EXPECT_EQ(ax::frame(ax, e), (Rect{3, 4, 30, 24}));
}

TEST(AXReads, WrapperThatCannotBeReadIsNone) {
  FakeAccessibility ax;
  auto n = ax.node(1);
  n->attributes["AXPosition"] = AXAnyValue{AXValueWrapper{AXValueType::cgPoint, {}}};
  EXPECT_EQ(
      ax::axValue<Point>(ax, FakeAccessibility::element(n), "AXPosition", AXValueType::cgPoint),
      std::nullopt);
}

TEST(AXReads, NonWrapperValueForAPointIsNone) {
  FakeAccessibility ax;
  auto n = ax.node(1);
  n->attributes["AXPosition"] = AXAnyValue{std::string("10,20")};
  EXPECT_EQ(
      ax::axValue<Point>(ax, FakeAccessibility::element(n), "AXPosition", AXValueType::cgPoint),
      std::nullopt);
}

TEST(AXReads, ElementArraysMustHoldOnlyElements) {
  FakeAccessibility ax;
  auto parent = ax.node(1);
  auto child = ax.node(1);
  parent->attributes["AXChildren"] = FakeAccessibility::elements({child, child});
  const auto e = FakeAccessibility::element(parent);
  EXPECT_EQ(ax::attribute<std::vector<AXElement>>(ax, e, "AXChildren")->size(), 2U);

  parent->attributes["AXChildren"] = AXAnyValue{AXArray{}};
  EXPECT_EQ(ax::attribute<std::vector<AXElement>>(ax, e, "AXChildren")->size(), 0U);

  AXArray mixed{{FakeAccessibility::element(child)}, {std::string("x")}};
  parent->attributes["AXChildren"] = AXAnyValue{mixed};
  EXPECT_EQ(ax::attribute<std::vector<AXElement>>(ax, e, "AXChildren"), std::nullopt);
  EXPECT_EQ(ax::attribute<AXElement>(ax, e, "AXChildren"), std::nullopt);
}

TEST(AXReads, ErrorsOfAnyKindAreNone) {
  FakeAccessibility ax;
  auto n = ax.node(1);
  n->attributes["AXTitle"] = AXAnyValue{std::string("x")};
  n->errors["AXTitle"] = AXError::cannotComplete;
  EXPECT_EQ(ax::attribute<std::string>(ax, FakeAccessibility::element(n), "AXTitle"), std::nullopt);
  EXPECT_EQ(ax::attribute<std::string>(ax, FakeAccessibility::element(n), "AXMissing"),
            std::nullopt);
}

TEST(AXReads, CopiesOfAnElementShareOneReference) {
  FakeAccessibility ax;
  auto n = ax.node(1);
  const AXElement a = FakeAccessibility::element(n);
  const long before = a.useCount();
  {
    const AXElement b = a;  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(b.handle(), a.handle());
    EXPECT_EQ(a.useCount(), before + 1);
  }
  EXPECT_EQ(a.useCount(), before);
}

// Against the simulated Mac: the same reads, with real message time-outs.
class AXReadsOnSim : public ::testing::Test {
 protected:
  void make(sim::AXMode mode, double latencyMs = 0) {
    auto a = testing::app(400, "com.example.tool", "Tool", {testing::item("tool", 30)});
    a.items[0].title = "Tool";
    a.accessibility = mode;
    a.latencyMs = latencyMs;
    mac_ = std::make_unique<sim::SimMac>(testing::scenario(15, 1440, std::nullopt, 300, {a}),
                                         executors_);
  }
  // The app's first status item, read with the default time-outs.
  AXElement firstItem() {
    auto& ax = mac_->platform().accessibility;
    auto bar = ax::attribute<AXElement>(ax, ax.createApplication(400), "AXExtrasMenuBar");
    return ax::attribute<std::vector<AXElement>>(ax, *bar, "AXChildren")->front();
  }
  VirtualExecutors executors_;
  std::unique_ptr<sim::SimMac> mac_;
};

TEST_F(AXReadsOnSim, WrongTypesAreNone) {
  make(sim::AXMode::wrongTypes);
  auto& ax = mac_->platform().accessibility;
  const AXElement e = firstItem();
  EXPECT_EQ(ax::attribute<std::string>(ax, e, "AXTitle"), std::nullopt);
  EXPECT_EQ(ax::axValue<Point>(ax, e, "AXPosition", AXValueType::cgPoint), std::nullopt);
  EXPECT_EQ(ax::attribute<std::string>(ax, e, "AXRole"), "AXMenuBarItem");
}

TEST_F(AXReadsOnSim, UnreachableProcessIsNoneAfterTheTimeOut) {
  make(sim::AXMode::never);
  auto& ax = mac_->platform().accessibility;
  const AXElement app = ax.createApplication(400);
  ax.setMessagingTimeout(app, 0.4F);
  const TimePoint before = executors_.now();
  EXPECT_EQ(ax::attribute<AXElement>(ax, app, "AXExtrasMenuBar"), std::nullopt);
  EXPECT_NEAR(toSeconds(executors_.now() - before), 0.4, 1e-6);
}

TEST_F(AXReadsOnSim, SlowAppAnswersWithinALongerTimeOut) {
  make(sim::AXMode::normal, 650);
  auto& ax = mac_->platform().accessibility;
  const AXElement app = ax.createApplication(400);
  ax.setMessagingTimeout(app, 0.4F);
  EXPECT_EQ(ax::attribute<AXElement>(ax, app, "AXExtrasMenuBar"), std::nullopt);
  ax.setMessagingTimeout(app, 1.0F);
  const TimePoint before = executors_.now();
  EXPECT_NE(ax::attribute<AXElement>(ax, app, "AXExtrasMenuBar"), std::nullopt);
  EXPECT_NEAR(toSeconds(executors_.now() - before), 0.65, 1e-6);
}

TEST_F(AXReadsOnSim, FrameOfAStatusItemIsItsWindowFrame) {
  make(sim::AXMode::normal);
  auto& ax = mac_->platform().accessibility;
  EXPECT_EQ(ax::frame(ax, firstItem()), (Rect{1440 - 8 - 30, 0, 30, 24}));
  EXPECT_EQ(ax::attribute<std::string>(ax, firstItem(), "AXTitle"), "Tool");
  EXPECT_EQ(ax::attribute<std::string>(ax, firstItem(), "AXIdentifier"), std::nullopt);
}

}  // namespace
}  // namespace kestrune
