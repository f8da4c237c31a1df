#include "bench/buffers/rows.h"

#include "lmkutils/files/input_buffer.h"
#include "lmkutils/files/output_buffer.h"

namespace bench {
namespace {

struct Ours {
  class Writer {
   public:
    explicit Writer(bool bigEndian) : buffer_(bigEndian ? 1 : 0, 0) {}
    void Rewind() { buffer_.Reset(); }
    void Put(int value) { buffer_.Put(value); }
    void Put(const double* values, unsigned count) { buffer_.Put(values, count); }

   private:
    du::OutputBuffer buffer_;
  };
  class Reader {
   public:
    Reader(bool bigEndian, const std::string& block)
        : buffer_(reinterpret_cast<const unsigned char*>(block.data()), static_cast<unsigned>(block.size()),
                  bigEndian ? 1 : 0) {}
    void Rewind() { buffer_.SetPosition(0); }
    void Get(int& value) { buffer_.Get(value); }
    void Get(double* values, unsigned count) { buffer_.Get(values, count); }

   private:
    du::InputBuffer buffer_;
  };
};

const bool registered = (AddBufferRows<Ours>(kOurs), true);

}  // namespace
}  // namespace bench
