#include "core/observable.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kestrune {
namespace {

struct Model {
  ObjectWillChange objectWillChange;
  Published<int> count{0, &objectWillChange};
  Published<std::string> label{"a", &objectWillChange};
};

TEST(Published, ObserversAreToldBeforeTheValueChanges) {
  Model m;
  std::vector<int> seenByObject;
  std::vector<std::pair<int, int>> seenByField;  // (stored, new)
  auto a = m.objectWillChange.connect([&] { seenByObject.push_back(m.count.get()); });
  auto b = m.count.sink([&](const int& v) { seenByField.emplace_back(m.count.get(), v); });
  m.count = 5;
  EXPECT_EQ(m.count.get(), 5);
  EXPECT_EQ(seenByObject, (std::vector<int>{0}));
  EXPECT_EQ(seenByField, (std::vector<std::pair<int, int>>{{0, 0}, {0, 5}}));
}

TEST(Published, EveryAssignmentPublishesEvenWithoutChange) {
  Model m;
  int notified = 0;
  auto s = m.objectWillChange.connect([&] { ++notified; });
  m.count = 0;
  m.count = 0;
  m.label = "b";
  EXPECT_EQ(notified, 3);
}

TEST(Published, SubscriptionEndsWhenItsTokenDies) {
  Model m;
  int calls = 0;
  {
    auto s = m.objectWillChange.connect([&] { ++calls; });
    m.count = 1;
  }
  m.count = 2;
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(m.objectWillChange.observerCount(), 0U);
}

TEST(Published, ResetEndsASubscriptionAndMovedTokensKeepIt) {
  Model m;
  int calls = 0;
  Subscription kept;
  {
    auto s = m.count.sink([&](const int&) { ++calls; });
    kept = std::move(s);
  }
  m.count = 1;
  kept.reset();
  EXPECT_FALSE(kept.isActive());
  m.count = 2;
  EXPECT_EQ(calls, 2);  // the current value at subscription, then 1
}

TEST(Published, DistinctSinkDropsRepeatedParts) {
  struct Record {
    bool a = false;
    bool b = true;
  };
  Published<Record> record{Record{}};
  std::vector<bool> seen;
  auto s =
      record.sinkDistinct([](const Record& r) { return r.b; }, [&](bool b) { seen.push_back(b); });
  record = Record{true, true};   // only `a` changed
  record = Record{true, false};  // `b` changed
  record = Record{false, false};
  record = Record{false, true};
  EXPECT_EQ(seen, (std::vector<bool>{true, false, true}));
}

TEST(Signal, HandlerThatUnsubscribesAnotherStopsItForThisEmission) {
  Signal<> signal;
  std::vector<std::string> calls;
  Subscription second;
  auto first = signal.connect([&] {
    calls.emplace_back("first");
    second.reset();
  });
  second = signal.connect([&] { calls.emplace_back("second"); });
  signal.emit();
  signal.emit();
  EXPECT_EQ(calls, (std::vector<std::string>{"first", "first"}));
}

TEST(Signal, HandlerAddedDuringEmissionWaitsForTheNextOne) {
  Signal<int> signal;
  std::vector<int> late;
  Subscription added;
  auto s = signal.connect([&](int v) {
    if (!added.isActive()) added = signal.connect([&](int w) { late.push_back(w); });
    (void)v;
  });
  signal.emit(1);
  signal.emit(2);
  EXPECT_EQ(late, (std::vector<int>{2}));
}

TEST(Signal, TokenOutlivingTheSignalIsHarmless) {
  Subscription s;
  {
    Signal<> signal;
    s = signal.connect([] {});
  }
  s.reset();
  EXPECT_FALSE(s.isActive());
}

}  // namespace
}  // namespace kestrune
