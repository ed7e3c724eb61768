#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/virtual_executors.hpp"

namespace kestrune {
namespace {

TEST(VirtualExecutors, PostedTasksRunInOrderWhenIdle) {
  VirtualExecutors ex;
  std::vector<int> ran;
  ex.main().post([&] { ran.push_back(1); });
  ex.main().post([&] { ran.push_back(2); });
  EXPECT_TRUE(ran.empty());
  EXPECT_EQ(ex.runUntilIdle(), 2U);
  EXPECT_EQ(ran, (std::vector<int>{1, 2}));
}

TEST(VirtualExecutors, DelayedTaskRunsExactlyAtItsDueTime) {
  VirtualExecutors ex;
  const TimePoint start = ex.now();
  TimePoint ranAt{};
  ex.main().postAfter(seconds(4.0), [&] { ranAt = ex.now(); });
  ex.advance(seconds(3.9));
  EXPECT_EQ(ranAt, TimePoint{});
  ex.advance(seconds(0.1));
  EXPECT_EQ(ranAt, start + seconds(4.0));
}

TEST(VirtualExecutors, RepeatingTimerTicksEveryIntervalUntilInvalidated) {
  VirtualExecutors ex;
  int ticks = 0;
  Timer timer = ex.main().scheduleRepeating(seconds(3.0), [&] { ++ticks; });
  ex.advance(seconds(2.9));
  EXPECT_EQ(ticks, 0);
  ex.advance(seconds(6.2));  // 3.0 and 6.0 and 9.0 have passed
  EXPECT_EQ(ticks, 3);
  timer.invalidate();
  EXPECT_FALSE(timer.isValid());
  ex.advance(seconds(30));
  EXPECT_EQ(ticks, 3);
}

TEST(VirtualExecutors, DestroyingTheTimerHandleStopsIt) {
  VirtualExecutors ex;
  int ticks = 0;
  {
    Timer timer = ex.main().scheduleRepeating(seconds(1.0), [&] { ++ticks; });
    ex.advance(seconds(1.0));
  }
  ex.advance(seconds(5.0));
  EXPECT_EQ(ticks, 1);
}

TEST(VirtualExecutors, TimerMayInvalidateItselfFromItsTick) {
  VirtualExecutors ex;
  int ticks = 0;
  Timer timer;
  timer = ex.main().scheduleRepeating(seconds(1.0), [&] {
    if (++ticks == 2) timer.invalidate();
  });
  ex.advance(seconds(10));
  EXPECT_EQ(ticks, 2);
}

TEST(VirtualExecutors, TasksDueAtTheSameTimeRunInSubmissionOrder) {
  VirtualExecutors ex;
  std::string order;
  ex.main().postAfter(seconds(1), [&] { order += 'a'; });
  auto queue = ex.makeSerialQueue("q", QualityOfService::userInteractive);
  ex.advance(seconds(0.5));
  ex.main().postAfter(seconds(0.5), [&] { order += 'b'; });
  ex.advance(seconds(0.5));
  queue->post([&] { order += 'c'; });
  ex.background().post([&] { order += 'd'; });
  ex.runUntilIdle();
  EXPECT_EQ(order, "abcd");
}

TEST(VirtualExecutors, SerialQueueKeepsOrderAcrossNestedPosts) {
  VirtualExecutors ex;
  auto queue = ex.makeSerialQueue("Kestrune.test", QualityOfService::unspecified);
  EXPECT_EQ(queue->label(), "Kestrune.test");
  std::vector<int> ran;
  queue->post([&] {
    ran.push_back(1);
    queue->post([&] { ran.push_back(3); });
  });
  queue->post([&] { ran.push_back(2); });
  ex.runUntilIdle();
  EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
}

TEST(VirtualExecutors, SleepMovesTheClockWithoutRunningTasks) {
  VirtualExecutors ex;
  const TimePoint start = ex.now();
  bool ran = false;
  ex.main().postAfter(seconds(0.3), [&] { ran = true; });
  ex.sleepFor(seconds(0.5));
  EXPECT_EQ(ex.now(), start + seconds(0.5));
  EXPECT_FALSE(ran);
  ex.runUntilIdle();
  EXPECT_TRUE(ran);
}

TEST(VirtualExecutors, TaskPostedByATaskForLaterWaitsForItsTime) {
  VirtualExecutors ex;
  std::vector<double> at;
  const TimePoint start = ex.now();
  ex.main().post([&] {
    ex.main().postAfter(seconds(4.0), [&] { at.push_back(toSeconds(ex.now() - start)); });
  });
  ex.advance(seconds(10));
  ASSERT_EQ(at.size(), 1U);
  EXPECT_DOUBLE_EQ(at[0], 4.0);
}

TEST(VirtualExecutors, WorkHandedBackToMainArrivesAfterTheWorksWaits) {
  VirtualExecutors ex;
  std::vector<double> at;
  const TimePoint start = ex.now();
  ex.background().post([&] {
    ex.sleepFor(seconds(0.4));
    ex.main().post([&] { at.push_back(toSeconds(ex.now() - start)); });
  });
  ex.runUntilIdle();  // the background work ran; its answer is not due yet
  EXPECT_TRUE(at.empty());
  ex.advance(seconds(0.4));
  ASSERT_EQ(at.size(), 1U);
  EXPECT_DOUBLE_EQ(at[0], 0.4);
}

TEST(VirtualExecutors, WallClockFollowsVirtualTime) {
  VirtualExecutors ex;
  const WallTime before = ex.wallNow();
  ex.advance(seconds(2.5));
  EXPECT_EQ(ex.wallNow() - before, seconds(2.5));
}

TEST(VirtualExecutors, PostAndWaitRunsAtOnce) {
  VirtualExecutors ex;
  bool ran = false;
  ex.main().postAndWait([&] { ran = true; });
  EXPECT_TRUE(ran);
  EXPECT_TRUE(ex.main().isMainThread());
}

}  // namespace
}  // namespace kestrune
