#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

#include "bench/binary/rows.h"
#include "bench/binary/swap.h"

namespace bench {
namespace {

class Folder {
 public:
  Folder() {
    std::string name = (std::filesystem::temp_directory_path() / "lmk-bench-binary-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
    path = name;
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::string path;
};

const Folder& TheFolder() {
  static const Folder folder;
  return folder;
}

template <class T>
std::string MakeFile(const char* name, bool swapped) {
  std::vector<T> values = Values<T>();
  for (T& value : values) value = swapped ? Swapped(value) : value;
  const std::string path = TheFolder().path + "/" + name + (swapped ? ".swapped" : "");
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(values.data()),
            static_cast<std::streamsize>(values.size() * sizeof(T)));
  if (!out.flush()) throw std::runtime_error("cannot write " + path);
  return path;
}

template <class T>
std::vector<T> MakeValues() {
  std::mt19937 random(1);
  std::vector<T> values(kFileSize / sizeof(T));
  for (T& value : values) value = static_cast<T>(static_cast<int>(random())) / 3;
  return values;
}

}  // namespace

template <class T>
const std::vector<T>& Values() {
  static const std::vector<T> values = MakeValues<T>();
  return values;
}
template const std::vector<int>& Values<int>();
template const std::vector<double>& Values<double>();

template <>
const std::string& FileOf<int>(bool swapped) {
  static const std::string native = MakeFile<int>("ints", false), other = MakeFile<int>("ints", true);
  return swapped ? other : native;
}
template <>
const std::string& FileOf<double>(bool swapped) {
  static const std::string native = MakeFile<double>("doubles", false),
                           other = MakeFile<double>("doubles", true);
  return swapped ? other : native;
}

const std::string& OutputFile() {
  static const std::string path = TheFolder().path + "/output";
  return path;
}

}  // namespace bench
