// Files of catalogues: what is written is read again, and nothing else is.
#include "tools/lmkutil/catalogue.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/files/file_reader.h"
#include "lmkutils/files/file_writer.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/testing/random.h"
#include "lmkutils/testing/temp_dir.h"

namespace {

using lmkutil::LoadCatalogue;
using lmkutil::SaveCatalogue;
using lmkutil::Saving;
using Entries = std::vector<std::tuple<unsigned, std::string, std::string>>;

Entries EntriesOf(const du::Dbase& records) {
  Entries entries;
  for (const auto& entry : records.GetAttributes(records.PerformQuery("NOT <>")))
    entries.emplace_back(entry.id, entry.name, entry.value);
  return entries;
}

class CatalogueTest : public testing::Test {
 protected:
  CatalogueTest() {
    for (unsigned id = 0; id < 9; ++id) {
      records_.AddAttribute(id * 3, "path", ("/ä/" + std::to_string(id)).c_str());
      records_.AddAttribute(id * 3, "kind", id % 2 == 0 ? "text" : "binary");
    }
    records_.AddAttribute(0xFFFFFFFFU, "note", "");
    records_.AddAttribute(0xFFFFFFFFU, "note", "again");
  }

  void Save() { ASSERT_EQ(SaveCatalogue(path_, records_), Saving::kDone); }

  // What loading says of these bytes: "" when it takes them.
  std::string Load(const std::string& bytes) {
    du::Dbase loaded;
    loaded.AddAttribute(1U, "left", "over");
    const char* const fault = LoadCatalogue(folder_.Write("any", bytes), loaded);
    if (fault == nullptr) return EntriesOf(loaded) == expected_ ? "" : "other records";
    return EntriesOf(loaded).empty() ? fault : "records in spite of a fault";
  }

  std::size_t FilesInFolder() const {
    const std::u8string native(folder_.Path().begin(), folder_.Path().end());
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(native)) ++count;
    return count;
  }

  lmktest::TempDir folder_{"catalogue ä 日"};
  const std::string path_ = folder_.File("a.lmkcat");
  du::Dbase records_;
  Entries expected_;
};

TEST_F(CatalogueTest, ComesBackAsItWasSaved) {
  lmktest::Random random(71);
  for (const unsigned count : {0U, 1U, 5000U, 9000U}) {
    du::Dbase records;
    for (unsigned i = 0; i < count; ++i) {
      records.AddAttribute(random() % (2 * count), ("name" + std::to_string(random() % 7)).c_str(),
                           std::string(random() % 40, 'x').c_str());
    }
    ASSERT_EQ(SaveCatalogue(path_, records), Saving::kDone);
    du::Dbase loaded;
    ASSERT_EQ(LoadCatalogue(path_, loaded), nullptr);
    EXPECT_EQ(EntriesOf(loaded), EntriesOf(records));
    EXPECT_EQ(FilesInFolder(), 1U);
  }
}

TEST_F(CatalogueTest, TellsWhatIsNoCatalogue) {
  du::Dbase loaded;
  EXPECT_STREQ(LoadCatalogue(folder_.File("missing"), loaded), "FILE_UNREADABLE");
  EXPECT_STREQ(LoadCatalogue(folder_.Path(), loaded), "FILE_UNREADABLE");
  EXPECT_EQ(Load(""), "CATALOGUE_FOREIGN");
  EXPECT_EQ(Load("LMKCAT\n\n\1\0\0\0"), "CATALOGUE_FOREIGN");
  Save();
  std::string bytes = folder_.Read("a.lmkcat");
  bytes[8] = 2;
  EXPECT_EQ(Load(bytes), "CATALOGUE_NEWER");
}

TEST_F(CatalogueTest, IsRefusedWhenCutOrLongerOrChanged) {
  Save();
  expected_ = EntriesOf(records_);
  const std::string bytes = folder_.Read("a.lmkcat");
  ASSERT_EQ(Load(bytes), "");
  for (std::size_t size = 12; size < bytes.size(); ++size)
    ASSERT_EQ(Load(bytes.substr(0, size)), "CATALOGUE_DAMAGED");
  EXPECT_EQ(Load(bytes + '\0'), "CATALOGUE_DAMAGED");
  for (std::size_t at = 12; at < bytes.size(); ++at) {
    std::string changed = bytes;
    changed[at] = static_cast<char>(changed[at] ^ (1 << (at % 8)));
    // Some bytes of a gzip header and trailer say nothing of the data.
    ASSERT_THAT(Load(changed), testing::AnyOf("CATALOGUE_DAMAGED", "")) << at;
  }
}

// A block as the format has it, with a right checksum around any body.
class Forged {
 public:
  explicit Forged(const std::string& path) : file_(du::FileWriter::Construct()) {
    file_->Open(path);
    file_->Write("LMKCAT\r\n", 8);
    file_->Write(1);
    file_->StartCompressedSection();
  }
  Forged& Block(int kind, const std::vector<unsigned>& words, const std::string& text = "") {
    std::string body;
    for (const unsigned word : words) body.append(reinterpret_cast<const char*>(&word), sizeof(word));
    body += text;
    std::uint32_t checksum = 0xFFFFFFFFU;  // CRC-32, RFC 1952
    for (const char c : body) {
      checksum ^= static_cast<unsigned char>(c);
      for (int bit = 0; bit < 8; ++bit) checksum = (checksum >> 1) ^ ((checksum & 1) != 0 ? 0xEDB88320U : 0);
    }
    file_->Write(kind);
    file_->Write(static_cast<int>(body.size()));
    file_->Write(static_cast<int>(~checksum));
    file_->Write(body.data(), static_cast<unsigned>(body.size()));
    return *this;
  }
  void Close() {
    file_->EndCompressedSection();
    file_->Close();
  }

 private:
  du::SmartPtr<du::FileWriter> file_;
};

TEST_F(CatalogueTest, RefusesLiesBehindRightChecksums) {
  // Texts: 1 "a" (one byte, padded in the table of words by the next ones being behind it).
  const std::vector<unsigned> oneText = {1, 4, 0x64636261};  // "abcd"
  const auto with = [&](std::vector<unsigned> more) {
    std::vector<unsigned> words = oneText;
    words.insert(words.end(), more.begin(), more.end());
    return words;
  };
  struct Case {
    std::vector<unsigned> records;
    std::vector<unsigned> end;
    bool isGood;
  };
  const Case cases[] = {
      {with({1, 1, 1, 7, 1}), {1, 1, 0}, true},
      {with({1, 1, 1, 7, 0}), {1, 1, 0}, true},            // an empty value
      {with({1, 2, 1, 7, 1}), {1, 1, 0}, false},           // no such name
      {with({1, 1, 1, 7, 2}), {1, 1, 0}, false},           // no such value
      {with({1, 1, 0x7FFFFFFF, 7, 1}), {1, 1, 0}, false},  // more entries than there are
      {with({2, 1, 1, 7, 1}), {1, 1, 0}, false},           // one more column than there is
      {with({0xFFFFFFFF}), {1, 0, 0}, false},
      {with({1, 1, 1, 7, 1, 9}), {1, 1, 0}, false},  // something behind the last column
      {with({1, 1, 1, 7, 1}), {2, 1, 0}, false},     // other totals
      {with({1, 1, 1, 7, 1}), {1, 2, 0}, false},
      {with({1, 1, 1, 7, 1}), {1, 1, 1}, false},
      {with({1, 1, 1, 7, 1}), {1, 1, 0, 0}, false},
      {{0xFFFFFFFF, 4, 0x64636261}, {1, 0, 0}, false},  // more texts than there are
      {{1, 0xFFFFFFFF, 0x64636261}, {1, 0, 0}, false},  // a text longer than the block
      {{}, {0, 0, 0}, false},
  };
  for (const Case& c : cases) {
    Forged(path_).Block(1, c.records).Block(0, c.end).Close();
    du::Dbase loaded;
    EXPECT_EQ(LoadCatalogue(path_, loaded) == nullptr, c.isGood) << testing::PrintToString(c.records);
    EXPECT_EQ(EntriesOf(loaded).empty(), !c.isGood);
  }
  du::Dbase loaded;
  Forged(path_).Block(1, with({0})).Close();
  EXPECT_STREQ(LoadCatalogue(path_, loaded), "CATALOGUE_DAMAGED");  // no end
  Forged(path_).Block(2, {}).Block(0, {0, 0, 0}).Close();
  EXPECT_STREQ(LoadCatalogue(path_, loaded), "CATALOGUE_DAMAGED");  // a kind that there is not
}

// Whatever fails while it is saved, the old catalogue is what it was, and nothing else is left.
TEST_F(CatalogueTest, LeavesTheOldOneWhenSavingFails) {
  using os::fault::Call;
  Save();
  const std::string old = folder_.Read("a.lmkcat");
  du::Dbase others;
  for (unsigned id = 0; id < 20000; ++id) others.AddAttribute(id, "path", std::to_string(id * 7919).c_str());
  struct Case {
    Call call;
    os::fault::Plan plan;
    Saving saving;
  };
  const os::SystemError full = os::kErrorDiskFull;
  for (const Case& c : {Case{Call::kFileWrite, {.error = full}, Saving::kFailed},
                        Case{Call::kFileWrite, {.first = 2, .error = full, .cutTo = 100}, Saving::kFailed},
                        Case{Call::kFileClose, {.error = full}, Saving::kFailed},
                        Case{Call::kDirectoryMake, {.count = os::fault::kForEver}, Saving::kFailed},
                        Case{Call::kInterruptAsked, {}, Saving::kInterrupted},
                        Case{Call::kInterruptAsked, {.first = 3}, Saving::kInterrupted},
                        Case{Call::kInterruptAsked, {.first = 6}, Saving::kInterrupted}}) {
    {
      const os::fault::Arming arming(c.call, c.plan);
      EXPECT_EQ(SaveCatalogue(path_, others), c.saving);
    }
    EXPECT_EQ(folder_.Read("a.lmkcat"), old);
    EXPECT_EQ(FilesInFolder(), 1U);
  }
  EXPECT_EQ(SaveCatalogue(folder_.File("missing") + "/a", others), Saving::kFailed);
  EXPECT_EQ(SaveCatalogue(folder_.Path(), others), Saving::kFailed);
  EXPECT_EQ(SaveCatalogue(path_, others), Saving::kDone);
}

}  // namespace
