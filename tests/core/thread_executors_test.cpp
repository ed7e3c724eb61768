// The real-thread executors, driven without sleeping: every wait is on a
// condition the executors themselves signal.
#include "core/thread_executors.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace kestrune {
namespace {

TEST(ThreadExecutors, BackgroundWorkPostsItsResultBackToMain) {
  ThreadExecutors ex(2);
  std::thread::id mainThread;
  std::thread::id resultThread;
  int result = 0;
  ex.main().post([&] {
    mainThread = std::this_thread::get_id();
    EXPECT_TRUE(ex.main().isMainThread());
    ex.background().post([&] {
      EXPECT_FALSE(ex.main().isMainThread());
      const int computed = 6 * 7;
      ex.main().post([&, computed] {
        resultThread = std::this_thread::get_id();
        result = computed;
        ex.stop();
      });
    });
  });
  ex.run();
  EXPECT_EQ(result, 42);
  EXPECT_EQ(resultThread, mainThread);
}

TEST(ThreadExecutors, PostAndWaitFromAWorkerRunsOnMainAndBlocksUntilDone) {
  ThreadExecutors ex(2);
  std::atomic<bool> sawMain{false};
  ex.main().post([&] {
    ex.background().post([&] {
      ex.main().postAndWait([&] { sawMain = ex.main().isMainThread(); });
      EXPECT_TRUE(sawMain.load());
      ex.main().post([&] { ex.stop(); });
    });
  });
  ex.run();
  EXPECT_TRUE(sawMain.load());
}

TEST(ThreadExecutors, SerialQueueRunsTasksOneAfterAnotherInOrder) {
  ThreadExecutors ex(2);
  auto queue = ex.makeSerialQueue("Kestrune.test", QualityOfService::userInteractive);
  std::vector<int> order;  // touched only by the queue's thread, read after stop
  for (int i = 0; i < 100; ++i) queue->post([&order, i] { order.push_back(i); });
  queue->post([&] { ex.main().post([&] { ex.stop(); }); });
  ex.run();
  ASSERT_EQ(order.size(), 100U);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(order[i], i);
}

TEST(ThreadExecutors, RepeatingTimerTicksOnMainUntilInvalidated) {
  ThreadExecutors ex(1);
  int ticks = 0;
  Timer timer;
  timer = ex.main().scheduleRepeating(milliseconds(1), [&] {
    EXPECT_TRUE(ex.main().isMainThread());
    if (++ticks == 3) {
      timer.invalidate();
      ex.main().postAfter(milliseconds(5), [&] { ex.stop(); });
    }
  });
  ex.run();
  EXPECT_EQ(ticks, 3);
}

}  // namespace
}  // namespace kestrune
