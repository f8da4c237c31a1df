#include "bench/sections/rows.h"

#include "lmkutils/files/file_reader.h"
#include "lmkutils/files/file_writer.h"

namespace bench {
namespace {

struct Ours {
  static bool Pack(const std::string& plain, const std::string& path, bool best) {
    const auto writer = du::FileWriter::Construct();
    const auto size = static_cast<unsigned>(plain.size());
    return writer->Open(path, 0, kBufferSize) &&
           writer->StartCompressedSection(best ? du::BEST_COMPRESSION : du::DEFAULT_COMPRESSION) &&
           writer->Write(plain.data(), size) == size && writer->EndCompressedSection() && writer->Close();
  }
  static bool Unpack(const std::string& path, std::string& plain) {
    du::FileReader reader;
    const auto size = static_cast<unsigned>(plain.size());
    return reader.Open(path, 0, kBufferSize) && reader.StartCompressedSection() &&
           reader.Read(plain.data(), size) == size && reader.EndCompressedSection(true);
  }
};

const bool registered = (AddRows<Ours>(kOurs), true);

}  // namespace
}  // namespace bench
