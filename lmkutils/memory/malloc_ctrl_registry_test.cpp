#include "lmkutils/memory/malloc_ctrl_registry.h"

#include <atomic>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "lmkutils/memory/fixed_size_malloc_ctrl.h"
#include "lmkutils/memory/general_malloc_ctrl.h"
#include "lmkutils/memory/hand_off_malloc_ctrl.h"
#include "lmkutils/memory/heap_allocator.h"
#include "lmkutils/memory/internal/malloc_ctrl_registry_impl.h"
#include "lmkutils/memory/malloc_ctrl_visitor.h"
#include "lmkutils/os/fault/fault.h"

namespace du {
namespace {

constexpr unsigned kNone = MallocCtrlRegistry::kNone;

class TestControl : public SystemMallocCtrl {
 public:
  explicit TestControl(const char* name = "test") : SystemMallocCtrl(name) {}
  std::pair<void*, unsigned> Allocate(unsigned) override { return {nullptr, 0}; }
  void Free(void*) override {}
  void GetAllocationStats(unsigned*, unsigned*) const override {}
};

// Collects the controls of one test; others live in the process too.
class Collector : public MallocCtrlVisitor {
 public:
  void Visit(HandOffMallocCtrl* control) override { Note(control); }
  void Visit(GeneralMallocCtrl* control) override { Note(control); }
  void Visit(FixedSizeMallocCtrl* control) override { Note(control); }
  void Visit(SystemMallocCtrl* control) override { Note(control); }
  void Visit(MallocCtrl* control) override { Note(control); }

  std::vector<MallocCtrl*> Among(const std::set<MallocCtrl*>& wanted) const {
    std::vector<MallocCtrl*> result;
    for (MallocCtrl* control : visited) {
      if (wanted.contains(control)) result.push_back(control);
    }
    return result;
  }

  std::vector<MallocCtrl*> visited;
  std::function<void()> during;

 private:
  void Note(MallocCtrl* control) {
    visited.push_back(control);
    if (during) during();
  }
};

MallocCtrlRegistry& Registry() {
  return MallocCtrlRegistry::Instance();
}

bool IsSane() {
  return internal::MallocCtrlRegistryImpl::Get().IsInSaneState();
}

TEST(MallocCtrl, NamesAreKeptUpTo63Bytes) {
  EXPECT_STREQ(TestControl(nullptr).GetName(), "<Unnamed Malloc Control>");
  EXPECT_STREQ(TestControl("").GetName(), "");
  EXPECT_EQ(std::string(TestControl(std::string(63, 'n').c_str()).GetName()), std::string(63, 'n'));
  const unsigned before = Registry().GetNumCtrls();
  EXPECT_THROW(TestControl(std::string(64, 'n').c_str()), std::invalid_argument);
  EXPECT_EQ(Registry().GetNumCtrls(), before);
}

TEST(MallocCtrl, CopiesCarryNameAndFlagButAreNotRegistered) {
  TestControl original("original");
  original.SetFailOnNextRequest();
  const unsigned index = Registry().GetCtrlIndex(&original);
  {
    TestControl copy(original);
    EXPECT_STREQ(copy.GetName(), "original");
    EXPECT_TRUE(copy.ShouldFailOnNextRequest());
    EXPECT_EQ(Registry().GetCtrlIndex(&copy), kNone);
    TestControl other("other");
    const unsigned otherIndex = Registry().GetCtrlIndex(&other);
    other = original;
    EXPECT_STREQ(other.GetName(), "original");
    EXPECT_EQ(Registry().GetCtrlIndex(&other), otherIndex);
  }
  EXPECT_EQ(Registry().GetCtrlIndex(&original), index);
  EXPECT_TRUE(IsSane());
}

TEST(MallocCtrlRegistry, IndexesStayWhenControlsGo) {
  auto control = std::make_unique<TestControl>();
  const unsigned index = Registry().GetCtrlIndex(control.get());
  const unsigned count = Registry().GetNumCtrls();
  Registry().RegisterCtrl(control.get());  // again: ignored
  EXPECT_EQ(Registry().GetNumCtrls(), count);
  EXPECT_EQ(Registry().GetCtrl(index), control.get());
  Registry().UnregisterCtrl(control.get());
  EXPECT_EQ(Registry().GetCtrlIndex(control.get()), kNone);
  control.reset();  // again: ignored
  EXPECT_EQ(Registry().GetNumCtrls(), count);
  EXPECT_EQ(Registry().GetCtrl(index), nullptr);
  EXPECT_EQ(Registry().GetCtrl(count), nullptr);
  EXPECT_EQ(Registry().GetNumSuppliers(index), 0U);
  EXPECT_EQ(Registry().GetNumSuppliers(count), kNone);
  EXPECT_EQ(Registry().GetNumConsumers(kNone), kNone);
  EXPECT_EQ(Registry().GetSupplier(count, 0), kNone);
  TestControl next;
  EXPECT_EQ(Registry().GetCtrlIndex(&next), count);
}

TEST(MallocCtrlRegistry, RelationshipsCanBeReadFromBothEnds) {
  TestControl supplier;
  TestControl consumer;
  const std::int64_t before = Registry().GetLastChangeTime();
  Registry().RegisterRelationship(&supplier, &consumer);
  Registry().RegisterRelationship(&supplier, &consumer);
  EXPECT_GE(Registry().GetLastChangeTime(), before);
  const unsigned from = Registry().GetCtrlIndex(&supplier);
  const unsigned to = Registry().GetCtrlIndex(&consumer);
  EXPECT_EQ(Registry().GetNumConsumers(from), 2U);
  EXPECT_EQ(Registry().GetConsumer(from, 1), to);
  EXPECT_EQ(Registry().GetConsumer(from, 2), kNone);
  EXPECT_EQ(Registry().GetSupplier(to, 0), from);
  Registry().UnregisterCtrl(&supplier);
  EXPECT_EQ(Registry().GetNumSuppliers(to), 0U);
  EXPECT_TRUE(IsSane());
}

TEST(MallocCtrlRegistry, UnknownPartnersAreALogicError) {
  TestControl known;
  TestControl unknown(known);  // a copy
  for (const auto& [supplier, consumer] : {std::pair{&known, &unknown}, std::pair{&unknown, &known}}) {
    try {
      Registry().RegisterRelationship(supplier, consumer);
      ADD_FAILURE();
    } catch (const std::logic_error& error) {
      EXPECT_STREQ(
          error.what(),
          "MallocCtrlRegistry::RegisterRelationship() both supplier and consumer must be preregistered.");
    }
  }
  EXPECT_EQ(Registry().GetNumConsumers(Registry().GetCtrlIndex(&known)), 0U);
}

TEST(MallocCtrlRegistry, ConsumersAreVisitedBeforeTheirSuppliers) {
  // a -> b, a -> c, c -> b: b consumes from both, made last to show that the order is not that of indexes
  // alone
  TestControl a("a"), c("c"), b("b");
  Registry().RegisterRelationship(&a, &b);
  Registry().RegisterRelationship(&a, &c);
  Registry().RegisterRelationship(&c, &b);
  Collector collector;
  Registry().VisitAll(&collector);
  EXPECT_EQ(collector.Among({&a, &b, &c}), (std::vector<MallocCtrl*>{&b, &c, &a}));
}

TEST(MallocCtrlRegistry, ACircleAndALongChainAreWalkedOnce) {
  TestControl one, two;
  Registry().RegisterRelationship(&one, &two);
  Registry().RegisterRelationship(&two, &one);
  std::vector<std::unique_ptr<TestControl>> chain;
  std::set<MallocCtrl*> all{&one, &two};
  for (int i = 0; i < 50000; ++i) {  // recursion would not come back from this
    chain.push_back(std::make_unique<TestControl>());
    all.insert(chain.back().get());
    if (i > 0) Registry().RegisterRelationship(chain[chain.size() - 2].get(), chain.back().get());
  }
  Collector collector;
  Registry().VisitAll(&collector);
  EXPECT_EQ(collector.Among(all).size(), all.size());
}

TEST(MallocCtrlRegistry, AVisitorMayMakeControlsAndRelationships) {
  TestControl present;
  std::unique_ptr<TestControl> made;
  unsigned consumers = 0;
  Collector collector;
  collector.during = [&] {
    if (made) return;
    made = std::make_unique<TestControl>("made");
    Registry().RegisterRelationship(made.get(), &present);
    EXPECT_EQ(Registry().GetCtrl(Registry().GetCtrlIndex(made.get())), made.get());
    consumers = Registry().GetNumConsumers(Registry().GetCtrlIndex(made.get()));
  };
  Registry().VisitAll(&collector);
  EXPECT_EQ(consumers, 1U);
  EXPECT_TRUE(collector.Among({made.get()}).empty());
  EXPECT_EQ(Registry().GetSupplier(Registry().GetCtrlIndex(&present), 0),
            Registry().GetCtrlIndex(made.get()));
  EXPECT_TRUE(IsSane());
}

TEST(MallocCtrlRegistry, WalksAndChangesInOtherThreadsGoTogether) {
  std::atomic<bool> stop{false};
  std::thread walker([&stop] {
    while (!stop) {
      Collector collector;
      Registry().VisitAll(&collector);
    }
  });
  std::vector<std::thread> makers;
  for (int t = 0; t < 2; ++t) {
    makers.emplace_back([] {
      for (int i = 0; i < 500; ++i) {
        HeapAllocator supplier("supplier", 0);
        HeapAllocator consumer("consumer", 0);
        Registry().RegisterRelationship(&supplier, &consumer);
      }
    });
  }
  for (std::thread& maker : makers) maker.join();
  stop = true;
  walker.join();
  EXPECT_TRUE(IsSane());
}

TEST(MallocCtrlRegistry, ShortageOfMemoryLeavesNothingHalfDone) {
  for (std::uint64_t nth = 1; nth < 8; ++nth) {
    const unsigned before = Registry().GetNumCtrls();
    bool failed = false;
    {
      const os::fault::Arming arming(os::fault::Call::kHeapAllocate, {.first = nth});
      try {
        std::vector<std::unique_ptr<TestControl>> controls(3);
        for (auto& control : controls) control = std::make_unique<TestControl>();
        Registry().RegisterRelationship(controls[0].get(), controls[1].get());
      } catch (const std::bad_alloc&) {
        failed = true;
      }
    }
    EXPECT_TRUE(IsSane()) << nth << (failed ? " failed" : "") << before;
    TestControl after;
    EXPECT_NE(Registry().GetCtrlIndex(&after), kNone);
  }
}

// What a class that overrides nothing gets.
struct BareControl : MallocCtrl {
  BareControl() : MallocCtrl("bare") {}
  void Accept(MallocCtrlVisitor* visitor) override { MallocCtrl::Accept(visitor); }
  void GetAllocationStats(unsigned* a, unsigned* h) const override { MallocCtrl::GetAllocationStats(a, h); }
};
struct BareFixed : FixedSizeMallocCtrl {
  BareFixed() : FixedSizeMallocCtrl("bare") {}
  void GetAllocationStats(unsigned*, unsigned*) const override {}
  void GetAllocationDetails(unsigned* a, unsigned* b, unsigned* c) const override {
    FixedSizeMallocCtrl::GetAllocationDetails(a, b, c);
  }
  void* Allocate(void*) override { return nullptr; }
  void Free(void*) override {}
};
struct BareGeneral : GeneralMallocCtrl {
  BareGeneral() : GeneralMallocCtrl("bare") {}
  void GetAllocationStats(unsigned*, unsigned*) const override {}
  void GetAllocationDetails(unsigned* a, MallocBlockStat** b, unsigned* c,
                            MallocBlockStat** d) const override {
    GeneralMallocCtrl::GetAllocationDetails(a, b, c, d);
  }
  void* Allocate(unsigned) override { return nullptr; }
  void Free(void*) override {}
};
struct BareHandOff : HandOffMallocCtrl {
  BareHandOff() : HandOffMallocCtrl("bare") {}
  void GetAllocationStats(unsigned*, unsigned*) const override {}
  void* Allocate(unsigned, void*) override { return nullptr; }
  void Free(void*, unsigned) override {}
};
struct BareVisitor : MallocCtrlVisitor {
  void Visit(HandOffMallocCtrl* c) override { MallocCtrlVisitor::Visit(c); }
  void Visit(GeneralMallocCtrl* c) override { MallocCtrlVisitor::Visit(c); }
  void Visit(FixedSizeMallocCtrl* c) override { MallocCtrlVisitor::Visit(c); }
  void Visit(SystemMallocCtrl* c) override { MallocCtrlVisitor::Visit(c); }
  void Visit(MallocCtrl* c) override { MallocCtrlVisitor::Visit(c); }
};

std::string TextOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const std::logic_error& error) {
    return error.what();
  }
  return "nothing thrown";
}

TEST(MallocCtrl, OperationsThatNobodyOverrodeSaySo) {
  BareControl control;
  BareFixed fixed;
  BareGeneral general;
  BareHandOff handOff;
  TestControl system;
  BareVisitor visitor;
  EXPECT_EQ(TextOf([&] { control.Accept(&visitor); }),
            "du::MallocCtrl::Accept(MallocCtrlVisitor*) has not been overridden.");
  EXPECT_EQ(TextOf([&] { control.GetAllocationStats(nullptr, nullptr); }),
            "du::MallocCtrl::GetAllocationStats() has not been overridden.");
  EXPECT_EQ(TextOf([&] { fixed.GetAllocationDetails(nullptr, nullptr, nullptr); }),
            "du::FixedSizeMallocCtrl::GetAllocationDetails() has not been overridden.");
  EXPECT_EQ(TextOf([&] { general.GetAllocationDetails(nullptr, nullptr, nullptr, nullptr); }),
            "du::GeneralMallocCtrl::GetAllocationDetails() has not been overridden.");
  EXPECT_EQ(TextOf([&] { fixed.Accept(&visitor); }),
            "du::MallocCtrlVisitor::Visit(FixedSizeMallocCtrl*) has not been overridden.");
  EXPECT_EQ(TextOf([&] { general.Accept(&visitor); }),
            "du::MallocCtrlVisitor::Visit(GeneralMallocCtrl*) has not been overridden.");
  EXPECT_EQ(TextOf([&] { handOff.Accept(&visitor); }),
            "du::MallocCtrlVisitor::Visit(HandOffMallocCtrl*) has not been overridden.");
  EXPECT_EQ(TextOf([&] { visitor.Visit(static_cast<MallocCtrl*>(&control)); }),
            "du::MallocCtrlVisitor::Visit(MallocCtrl*) has not been overridden.");
  EXPECT_EQ(TextOf([&] { system.Accept(&visitor); }),
            "du::MallocCtrlVisitor::Visit(SystemMallocCtrl*) has not been overridden.");
}

TEST(HeapAllocator, CountsWhatTheHeapGave) {
  HeapAllocator heap("heap", 4096);
  unsigned allocated = 1, held = 1;
  heap.GetAllocationStats(&allocated, &held);
  EXPECT_EQ(allocated, 0U);
  EXPECT_EQ(held, 0U);
  std::vector<std::pair<void*, unsigned>> blocks;
  unsigned sum = 0;
  for (const unsigned size : {0U, 1U, 8U, 100U, 65536U}) {
    blocks.push_back(heap.Allocate(size));
    ASSERT_NE(blocks.back().first, nullptr);
    EXPECT_GE(blocks.back().second, size);
    sum += blocks.back().second;
  }
  heap.GetAllocationStats(&allocated, nullptr);
  EXPECT_EQ(allocated, sum);
  heap.SetFailOnNextRequest();
  EXPECT_EQ(heap.Allocate(8), (std::pair<void*, unsigned>{nullptr, 0}));
  EXPECT_EQ(heap.Allocate(8).first, nullptr);
  heap.ClearFailOnNextRequest();
  heap.Free(nullptr);
  for (const auto& [block, size] : blocks) heap.Free(block);
  heap.GetAllocationStats(nullptr, &held);
  EXPECT_EQ(held, 0U);
  EXPECT_NE(heap.Allocate(32).first, nullptr);  // goes with the heap
}

}  // namespace
}  // namespace du
