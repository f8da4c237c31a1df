#ifndef LMKUTILS_PLATFORM_LM_INFO_H
#define LMKUTILS_PLATFORM_LM_INFO_H

#include <string>

#include "lmkutils/export.h"

namespace dp {

// Where the library is installed, and what lies beside it.
//
//   <root>/bin/liblmkutils.dll           Windows
//   <root>/lib/liblmkutils.so            Linux; lib64 and lib/<machine> too
//   <root>/share/lumora/                 the data directory
//   <root>/share/lumora/lmtrace/lmtrace.xsl   the style sheet that XML traces name
//
// The root is found from the file that the library was loaded from: it is the directory above the library's,
// or the one above that, whichever holds share/lumora; the first when neither does. A host application that
// keeps the data elsewhere says so by SetInstallationRoot before anything asks for it.
//
// One object for the process, made on first use, with longevity 0xFFFFFFFC: it goes before the symbols, and
// what it answers never changes, so that any thread may ask.
class LMK_API LmInfo {
 public:
  // Throws DeadReference after its end, std::bad_alloc.
  static LmInfo& Instance();

  // Names the root instead. False, and without effect, when `path` is not absolute, holds a NUL byte, or when
  // the object has been made already. The directory need not exist. UTF-8. Any thread.
  static bool SetInstallationRoot(const std::string& path);

  // System and processor that the library was built for: "windows-x86", "windows-x64", "linux-x64".
  static const char* GetPlatformName() noexcept;

  LmInfo(const LmInfo&) = delete;
  LmInfo& operator=(const LmInfo&) = delete;

  // Absolute paths, UTF-8, with the separators of the target and none at the end. Empty when the system did
  // not tell where the library is.
  const std::string& GetInstallationRoot() const noexcept { return root_; }
  const std::string& GetDataDirectory() const noexcept { return dataDirectory_; }

  // The path of a file of the installation, whether it exists or not: `relativeName` ("/lmtrace/lmtrace.xsl",
  // with or without the leading separator) in the data directory. Empty when there is no data directory.
  std::string GetDataFile(const std::string& relativeName) const;

  // GetDataFile of the style sheet for XML traces.
  std::string GetTraceStyleSheet() const;

 private:
  struct Traits;

  explicit LmInfo(std::string root);
  ~LmInfo() = default;

  std::string root_;
  std::string dataDirectory_;
};

LMK_API unsigned GetLongevity(LmInfo*) noexcept;

}  // namespace dp

#endif
