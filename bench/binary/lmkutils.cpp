#include "bench/binary/rows.h"

#include "lmkutils/files/file_reader.h"
#include "lmkutils/files/file_writer.h"

namespace bench {
namespace {

struct Ours {
  class Input {
   public:
    Input(const std::string& path, bool swapped) { reader_.Open(path, swapped ? 1 : 0, kBufferSize); }
    template <class T>
    bool Read(T& value) {
      return reader_.Read(value);
    }
    template <class T>
    bool Read(T* values, std::size_t count) {
      return reader_.Read(values, static_cast<unsigned>(count)) == count;
    }

   private:
    du::FileReader reader_;
  };

  class Output {
   public:
    Output(const std::string& path, bool swapped) { writer_->Open(path, swapped ? 1 : 0, kBufferSize); }
    template <class T>
    bool Write(const T& value) {
      return writer_->Write(value);
    }
    template <class T>
    bool Write(const T* values, std::size_t count) {
      return writer_->Write(values, static_cast<unsigned>(count)) == count;
    }
    bool Close() { return writer_->Close(); }

   private:
    const du::SmartPtr<du::FileWriter> writer_ = du::FileWriter::Construct();
  };
};

const bool registered = (AddRows<Ours>(kOurs), true);

}  // namespace
}  // namespace bench
