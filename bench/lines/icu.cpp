#include "bench/lines/rows.h"
#include <unicode/ustdio.h>
#include <unicode/ustring.h>

namespace bench {
namespace {

struct Utf16 {
  static void Read(const std::string& path, Sum& sum) {
    UFILE* const in = u_fopen(path.c_str(), "rb", nullptr, "UTF-16");
    UChar line[256];
    char utf8[3 * 256];
    while (u_fgets(line, 256, in) != nullptr) {
      int32_t size = 0;
      UErrorCode error = U_ZERO_ERROR;
      u_strToUTF8(utf8, sizeof(utf8), &size, line, -1, &error);
      sum.Add({utf8, static_cast<std::size_t>(size - 1)});
    }
    u_fclose(in);
  }
};

const bool registered = (AddUtf16<Utf16>("ICU"), true);

}  // namespace
}  // namespace bench
