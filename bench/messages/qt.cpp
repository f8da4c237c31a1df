#include <QString>
#include <QTranslator>

#include "bench/messages/rows.h"

namespace bench {
namespace {

// The file is compiled: it is mapped into memory and searched where it lies, nothing is parsed.
void Load(benchmark::State& state) {
  const QString path = QString::fromStdString(MessageFile("messages.qm"));
  for (auto _ : state) {
    QTranslator translator;
    if (!translator.load(path)) {
      state.SkipWithError("cannot load messages.qm");
      break;
    }
    benchmark::DoNotOptimize(&translator);
  }
}

class Qt {
 public:
  Qt() { translator_.load(QString::fromStdString(MessageFile("messages.qm"))); }
  void Write(std::ostream& out, const char* tag) {
    const QByteArray text = Text(tag).toUtf8();
    out.write(text.data(), text.size());
  }
  std::string Build(const char* tag) { return Text(tag).toStdString(); }

 private:
  QString Text(const char* tag) const { return translator_.translate("bench", tag).arg(first_, second_); }
  QTranslator translator_;
  QString first_ = kFirst, second_ = kSecond;
};

const bool registered = (AddSingle(kLoad, std::string(kOtherWork) + "QTranslator", Load),
                         AddLoadedMessageRows<Qt>("QTranslator and QString::arg"), true);

}  // namespace
}  // namespace bench
