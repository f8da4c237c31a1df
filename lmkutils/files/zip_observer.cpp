#include "lmkutils/files/zip_observer.h"

namespace du {

ZipObserver::~ZipObserver() = default;

bool ZipObserver::Progress(const std::string& /*member*/, std::uint64_t /*bytes*/) {
  return true;
}

void ZipObserver::Problem(ZipProblem /*problem*/, const std::string& /*name*/) {}

}  // namespace du
