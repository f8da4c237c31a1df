// Any bytes as a catalogue: as the file itself, or behind a byte that says so as what is in its compressed
// section, or as the body of one block of records. What is taken must be the same when it is saved and loaded
// again.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <string>
#include <string_view>

#include "tools/lmkutil/catalogue.h"
#include "tools/lmkutil/catalogue_format.h"
#include <zlib.h>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/file_writer.h"

namespace {

void Require(bool condition, const char* what) {
  if (condition) return;
  std::cerr << what << '\n';
  std::abort();
}

// One file for all inputs of the process.
const std::string& Path() {
  static const std::string path = [] {
    const auto name = "lmk-catalogue-fuzzer-" + std::to_string(std::random_device()());
    const std::u8string text = (std::filesystem::temp_directory_path() / name).u8string();
    return std::string(text.begin(), text.end());
  }();
  return path;
}

void Put(du::FileWriter& file, std::string_view bytes) {
  file.Write(bytes.data(), static_cast<unsigned>(bytes.size()));
}

// With a right checksum: a fuzzer does not guess it.
void PutBlock(du::FileWriter& file, int kind, std::string_view body) {
  const auto* const bytes = reinterpret_cast<const Bytef*>(body.data());
  file.Write(kind);
  file.Write(static_cast<int>(body.size()));
  file.Write(static_cast<int>(crc32(0, bytes, static_cast<uInt>(body.size()))));
  Put(file, body);
}

enum Mode { kFile, kSection, kRecords, kModes };

void WriteFile(Mode mode, std::string_view input) {
  constexpr std::size_t kEndSize = 12;
  const auto file = du::FileWriter::Construct();
  Require(file->Open(Path(), lmkutil::catalogue::kEndian), "cannot open");
  if (mode == kFile) {
    Put(*file, input);
  } else {
    Put(*file, lmkutil::catalogue::kMagic);
    file->Write(lmkutil::catalogue::kVersion);
    file->StartCompressedSection();
    if (mode == kSection) {
      Put(*file, input);
    } else {
      const std::size_t end = input.size() - std::min(input.size(), kEndSize);
      PutBlock(*file, lmkutil::catalogue::kRecords, input.substr(0, end));
      PutBlock(*file, lmkutil::catalogue::kEnd, input.substr(end));
    }
  }
  Require(file->Close(), "cannot write");
}

// Everything, in the order of a database.
std::string Listing(const du::Dbase& records) {
  std::string text;
  for (const auto& entry : records.GetAttributes(records.PerformQuery("NOT <>")))
    text += std::to_string(entry.id) + '=' + std::string(entry.name) + '=' + std::string(entry.value) + '\n';
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  WriteFile(static_cast<Mode>(data[0] % kModes), {reinterpret_cast<const char*>(data) + 1, size - 1});
  du::Dbase records;
  if (lmkutil::LoadCatalogue(Path(), records) == nullptr) {
    du::Dbase again;
    Require(lmkutil::SaveCatalogue(Path(), records) == lmkutil::Saving::kDone, "cannot save");
    Require(lmkutil::LoadCatalogue(Path(), again) == nullptr, "cannot load what was saved");
    Require(Listing(again) == Listing(records), "other records");
  } else {
    Require(Listing(records).empty(), "records in spite of a fault");
  }
  du::FileSystem::Unlink(Path().c_str(), true);
  return 0;
}
