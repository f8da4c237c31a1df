#include <QDataStream>
#include <QFile>

#include "bench/binary/rows.h"

namespace bench {
namespace {

QDataStream::ByteOrder Order(bool swapped) {
  return swapped ? QDataStream::BigEndian : QDataStream::LittleEndian;
}

// Arrays value by value: the stream knows only its own form of them, with a count in front.
struct DataStream {
  class Input {
   public:
    Input(const std::string& path, bool swapped) : file_(QString::fromStdString(path)) {
      file_.open(QIODevice::ReadOnly);
      stream_.setDevice(&file_);
      stream_.setByteOrder(Order(swapped));
    }
    template <class T>
    bool Read(T& value) {
      stream_ >> value;
      return stream_.status() == QDataStream::Ok;
    }
    template <class T>
    bool Read(T* values, std::size_t count) {
      for (std::size_t i = 0; i < count; ++i) stream_ >> values[i];
      return stream_.status() == QDataStream::Ok;
    }

   private:
    QFile file_;
    QDataStream stream_;
  };

  class Output {
   public:
    Output(const std::string& path, bool swapped) : file_(QString::fromStdString(path)) {
      file_.open(QIODevice::WriteOnly);
      stream_.setDevice(&file_);
      stream_.setByteOrder(Order(swapped));
    }
    template <class T>
    bool Write(const T& value) {
      stream_ << value;
      return true;
    }
    template <class T>
    bool Write(const T* values, std::size_t count) {
      for (std::size_t i = 0; i < count; ++i) stream_ << values[i];
      return stream_.status() == QDataStream::Ok;
    }
    bool Close() {
      file_.close();
      return stream_.status() == QDataStream::Ok && file_.error() == QFile::NoError;
    }

   private:
    QFile file_;
    QDataStream stream_;
  };
};

const bool registered = (AddRows<DataStream>("QDataStream"), true);

}  // namespace
}  // namespace bench
