#include "tools/lmkutil/memory_report.h"

#include "tools/lmkutil/table.h"

namespace lmkutil {
namespace {

constexpr char kNothing[] = "-";

std::string SupplierList(const MemoryControl& control) {
  std::string list;
  for (const unsigned supplier : control.suppliers)
    list += (list.empty() ? "" : " ") + std::to_string(supplier);
  return list.empty() ? kNothing : list;
}

Table ControlTable(const MemoryGraph& graph, const Resources& resources) {
  Table table({{resources.Text("MEMORY_NUMBER"), Align::kRight},
               {resources.Text("MEMORY_CONTROL"), Align::kLeft},
               {resources.Text("MEMORY_IN_USE"), Align::kRight},
               {resources.Text("MEMORY_HELD"), Align::kRight},
               {resources.Text("MEMORY_SUPPLIERS"), Align::kLeft}});
  for (const MemoryControl& control : graph.controls) {
    table.AddRow({std::to_string(control.index), control.name,
                  control.handsOff ? kNothing : std::to_string(control.bytesInUse),
                  std::to_string(control.bytesHeld), SupplierList(control)});
  }
  return table;
}

Table ClassTable(const du::MemPoolBlockStatistics& statistics, const Resources& resources) {
  Table table({{resources.Text("MEMORY_CLASS"), Align::kRight},
               {resources.Text("MEMORY_SIZE"), Align::kRight},
               {resources.Text("MEMORY_USED"), Align::kRight},
               {resources.Text("MEMORY_CACHED"), Align::kRight},
               {resources.Text("MEMORY_FREE"), Align::kRight},
               {resources.Text("MEMORY_BLOCKS"), Align::kRight},
               {resources.Text("MEMORY_SPARSE"), Align::kRight},
               {resources.Text("MEMORY_EMPTY"), Align::kRight},
               {resources.Text("MEMORY_HELD"), Align::kRight}});
  for (const du::MemPoolClassStatistics& c : statistics.classes) {
    table.AddRow({std::to_string(c.sizeClass), std::to_string(c.elementSize), std::to_string(c.elementsInUse),
                  std::to_string(c.elementsCached), std::to_string(c.elementsFree), std::to_string(c.blocks),
                  std::to_string(c.sparseBlocks), std::to_string(c.emptyBlocks),
                  std::to_string(c.bytesHeld)});
  }
  return table;
}

// A text in quotation marks of the graph's language; line breaks become its own.
std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c == '\n' ? "\\n" : std::string(1, c);
  }
  return quoted + '"';
}

}  // namespace

std::string ReportTables(const Workload& workload, const MemoryGraph& graph,
                         const du::MemPoolBlockStatistics& statistics, const Resources& resources) {
  std::string report =
      resources.Text("MEMORY_WORKLOAD", {std::to_string(workload.files), std::to_string(workload.words),
                                         std::to_string(workload.differentWords)}) +
      "\n\n" + resources.Text("MEMORY_CONTROLS") + "\n" + ControlTable(graph, resources).Text() + "\n";
  if (statistics.classes.empty()) {
    report += resources.Text("MEMORY_NO_CLASSES") + "\n";
  } else {
    report += resources.Text("MEMORY_CLASSES") + "\n" + ClassTable(statistics, resources).Text() +
              resources.Text("MEMORY_LARGE", {std::to_string(statistics.largeBlocks),
                                              std::to_string(statistics.largeBytes)}) +
              "\n";
  }
  return report;
}

std::string ReportDot(const MemoryGraph& graph, const Resources& resources) {
  std::string dot = "digraph memory {\n  rankdir=LR;\n  node [shape=box];\n";
  for (const MemoryControl& control : graph.controls) {
    dot += "  c" + std::to_string(control.index) + " [label=" +
           Quoted(resources.Text("MEMORY_NODE", {control.name, std::to_string(control.bytesHeld)})) + "];\n";
  }
  for (const MemoryControl& control : graph.controls) {
    for (const unsigned supplier : control.suppliers)
      dot += "  c" + std::to_string(supplier) + " -> c" + std::to_string(control.index) + ";\n";
  }
  return dot + "}\n";
}

}  // namespace lmkutil
