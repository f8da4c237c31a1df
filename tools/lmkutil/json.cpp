#include "tools/lmkutil/json.h"

#include "tools/lmkutil/message_lint.h"

#include "lmkutils/text/encoding.h"

namespace lmkutil {

std::string JsonString(std::string_view text) {
  std::string json = "\"";
  for (const char c : du::RepairUtf8(text)) {
    if (c == '"' || c == '\\') {
      json += '\\';
      json += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      json += "\\u00" + HexByte(c);
    } else {
      json += c;
    }
  }
  return json + '"';
}

}  // namespace lmkutil
