// Parsing any text, building it back and parsing that again gives the same value; normalising comes to rest.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

#include "lmkutils/files/file_spec.h"

namespace {

using du::FileSpec;

void Require(bool holds, const char* what, const std::string& text) {
  if (holds) return;
  std::cerr << what << ": <" << text << ">\n";
  std::abort();
}

// The two things that building back is documented to change.
std::string TextThatParsesBack(const std::string& text, const FileSpec& spec) {
  std::string drive;
  std::string base;
  std::string built;
  spec.GetDrive(&drive);
  spec.GetFileBaseName(&base);
  if (drive.starts_with("\\\\") && spec.IsRelative()) {
    spec.GetLocation(&built, false);
    return built;
  }
  spec.GetFileSpec(&built);
  const bool lostDot = text.ends_with('.') && base.find_first_not_of('.') != std::string::npos;
  return lostDot ? built + '.' : built;
}

void CheckRoundTrip(const std::string& text) {
  const FileSpec spec(text);
  Require(FileSpec(TextThatParsesBack(text, spec)) == spec, "not the same after building back", text);

  FileSpec place;
  place.SetLocation(text);
  std::string built;
  for (const bool separator : {false, true}) {
    FileSpec again;
    place.GetLocation(&built, separator);
    again.SetLocation(built);
    const bool serverAlone = place.DirCount() == 0 && place.IsRelative() && separator;
    Require(serverAlone || again == place, "not the same location", text);
  }
}

void CheckDotRemoval(const std::string& text) {
  FileSpec once(text);
  once.RemoveDotAndDotDot();
  FileSpec twice = once;
  twice.RemoveDotAndDotDot();
  Require(once == twice, "normalising does not come to rest", text);
  bool named = false;
  for (auto name = once.DirBegin(); name != once.DirEnd(); ++name) {
    Require(!name->empty() && *name != "." && !(named && *name == ".."), "a step is left", text);
    named = named || *name != "..";
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  CheckRoundTrip(text);
  CheckDotRemoval(text);
  // Two texts in one: a path and the directory to see it from.
  const std::size_t bar = text.find('|');
  if (bar != std::string::npos) FileSpec(text.substr(0, bar)).GetRelativePath(text.substr(bar + 1), true);
  return 0;
}
