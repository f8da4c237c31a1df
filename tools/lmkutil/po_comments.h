// How the lines of a string-resource file that are no messages travel through a PO file: as translator's
// comments, which editors keep. docs/string-resources.md has the forms.
#ifndef LMKUTIL_PO_COMMENTS_H
#define LMKUTIL_PO_COMMENTS_H

#include <optional>
#include <string>

#include "tools/lmkutil/string_lines.h"

namespace lmkutil {

// The comment for a line that stands before the message of its entry, or, at the end of the file, behind it.
std::string CommentBefore(const StringLine& line);
std::string CommentBehind(const StringLine& line);

// The text of a line "# TEXT" that needs no other form; nothing for other lines.
std::optional<std::string> PlainComment(const StringLine& line);

// The readable comment for "TAG.comment=TEXT" or "TAG.note=TEXT" behind the message TAG; nothing when the
// line is another one, or written in another way.
std::optional<std::string> OwnComment(const StringLine& line, const std::string& tag);

// What a comment stands for in the entry of a tag.
struct CommentedLine {
  enum class Place { kBefore, kBehind, kMessage };

  Place place = Place::kBefore;
  StringLine line;
  bool isOwn = false;  // from OwnComment
};

CommentedLine LineOfComment(const std::string& comment, const std::string& tag);

}  // namespace lmkutil

#endif
