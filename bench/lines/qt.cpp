#include <QFile>
#include <QTextStream>

#include "bench/lines/rows.h"

namespace bench {
namespace {

// Lines are decoded into UTF-16 in any case, and handed over as that.
struct Text {
  static void Read(const std::string& path, Sum& sum) {
    QFile file(QString::fromStdString(path));
    file.open(QIODevice::ReadOnly);
    QTextStream in(&file);
    in.setCodec("UTF-8");
    for (QString line; in.readLineInto(&line);) {
      sum.Add({reinterpret_cast<const char*>(line.constData()), static_cast<std::size_t>(line.size())});
    }
  }
};

struct Utf16 {
  static void Read(const std::string& path, Sum& sum) {
    QFile file(QString::fromStdString(path));
    file.open(QIODevice::ReadOnly);
    QTextStream in(&file);
    in.setAutoDetectUnicode(true);
    for (QString line; in.readLineInto(&line);) {
      const QByteArray utf8 = line.toUtf8();
      sum.Add({utf8.constData(), static_cast<std::size_t>(utf8.size())});
    }
  }
};

const bool registered = (AddText<Text>("QTextStream"), AddUtf16<Utf16>("QTextStream"), true);

}  // namespace
}  // namespace bench
