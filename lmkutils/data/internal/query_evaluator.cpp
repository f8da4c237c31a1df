#include "lmkutils/data/internal/query_evaluator.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include "lmkutils/data/internal/value_matcher.h"

namespace du::internal {
namespace {

// The result of a node: these records or, behind a NOT, all others. So AND, OR and XOR of a NOT become
// differences, and all records are asked for at the end, if at all.
//
// Lists that one operator joins in a row are kept apart until somebody needs the result.
class Operand {
 public:
  explicit Operand(IdList ids) : ids_(std::move(ids)) {}

  void Negate() noexcept { isNegated_ = !isNegated_; }
  bool IsNegated() const noexcept { return isNegated_; }

  void Or(Operand& other) {
    if (!isNegated_ && !other.isNegated_) {
      Join(Union, other);
    } else if (isNegated_ && other.isNegated_) {
      ids_ = Intersection(Ids(), other.Ids());
    } else if (isNegated_) {
      ids_ = Difference(Ids(), other.Ids());
    } else {
      ids_ = Difference(other.Ids(), Ids());
      isNegated_ = true;
    }
  }
  // De Morgan's law.
  void And(Operand& other) {
    Negate();
    other.Negate();
    Or(other);
    Negate();
  }
  // Records in both cancel each other, and so do two NOTs.
  void Xor(Operand& other) {
    Join(SymmetricDifference, other);
    isNegated_ = isNegated_ != other.isNegated_;
  }

  // Without regard to a NOT.
  IdList& Ids() {
    if (joinedBy_ != nullptr) ids_ = merger_.Take();
    joinedBy_ = nullptr;
    return ids_;
  }

 private:
  void Join(ListMerger::Operation operation, Operand& other) {
    if (joinedBy_ != operation) {
      IdList first = std::move(Ids());
      merger_ = ListMerger(operation);
      merger_.Add(std::move(first));
      joinedBy_ = operation;
    }
    merger_.Add(std::move(other.Ids()));
  }

  IdList ids_;
  bool isNegated_ = false;
  ListMerger::Operation joinedBy_ = nullptr;  // merger_ has the ids then
  ListMerger merger_{Union};
};

class Evaluator {
 public:
  explicit Evaluator(const AttributeList& attributes) : attributes_(attributes) {}

  IdList Evaluate(const QueryProgram& program) {
    for (const QueryNode& node : program) Execute(node);
    assert(operands_.size() == 1);
    Operand& result = operands_.back();
    if (!result.IsNegated()) return std::move(result.Ids());
    return Difference(attributes_.AllIds(), result.Ids());
  }

 private:
  void Execute(const QueryNode& node) {
    switch (node.kind) {
      case QueryNodeKind::kNot:
        return operands_.back().Negate();
      case QueryNodeKind::kAnd:
        return Combine(&Operand::And);
      case QueryNodeKind::kOr:
        return Combine(&Operand::Or);
      case QueryNodeKind::kXor:
        return Combine(&Operand::Xor);
      case QueryNodeKind::kEq:
        return Push(Compare(node, true));
      case QueryNodeKind::kNe:
        return Push(Compare(node, false));
      case QueryNodeKind::kPresent:
        return Push(Present(node));
    }
    throw std::logic_error("unrecognised query node");
  }

  void Push(IdList ids) { operands_.emplace_back(std::move(ids)); }

  void Combine(void (Operand::*operation)(Operand&)) {
    Operand right = std::move(operands_.back());
    operands_.pop_back();
    (operands_.back().*operation)(right);
  }

  IdList Present(const QueryNode& leaf) const {
    const AttributeColumn* const column = attributes_.Find(std::string(leaf.name));
    return column == nullptr ? IdList() : Distinct(column->Ids());
  }

  IdList Compare(const QueryNode& leaf, bool wanted) const {
    ValueMatcher matcher(leaf.pattern);
    const AttributeColumn* const column = attributes_.Find(std::string(leaf.name));
    if (column == nullptr) return {};
    if (matcher.IsUnheardOf()) return wanted ? IdList() : Distinct(column->Ids());
    if (wanted && matcher.IsLiteral()) {
      if (const ValueIndex* const index = attributes_.IndexOf(*column)) {
        return LookUp(*index, *column, matcher.Literal());
      }
    }
    return LookThrough(*column, matcher, wanted);
  }

  static IdList LookUp(const ValueIndex& index, const AttributeColumn& column, const char* text) {
    IdList ids;
    for (const std::uint32_t position : index.Candidates(text)) {
      if (column.Values()[position].c_str() == text) ids.push_back(column.Ids()[position]);
    }
    return WithoutRepetitions(std::move(ids));
  }

  static IdList LookThrough(const AttributeColumn& column, ValueMatcher& matcher, bool wanted) {
    IdList ids;
    matcher.Expect(column.Size());
    std::array<unsigned, ValueMatcher::kMostAtOnce> selected;
    for (std::size_t i = 0; i < column.Size(); i += selected.size()) {
      const std::size_t count = std::min(selected.size(), column.Size() - i);
      const std::size_t found = matcher.Select(column.Ids().subspan(i, count),
                                               column.Values().subspan(i, count), wanted, selected.data());
      ids.insert(ids.end(), selected.data(), selected.data() + found);
    }
    return WithoutRepetitions(std::move(ids));
  }

  // A record may have several values that match.
  static IdList WithoutRepetitions(IdList ids) {
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return ids;
  }

  const AttributeList& attributes_;
  std::vector<Operand> operands_;
};

}  // namespace

IdList EvaluateQuery(const QueryProgram& program, const AttributeList& attributes) {
  return Evaluator(attributes).Evaluate(program);
}

}  // namespace du::internal
