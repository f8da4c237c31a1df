// Gives every file of a corpus folder to a fuzz target. What the target finds ends the process.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " CORPUS-FOLDER\n";
    return 2;
  }
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (file.bad() || bytes.size() != entry.file_size()) {
      std::cerr << "cannot read " << entry.path() << '\n';
      return 1;
    }
    // Named before, so that a crash tells which one it was.
    std::cout << entry.path().filename() << std::endl;
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++count;
  }
  std::cout << count << " inputs\n";
  return count == 0 ? 1 : 0;
}
