#include "lmkutils/data/internal/value_matcher.h"

#include "lmkutils/data/internal/pointer_hash.h"
#include "lmkutils/text/encoding.h"

namespace du::internal {
namespace {

constexpr unsigned kFirstBits = 8;

// So many values are looked at before the table of verdicts is kept or given up. Of D different values in
// random order about kSample * kSample / (2 * D) come back in it (the birthday problem); the table pays when
// each value comes back kWorthwhile times in all.
constexpr std::size_t kSample = 1024;
constexpr std::size_t kWorthwhile = 8;

// Texts lie on 4 bytes at least; the empty one has no address.
std::uintptr_t KeyOf(const char* text) noexcept {
  constexpr std::uintptr_t kEmptyText = 2;
  return text == nullptr ? kEmptyText : reinterpret_cast<std::uintptr_t>(text);
}

bool IsSpecial(char c) noexcept {
  return std::string_view("\\^$.[]|()?*+{}").find(c) != std::string_view::npos;
}

bool IsAsciiPunctuation(char c) noexcept {
  return (c >= '!' && c <= '/') || (c >= ':' && c <= '@') || (c >= '[' && c <= '`') || (c >= '{' && c <= '~');
}

std::string_view TextOf(const Symbol& value) noexcept {
  return {value.safe_c_str(), value.length()};
}

}  // namespace

std::optional<std::string> LiteralOf(std::string_view pattern) {
  std::string literal;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '\\' && i + 1 < pattern.size() && IsAsciiPunctuation(pattern[i + 1])) {
      ++i;
    } else if (IsSpecial(pattern[i])) {
      return std::nullopt;
    }
    literal += pattern[i];
  }
  if (!CheckUtf8(literal)) return std::nullopt;
  return literal;
}

VerdictMemo::VerdictMemo() : slots_(std::size_t{1} << kFirstBits), bits_(kFirstBits) {}

VerdictMemo::Verdict VerdictMemo::Find(const char* text) const noexcept {
  const std::uintptr_t key = KeyOf(text);
  const std::uintptr_t found = slots_[SlotOf(key)];
  return found == 0 ? Verdict::kUnknown : static_cast<Verdict>(found & 1);
}

void VerdictMemo::Add(const char* text, bool matches) {
  if (++used_ > slots_.size() / 2) Grow();
  const std::uintptr_t key = KeyOf(text);
  slots_[SlotOf(key)] = key | (matches ? 1U : 0U);
}

// The slot with the key, or the free one where it belongs.
std::size_t VerdictMemo::SlotOf(std::uintptr_t key) const noexcept {
  std::size_t slot = HashPointer(key, bits_);
  while (slots_[slot] != 0 && (slots_[slot] & ~std::uintptr_t{1}) != key)
    slot = (slot + 1) & (slots_.size() - 1);
  return slot;
}

void VerdictMemo::Grow() {
  std::vector<std::uintptr_t> before(slots_.size() * 2);
  before.swap(slots_);
  ++bits_;
  for (const std::uintptr_t slot : before) {
    if (slot != 0) slots_[SlotOf(slot & ~std::uintptr_t{1})] = slot;
  }
}

ValueMatcher::ValueMatcher(std::string_view pattern) {
  if (const std::optional<std::string> literal = LiteralOf(pattern)) {
    isLiteral_ = true;
    literal_ = FindText(*literal);
    isUnheardOf_ = literal_ == nullptr && !literal->empty();
    return;
  }
  regex_.emplace(pattern);
  matcher_.emplace(*regex_);
}

// Which values match is as unpredictable as can be, so that the ids are written without a branch on it.
std::size_t ValueMatcher::Select(std::span<const unsigned> ids, std::span<const Symbol> values, bool wanted,
                                 unsigned* selected) {
  std::size_t count = 0;
  if (isLiteral_) {
    for (std::size_t i = 0; i < ids.size(); ++i) {
      selected[count] = ids[i];
      count += (values[i].c_str() == literal_) == wanted;
    }
    return count;
  }
  for (std::size_t i = 0; i < ids.size(); ++i) {
    selected[count] = ids[i];
    count += Matches(values[i]) == wanted;
  }
  return count;
}

bool ValueMatcher::Matches(const Symbol& value) {
  if (!usesMemo_) return matcher_->Matches(TextOf(value));
  const VerdictMemo::Verdict verdict = memo_.Find(value.c_str());
  if (++seen_ == kSample) {
    const std::size_t repeated = kSample - memo_.Size();
    usesMemo_ = repeated >= kSample * kSample / 2 * kWorthwhile / expected_;
  }
  if (verdict != VerdictMemo::Verdict::kUnknown) return verdict == VerdictMemo::Verdict::kMatch;
  const bool matches = matcher_->Matches(TextOf(value));
  memo_.Add(value.c_str(), matches);
  return matches;
}

}  // namespace du::internal
