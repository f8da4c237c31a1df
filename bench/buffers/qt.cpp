#include <QBuffer>
#include <QDataStream>

#include "bench/buffers/rows.h"

namespace bench {
namespace {

QDataStream::ByteOrder Order(bool bigEndian) {
  return bigEndian ? QDataStream::BigEndian : QDataStream::LittleEndian;
}

// Has no arrays of numbers: they are put and got one by one, in a loop of ours.
struct Qt {
  class Writer {
   public:
    explicit Writer(bool bigEndian) {
      buffer_.open(QIODevice::ReadWrite);
      stream_.setByteOrder(Order(bigEndian));
    }
    void Rewind() { buffer_.seek(0); }
    void Put(int value) { stream_ << value; }
    void Put(const double* values, unsigned count) {
      for (unsigned i = 0; i < count; ++i) stream_ << values[i];
    }

   private:
    QBuffer buffer_;
    QDataStream stream_{&buffer_};
  };
  class Reader {
   public:
    Reader(bool bigEndian, const std::string& block) {
      buffer_.setData(QByteArray::fromStdString(block));
      buffer_.open(QIODevice::ReadOnly);
      stream_.setByteOrder(Order(bigEndian));
    }
    void Rewind() { buffer_.seek(0); }
    void Get(int& value) { stream_ >> value; }
    void Get(double* values, unsigned count) {
      for (unsigned i = 0; i < count; ++i) stream_ >> values[i];
    }

   private:
    QBuffer buffer_;
    QDataStream stream_{&buffer_};
  };
};

const bool registered = (AddBufferRows<Qt>("QDataStream"), true);

}  // namespace
}  // namespace bench
