// Pictures of graphs, drawn by Graphviz.
#ifndef LMKUTIL_DRAWING_H
#define LMKUTIL_DRAWING_H

#include <string>

namespace lmkutil {

enum class Drawing { kDone, kNoGraphviz, kUnwritable };

// Draws a graph given in the language of Graphviz into an SVG file (UTF-8 path), which is replaced when it
// exists and left alone when there is no picture. kNoGraphviz also when its program "dot" fails. For a
// program of one thread: the current folder is another one meanwhile. Throws
// std::filesystem::filesystem_error when there is no room for temporary files.
Drawing DrawSvg(const std::string& dot, const std::string& path);

}  // namespace lmkutil

#endif
