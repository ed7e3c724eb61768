#include "mac/scoped_ref.hpp"

#include <gtest/gtest.h>

#include <map>
#include <utility>

namespace kestrune {
namespace {

// A reference-counted object whose count starts at the one reference its
// creator hands over, as a Create call's result does.
struct FakeObject {
  int references = 1;
};

struct CallCounts {
  int retains = 0;
  int releases = 0;
};
CallCounts calls;

struct FakeTraits {
  static void retain(FakeObject* object) {
    ++calls.retains;
    ++object->references;
  }
  static void release(FakeObject* object) {
    ++calls.releases;
    --object->references;
  }
  static constexpr FakeObject* null() { return nullptr; }
};

using FakeRef = ScopedRef<FakeObject*, FakeTraits>;

class ScopedRefTest : public ::testing::Test {
 protected:
  void SetUp() override { calls = {}; }
};

TEST_F(ScopedRefTest, DefaultIsEmptyAndReleasesNothing) {
  {
    FakeRef ref;
    EXPECT_FALSE(ref);
    EXPECT_EQ(ref.get(), nullptr);
  }
  EXPECT_EQ(calls.retains, 0);
  EXPECT_EQ(calls.releases, 0);
}

TEST_F(ScopedRefTest, AdoptingDoesNotRetainAndDestructionReleasesOnce) {
  FakeObject object;
  {
    FakeRef ref(&object);
    EXPECT_TRUE(ref);
    EXPECT_EQ(ref.get(), &object);
    EXPECT_EQ(calls.retains, 0);
    EXPECT_EQ(object.references, 1);
  }
  EXPECT_EQ(calls.releases, 1);
  EXPECT_EQ(object.references, 0);
}

TEST_F(ScopedRefTest, RetainTakesANewReference) {
  FakeObject object;  // the one reference belongs to someone else
  {
    FakeRef ref = FakeRef::retain(&object);
    EXPECT_EQ(ref.get(), &object);
    EXPECT_EQ(calls.retains, 1);
    EXPECT_EQ(object.references, 2);
  }
  EXPECT_EQ(calls.releases, 1);
  EXPECT_EQ(object.references, 1);
}

TEST_F(ScopedRefTest, RetainingNullCallsNothing) {
  {
    FakeRef ref = FakeRef::retain(nullptr);
    EXPECT_FALSE(ref);
  }
  EXPECT_EQ(calls.retains, 0);
  EXPECT_EQ(calls.releases, 0);
}

TEST_F(ScopedRefTest, CopyRetainsAndEachCopyReleasesOnce) {
  FakeObject object;
  {
    FakeRef original(&object);
    {
      FakeRef copy(original);  // NOLINT(performance-unnecessary-copy-initialization)
      EXPECT_EQ(copy.get(), &object);
      EXPECT_EQ(original.get(), &object);
      EXPECT_EQ(calls.retains, 1);
      EXPECT_EQ(object.references, 2);
    }
    EXPECT_EQ(calls.releases, 1);
    EXPECT_EQ(object.references, 1);
  }
  EXPECT_EQ(calls.releases, 2);
  EXPECT_EQ(object.references, 0);
}

TEST_F(ScopedRefTest, CopyAssignmentRetainsTheNewAndReleasesTheOld) {
  FakeObject first;
  FakeObject second;
  FakeRef target(&first);
  const FakeRef source(&second);
  target = source;
  EXPECT_EQ(target.get(), &second);
  EXPECT_EQ(source.get(), &second);
  EXPECT_EQ(first.references, 0);
  EXPECT_EQ(second.references, 2);
  EXPECT_EQ(calls.retains, 1);
  EXPECT_EQ(calls.releases, 1);
}

TEST_F(ScopedRefTest, CopyOfEmptyCallsNothing) {
  const FakeRef empty;
  const FakeRef copy(empty);  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_FALSE(copy);
  EXPECT_EQ(calls.retains, 0);
}

TEST_F(ScopedRefTest, MoveConstructionNeitherRetainsNorReleases) {
  FakeObject object;
  {
    FakeRef source(&object);
    FakeRef moved(std::move(source));
    EXPECT_EQ(moved.get(), &object);
    EXPECT_FALSE(source);  // NOLINT(bugprone-use-after-move): moved-from is empty
    EXPECT_EQ(calls.retains, 0);
    EXPECT_EQ(calls.releases, 0);
    EXPECT_EQ(object.references, 1);
  }
  EXPECT_EQ(calls.releases, 1);
  EXPECT_EQ(object.references, 0);
}

TEST_F(ScopedRefTest, MoveAssignmentReleasesOnlyTheOldTarget) {
  FakeObject first;
  FakeObject second;
  FakeRef target(&first);
  FakeRef source(&second);
  target = std::move(source);
  EXPECT_EQ(target.get(), &second);
  EXPECT_FALSE(source);  // NOLINT(bugprone-use-after-move): moved-from is empty
  EXPECT_EQ(calls.retains, 0);
  EXPECT_EQ(calls.releases, 1);
  EXPECT_EQ(first.references, 0);
  EXPECT_EQ(second.references, 1);
}

TEST_F(ScopedRefTest, SelfAssignmentKeepsOneReference) {
  FakeObject object;
  FakeRef ref(&object);
  FakeRef& alias = ref;
  ref = alias;
  EXPECT_EQ(ref.get(), &object);
  EXPECT_EQ(object.references, 1);
  ref = std::move(alias);
  EXPECT_EQ(ref.get(), &object);
  EXPECT_EQ(object.references, 1);
}

TEST_F(ScopedRefTest, ResetReleasesTheOldAndAdoptsTheNew) {
  FakeObject first;
  FakeObject second;
  FakeRef ref(&first);
  ref.reset(&second);
  EXPECT_EQ(ref.get(), &second);
  EXPECT_EQ(first.references, 0);
  EXPECT_EQ(second.references, 1);
  EXPECT_EQ(calls.retains, 0);
  EXPECT_EQ(calls.releases, 1);
}

TEST_F(ScopedRefTest, ResetWithoutValueEmpties) {
  FakeObject object;
  FakeRef ref(&object);
  ref.reset();
  EXPECT_FALSE(ref);
  EXPECT_EQ(object.references, 0);
  ref.reset();  // nothing left to release
  EXPECT_EQ(calls.releases, 1);
}

TEST_F(ScopedRefTest, ResetToTheSameHandleWithItsOwnReferenceKeepsTheCountRight) {
  FakeObject object;
  FakeRef ref(&object);
  ++object.references;  // a second Copy call answered with the same object
  ref.reset(&object);
  EXPECT_EQ(ref.get(), &object);
  EXPECT_EQ(object.references, 1);
}

TEST_F(ScopedRefTest, OutReleasesTheOldValueAndAdoptsWhatIsWritten) {
  FakeObject first;
  FakeObject second;
  FakeRef ref(&first);
  FakeObject** slot = ref.out();
  EXPECT_EQ(first.references, 0);
  EXPECT_EQ(calls.releases, 1);
  ASSERT_NE(slot, nullptr);
  EXPECT_EQ(*slot, nullptr);
  *slot = &second;  // as a Copy call stores its result
  EXPECT_EQ(ref.get(), &second);
  EXPECT_EQ(calls.retains, 0);
  ref.reset();
  EXPECT_EQ(second.references, 0);
}

TEST_F(ScopedRefTest, OutOnEmptyReleasesNothing) {
  FakeRef ref;
  EXPECT_EQ(*ref.out(), nullptr);
  EXPECT_EQ(calls.releases, 0);
}

TEST_F(ScopedRefTest, ReleaseHandsOwnershipOverWithoutReleasing) {
  FakeObject object;
  FakeObject* taken = nullptr;
  {
    FakeRef ref(&object);
    taken = ref.release();
    EXPECT_FALSE(ref);
  }
  EXPECT_EQ(taken, &object);
  EXPECT_EQ(calls.releases, 0);
  EXPECT_EQ(object.references, 1);
  FakeRef again(taken);  // the new owner gives it back
  again.reset();
  EXPECT_EQ(object.references, 0);
}

TEST_F(ScopedRefTest, SwapExchangesWithoutCounting) {
  FakeObject first;
  FakeObject second;
  FakeRef a(&first);
  FakeRef b(&second);
  swap(a, b);
  EXPECT_EQ(a.get(), &second);
  EXPECT_EQ(b.get(), &first);
  EXPECT_EQ(calls.retains, 0);
  EXPECT_EQ(calls.releases, 0);
}

// Handles need not be pointers: an integer id whose null value is 0.
std::map<int, int> idReferences;

struct IdTraits {
  static void retain(int id) { ++idReferences[id]; }
  static void release(int id) { --idReferences[id]; }
  static constexpr int null() { return 0; }
};

using IdRef = ScopedRef<int, IdTraits>;

TEST(ScopedRefIdTest, WorksWithIntegerHandles) {
  idReferences = {{7, 1}};
  {
    IdRef ref(7);
    EXPECT_TRUE(ref);
    const IdRef copy(ref);  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(idReferences[7], 2);
    EXPECT_FALSE(IdRef());
  }
  EXPECT_EQ(idReferences[7], 0);
  EXPECT_EQ(idReferences.count(0), 0U);  // the null id is never counted
}

}  // namespace
}  // namespace kestrune
