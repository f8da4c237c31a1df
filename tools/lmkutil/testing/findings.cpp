#include "tools/lmkutil/testing/findings.h"

namespace lmktest {

Texts Findings(const std::string& json) {
  Texts findings;
  const auto member = [&](const char* name, std::size_t from) {
    const std::size_t start =
        json.find(std::string("\"") + name + "\": ", from) + std::string(name).size() + 4;
    const std::string value = json.substr(start, json.find_first_of(",}", start) - start);
    return value.front() == '"' ? value.substr(1, value.size() - 2) : value;
  };
  for (std::size_t at = json.find("{\"file\""); at != json.npos; at = json.find("{\"file\"", at + 1)) {
    findings.push_back(member("line", at) + ":" + member("column", at) + " " + member("severity", at) + " " +
                       member("id", at));
  }
  return findings;
}

}  // namespace lmktest
