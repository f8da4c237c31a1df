#include <QString>
#include <QTranslator>

#include "bench/localizer/rows.h"

namespace bench {
namespace {

std::string Link(int number) {
  const std::string path = LMK_BENCH_LOCALIZER "/messages" + std::to_string(number) + ".qm";
  LinkFile(LMK_BENCH_LOCALIZER "/messages.qm", path);
  return path;
}

// The file is compiled: it is mapped into memory and searched where it lies, nothing is parsed.
class Qt {
 public:
  Qt() : Qt(LMK_BENCH_LOCALIZER "/messages.qm") {}
  explicit Qt(const std::string& path) { translator_.load(QString::fromStdString(path)); }

  std::string Plain(const char* tag) const { return translator_.translate("bench", tag).toStdString(); }
  std::string Filled(const char* tag, const char* first, const char* second) const {
    return translator_.translate("bench", tag)
        .arg(QString::fromUtf8(first), QString::fromUtf8(second))
        .toStdString();
  }

 private:
  QTranslator translator_;
};

const bool registered = (AddMessageRows<Qt>("QTranslator and QString::arg"),
                         AddFirstRow<Qt>("QTranslator and QString::arg", Link), true);

}  // namespace
}  // namespace bench
