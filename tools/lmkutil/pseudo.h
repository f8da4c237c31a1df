// The command "strings pseudo".
#ifndef LMKUTIL_PSEUDO_H
#define LMKUTIL_PSEUDO_H

#include "tools/lmkutil/commands.h"

namespace lmkutil {

// Writes a string-resource file with all its texts pseudo-localised and everything else as it is: loaded, it
// gives the same messages as the original under du::Lmtrb::kPseudoLocalize. To the standard output when no
// file is named.
ExitStatus WritePseudo(const Options& options, const Resources& resources);

}  // namespace lmkutil

#endif
