// One compiled message of a string-resource file.
#ifndef LMKUTILS_L10N_INTERNAL_ENTRY_H
#define LMKUTILS_L10N_INTERNAL_ENTRY_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "lmkutils/l10n/internal/arena.h"
#include "lmkutils/l10n/internal/message_text.h"

namespace du::internal {

// Lies in an arena as one piece, so that building a message touches no other memory: this head, the segments,
// the text and the tag, each of these two with a NUL behind it.
//
// Tag and text become symbols only when somebody asks for them as such (du::Lmtrb::AddAllStrings): building
// messages never needs that, and two new symbols cost more than all the rest of loading a message.
class Entry {
 public:
  // `text` is unescaped; `segments` and `argumentCount` are what CutAtPlaceholders made of it. Throws
  // std::bad_alloc.
  static const Entry* Create(Arena& arena, std::string_view tag, std::string_view text,
                             const std::vector<Segment>& segments, std::int32_t argumentCount);

  std::string_view Tag() const noexcept { return {TextBegin() + textLength_ + 1, tagLength_}; }
  std::string_view Text() const noexcept { return {TextBegin(), textLength_}; }
  std::int32_t ArgumentCount() const noexcept { return argumentCount_; }
  // The last one is the one without an argument.
  const Segment* Segments() const noexcept { return reinterpret_cast<const Segment*>(this + 1); }

 private:
  Entry() noexcept = default;

  const char* TextBegin() const noexcept { return reinterpret_cast<const char*>(Segments() + segmentCount_); }

  std::uint32_t tagLength_ = 0;
  std::uint32_t textLength_ = 0;
  std::uint32_t segmentCount_ = 0;
  std::int32_t argumentCount_ = 0;
};

}  // namespace du::internal

#endif
