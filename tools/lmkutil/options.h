// The command line.
#ifndef LMKUTIL_OPTIONS_H
#define LMKUTIL_OPTIONS_H

#include <string>
#include <vector>

#include "tools/lmkutil/resources.h"

namespace lmkutil {

enum class Command {
  kPrint,
  kShow,
  kList,
  kCheck,
  kPseudo,
  kExport,
  kImport,
  kDump,
  kExtract,
  kMemory,
  kDoctor,
  kCatalog,
  kQuery,
  kZipCreate,
  kZipList,
  kZipExtract,
  kZipTest
};

struct Options {
  Command command = Command::kPrint;
  std::string text;  // kPrint: what to print, help or version
  // kShow, kList, kPseudo, kImport, kDump, kExtract, kQuery; kCatalog: the folder, or empty
  std::string file;
  std::string tag;                 // kShow
  std::vector<std::string> args;   // kShow
  std::vector<std::string> files;  // kCheck, kExport, kMemory
  std::string query;               // kQuery
  bool json = false;               // kCheck, kQuery
  bool csv = false;                // kQuery
  bool strict = false;             // kCheck
  unsigned longest = 200;          // kCheck: per cent of the English text; 0 for any length
  bool fuzzy = false;              // kImport: fuzzy translations too
  bool hex = false;                // kDump
  unsigned section = 0;            // kExtract: from 1
  std::string out;                 // kPseudo, kExtract, kImport, kCatalog: the file to write, or empty
  bool dot = false;                // kMemory: the graph instead of tables
  std::string svg;                 // kMemory: the file to draw the graph into, or empty
  // kZip...: the archive is `file`, `files` are paths to pack, or members, `out` is the folder to unpack into
  std::vector<std::string> excluded;  // kZipCreate
  std::string catalogue;              // kZipCreate: whose files to pack that `query` selects, or empty
  bool noLimits = false;              // kZipExtract, kZipTest
};

// What the arguments (the first is the program's name) ask for. False, and what is wrong in `error`, when
// they cannot be understood.
bool ParseOptions(const std::vector<std::string>& arguments, const Resources& resources, Options& options,
                  std::string& error);

}  // namespace lmkutil

#endif
