#include "lmkutils/data/internal/query_parser.h"

#include <utility>

namespace du::internal {
namespace {

constexpr bool IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// What is left of the text.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : text_(text) {}

  std::size_t Position() const noexcept { return position_; }
  void SkipBlanks() noexcept {
    while (!AtEnd() && IsBlank(text_[position_])) ++position_;
  }
  bool AtEnd() const noexcept { return position_ == text_.size(); }
  bool IsAt(char c) const noexcept { return !AtEnd() && text_[position_] == c; }
  bool Take(std::string_view word) noexcept {
    if (!text_.substr(position_).starts_with(word)) return false;
    position_ += word.size();
    return true;
  }
  // What stands before the next `c`, which is taken too.
  std::optional<std::string_view> TakeUntil(char c) noexcept {
    const std::size_t end = text_.find(c, position_);
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view taken = text_.substr(position_, end - position_);
    position_ = end + 1;
    return taken;
  }

 private:
  std::string_view text_;
  std::size_t position_ = 0;
};

class Parser {
 public:
  Parser(std::string_view text, QueryProgram& program) : cursor_(text), program_(program) {}

  std::optional<QueryFailure> Parse() {
    expressions_.push_back({});
    while (ParseTerm() && ParseWhatFollows()) {
    }
    return failure_;
  }

 private:
  // An expression that is being read: what stands before its next term.
  struct Expression {
    std::size_t start = 0;                   // where its "(" stands
    std::optional<QueryNodeKind> operation;  // before the term
    std::size_t negations = 0;               // NOTs between the two
  };

  // The functions that parse return false when parsing has come to its end, of the text or by a failure.
  bool Fail(QueryStep step, std::size_t position) noexcept {
    failure_ = QueryFailure{step, position};
    return false;
  }

  // As far as the next leaf: opens all parentheses before it.
  bool ParseTerm() {
    for (;;) {
      cursor_.SkipBlanks();
      const std::size_t start = cursor_.Position();
      if (cursor_.IsAt('<')) return ParseLeaf();
      if (nested_ == kMostNestedTerms) return Fail(QueryStep::kTerm, start);
      if (cursor_.Take("(")) {
        expressions_.push_back({.start = start, .operation = {}, .negations = 0});
      } else if (cursor_.Take("NOT")) {
        ++expressions_.back().negations;
      } else {
        return Fail(cursor_.IsAt('N') ? QueryStep::kNot : QueryStep::kTerm, start);
      }
      ++nested_;
    }
  }

  bool ParseLeaf() {
    QueryNode leaf{QueryNodeKind::kPresent, {}, {}};
    if (!ParseBracket(QueryStep::kOpeningBracket, leaf.name)) return false;
    cursor_.SkipBlanks();
    if (cursor_.IsAt('E')) return ParseComparison("EQ", QueryStep::kEqual, QueryNodeKind::kEq, leaf);
    if (cursor_.IsAt('N')) return ParseComparison("NE", QueryStep::kNotEqual, QueryNodeKind::kNe, leaf);
    program_.push_back(leaf);
    return true;
  }

  bool ParseComparison(std::string_view word, QueryStep step, QueryNodeKind kind, QueryNode& leaf) {
    if (!cursor_.Take(word)) return Fail(step, cursor_.Position());
    leaf.kind = kind;
    if (!ParseBracket(step, leaf.pattern)) return false;
    program_.push_back(leaf);
    return true;
  }

  // `step` is the one that fails when there is no "<".
  bool ParseBracket(QueryStep step, std::string_view& content) {
    cursor_.SkipBlanks();
    const std::size_t start = cursor_.Position();
    if (!cursor_.Take("<")) return Fail(step, start);
    const auto taken = cursor_.TakeUntil('>');
    if (!taken) return Fail(QueryStep::kClosingBracket, start);
    content = *taken;
    return true;
  }

  // Behind a term: closes all parentheses that end here, and reads the operator before the next term.
  bool ParseWhatFollows() {
    for (;;) {
      FinishTerm();
      cursor_.SkipBlanks();
      const bool isOutermost = expressions_.size() == 1;
      if (cursor_.AtEnd()) {
        return isOutermost ? false : Fail(QueryStep::kClosingParenthesis, expressions_.back().start);
      }
      if (!cursor_.IsAt(')')) return ParseOperator();
      if (isOutermost) return Fail(QueryStep::kEnd, cursor_.Position());
      cursor_.Take(")");
      expressions_.pop_back();
      --nested_;
    }
  }

  bool ParseOperator() {
    static constexpr std::pair<std::string_view, QueryNodeKind> kOperators[] = {
        {"AND", QueryNodeKind::kAnd}, {"OR", QueryNodeKind::kOr}, {"XOR", QueryNodeKind::kXor}};
    for (const auto& [word, kind] : kOperators) {
      if (!cursor_.Take(word)) continue;
      expressions_.back().operation = kind;
      return true;
    }
    return Fail(QueryStep::kOperator, cursor_.Position());
  }

  // The NOTs before a term bind it alone. Two of them cancel each other: no term has more than all records.
  void FinishTerm() {
    Expression& expression = expressions_.back();
    if (expression.negations % 2 != 0) program_.push_back({QueryNodeKind::kNot, {}, {}});
    nested_ -= std::exchange(expression.negations, 0);
    if (expression.operation) program_.push_back({*expression.operation, {}, {}});
    expression.operation.reset();
  }

  Cursor cursor_;
  QueryProgram& program_;
  std::vector<Expression> expressions_;  // each in a term of the one before it
  std::size_t nested_ = 0;               // open parentheses and NOTs
  std::optional<QueryFailure> failure_;
};

}  // namespace

std::optional<QueryFailure> ParseQuery(std::string_view text, QueryProgram& program) {
  return Parser(text, program).Parse();
}

}  // namespace du::internal
