#include "lmkutils/memory/ref_counted.h"

#include <memory>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "lmkutils/memory/smart_ptr.h"

namespace {

using du::SmartPtr;

struct Counted : du::RefCounted {
  explicit Counted(int* deletions = nullptr) : deletions_(deletions) {}
  ~Counted() override {
    if (deletions_ != nullptr) ++*deletions_;
  }
  int* deletions_;
};

struct Derived : Counted {
  using Counted::Counted;
};

TEST(RefCounted, CountsFromZeroAndNeverCopiesTheCount) {
  Counted object;
  EXPECT_EQ(0, object.GetReferenceCount());
  EXPECT_EQ(1, object.AddReference());
  EXPECT_EQ(2, object.AddReference(&object));
  Counted copy = object;
  EXPECT_EQ(0, copy.GetReferenceCount());
  copy.AddReference();
  copy = object;
  EXPECT_EQ(1, copy.GetReferenceCount());
  EXPECT_EQ(1, object.RemoveReference(nullptr));
  EXPECT_EQ(0, object.RemoveReference());
  EXPECT_TRUE(object.ZeroReferenceCountHook());
}

TEST(RefCounted, WeakTakersGetLivingObjectsOnly) {
  Counted object;
  EXPECT_EQ(0, object.AddReferenceFromWeak());
  for (int i = 0; i < 3; ++i) object.AddReference();
  EXPECT_EQ(4, object.AddReferenceFromWeak(&object));
  for (int i = 0; i < 5; ++i) object.RemoveReference();
  EXPECT_EQ(-1, object.AddReferenceFromWeak());
  EXPECT_EQ(-1, object.GetReferenceCount());  // as it was, not -2
}

TEST(SmartPtr, DeletesOnceWithTheLastHandle) {
  int deletions = 0;
  {
    SmartPtr<Counted> a(new Derived(&deletions));
    SmartPtr<Counted> b = a;
    SmartPtr<Counted> c;
    c = std::move(b);
    EXPECT_FALSE(b);  // NOLINT(bugprone-use-after-move): documented
    EXPECT_EQ(2, a->GetReferenceCount());
    SmartPtr<Counted>& self = a;
    a = self;
    a = std::move(self);
    a = a.get();
    EXPECT_EQ(2, a->GetReferenceCount());
    c.reset();
    c = nullptr;
    EXPECT_EQ(0, deletions);
    a.swap(c);
    EXPECT_TRUE(a == nullptr && c != nullptr);
    c.reset(new Counted(&deletions));
    EXPECT_EQ(1, deletions);
  }
  EXPECT_EQ(2, deletions);
}

TEST(SmartPtr, HandsReferencesOverAndConverts) {
  int deletions = 0;
  SmartPtr<Derived> derived = du::MakeShared<Derived>(&deletions);
  SmartPtr<const Counted> base = derived;
  EXPECT_TRUE(base == derived && base.get() == derived.get());
  EXPECT_EQ(derived, du::StaticPointerCast<Derived>(SmartPtr<Counted>(derived)));
  EXPECT_FALSE(du::DynamicPointerCast<Derived>(SmartPtr<Counted>(new Counted)));
  Derived* const raw = derived.release();
  EXPECT_EQ(2, raw->GetReferenceCount());
  SmartPtr<Counted> back = SmartPtr<Derived>::Attach(raw);
  base = nullptr;
  EXPECT_EQ(1, (*back).GetReferenceCount());
  std::set<SmartPtr<Counted>> ordered = {back, nullptr, back};
  EXPECT_EQ(2u, ordered.size());
  ordered.clear();
  back.reset();
  EXPECT_EQ(1, deletions);
}

TEST(SmartPtr, AsksTheHookBeforeDeleting) {
  struct Kept : Counted {
    using Counted::Counted;
    bool ZeroReferenceCountHook() const override { return false; }
  };
  int deletions = 0;
  Kept kept(&deletions);
  SmartPtr<Kept>(&kept).reset();
  EXPECT_EQ(0, deletions);
  EXPECT_EQ(0, kept.GetReferenceCount());
}

// The old object's destructor comes back to the handle that lets it go.
TEST(SmartPtr, ShowsTheNewObjectToTheOldOnesDestructor) {
  static SmartPtr<du::RefCounted>* handle = nullptr;
  static du::RefCounted* seen = nullptr;
  struct Curious : du::RefCounted {
    ~Curious() override { seen = handle->get(); }
  };
  SmartPtr<du::RefCounted> slot(new Curious);
  handle = &slot;
  slot = new Counted;
  EXPECT_EQ(slot.get(), seen);
}

TEST(SmartPtr, ThreadsThatDropTogetherDeleteOnce) {
  for (int round = 0; round < 200; ++round) {
    int deletions = 0;
    SmartPtr<Counted> first(new Counted(&deletions));
    std::atomic<int> ready{0};
    const auto drop = [&ready](SmartPtr<Counted> mine) {
      ++ready;
      while (ready != 2) std::this_thread::yield();
      mine.reset();
    };
    std::thread other(drop, first);
    drop(std::move(first));
    other.join();
    ASSERT_EQ(1, deletions);
  }
}

}  // namespace
