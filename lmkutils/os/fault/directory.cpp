#include "lmkutils/os/fault/directory.h"

#include <utility>

#include "lmkutils/os/directory.h"

namespace os {

std::uint32_t RealCurrentDirectory(std::string& out) noexcept;

namespace fault {
namespace {
constinit PretendCurrentDirectory* pretended = nullptr;
}  // namespace

PretendCurrentDirectory::PretendCurrentDirectory(std::string path, std::uint32_t error)
    : path_(std::move(path)), error_(error) {
  pretended = this;
}

PretendCurrentDirectory::~PretendCurrentDirectory() {
  pretended = nullptr;
}

std::uint32_t AnswerCurrentDirectory(std::string& out) {
  if (!pretended) return RealCurrentDirectory(out);
  ++pretended->asked_;
  out = pretended->error_ == 0 ? pretended->path_ : std::string();
  return pretended->error_;
}

}  // namespace fault

std::uint32_t CurrentDirectory(std::string& out) noexcept {
  return fault::AnswerCurrentDirectory(out);
}

}  // namespace os
