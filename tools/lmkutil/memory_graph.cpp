#include "tools/lmkutil/memory_graph.h"

#include <algorithm>
#include <set>

#include "lmkutils/memory/fixed_size_malloc_ctrl.h"
#include "lmkutils/memory/general_malloc_ctrl.h"
#include "lmkutils/memory/hand_off_malloc_ctrl.h"
#include "lmkutils/memory/malloc_ctrl_registry.h"
#include "lmkutils/memory/malloc_ctrl_visitor.h"
#include "lmkutils/memory/system_malloc_ctrl.h"

namespace lmkutil {
namespace {

// The walk holds the registry's read lock, so that indexes and relationships are those of one moment.
class Collector : public du::MallocCtrlVisitor {
 public:
  explicit Collector(std::vector<MemoryControl>& controls) : controls_(controls) {}

  void Visit(du::HandOffMallocCtrl* control) override { Add(control).handsOff = true; }
  void Visit(du::GeneralMallocCtrl* control) override { Add(control); }
  void Visit(du::FixedSizeMallocCtrl* control) override { Add(control); }
  void Visit(du::SystemMallocCtrl* control) override { Add(control); }
  void Visit(du::MallocCtrl* control) override { Add(control); }

 private:
  MemoryControl& Add(du::MallocCtrl* control) {
    const du::MallocCtrlRegistry& registry = du::MallocCtrlRegistry::Instance();
    MemoryControl& added = controls_.emplace_back();
    added.index = registry.GetCtrlIndex(control);
    added.name = control->GetName();
    control->GetAllocationStats(&added.bytesInUse, &added.bytesHeld);
    std::set<unsigned> suppliers;
    for (unsigned k = 0; k < registry.GetNumSuppliers(added.index); ++k)
      suppliers.insert(registry.GetSupplier(added.index, k));
    added.suppliers.assign(suppliers.begin(), suppliers.end());
    return added;
  }

  std::vector<MemoryControl>& controls_;
};

}  // namespace

MemoryGraph ReadMemoryGraph() {
  MemoryGraph graph;
  Collector collector(graph.controls);
  du::MallocCtrlRegistry::Instance().VisitAll(&collector);
  std::sort(graph.controls.begin(), graph.controls.end(),
            [](const MemoryControl& a, const MemoryControl& b) { return a.index < b.index; });
  return graph;
}

}  // namespace lmkutil
