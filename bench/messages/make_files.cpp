// make_files FOLDER: the messages in the formats of the contenders: messages.lmtrb, messages.ts, messages.po.
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include "bench/messages/corpus.h"

namespace {

std::string Escaped(const std::string& text, char special, const std::string& replacement) {
  std::string result;
  for (const char c : text) result += c == special ? replacement : std::string(1, c);
  return result;
}

std::ofstream Open(const std::string& path) {
  std::ofstream out(path, std::ios::binary);
  if (!out) throw std::runtime_error("cannot write " + path);
  return out;
}

void WriteFiles(const std::string& folder) {
  std::ofstream lmtrb = Open(folder + "/messages.lmtrb");
  std::ofstream ts = Open(folder + "/messages.ts");
  std::ofstream po = Open(folder + "/messages.po");
  ts << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.1\" language=\"en\">\n"
        "<context><name>bench</name>\n";
  po << "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n\n";
  for (const auto& [tag, text] : bench::MakeMessages()) {
    lmtrb << tag << ".value=" << Escaped(text, '"', "\\\"") << '\n';
    ts << "<message><source>" << tag << "</source><translation>"
       << Escaped(bench::WithArguments(text, "%1", "%2"), '"', "&quot;") << "</translation></message>\n";
    po << "msgid \"" << tag << "\"\nmsgstr \""
       << Escaped(bench::WithArguments(text, "%1$s", "%2$s"), '"', "\\\"") << "\"\n\n";
  }
  ts << "</context>\n</TS>\n";
  for (std::ofstream* out : {&lmtrb, &ts, &po}) {
    if (!out->flush()) throw std::runtime_error("cannot write into " + folder);
  }
}

}  // namespace

int main(int count, char** arguments) try {
  if (count != 2) throw std::runtime_error("usage: make_files FOLDER");
  WriteFiles(arguments[1]);
  return 0;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
