#include "bench/lines/rows.h"

#include "lmkutils/files/file_reader.h"
#include "lmkutils/files/line_reader.h"

namespace bench {
namespace {

struct Bytes {
  static void Read(const std::string& path, Sum& sum) {
    du::FileReader reader;
    reader.Open(path, 0, 65536);
    du::LineReader lines(&reader);
    while (lines.ReadLine()) sum.Add({lines.GetBuffer(), lines.GetSize()});
  }
};

struct Strings {
  static void Read(const std::string& path, Sum& sum) {
    du::FileReader reader;
    reader.Open(path, 0, 65536);
    du::LineReader lines(&reader);
    while (lines.ReadLine()) sum.Add(lines.GetString());
  }
};

const bool registered = (AddText<Bytes>(kOurs), AddUtf16<Strings>(kOurs), true);

}  // namespace
}  // namespace bench
