#include "lmkutils/files/internal/temporary_file.h"

#include "lmkutils/files/internal/unique_name.h"

namespace du::internal {

os::SystemError CreateTemporary(os::Tree* directory, std::string_view prefix, CreateInTree create,
                                os::File* file, std::string* name) {
  os::SystemError error = os::kSuccess;
  for (int attempt = 0; attempt < kAttemptsAtUniqueName; ++attempt) {
    *name = MakeUniqueName(prefix);
    error = create(directory, *name, file);
    if (error != os::kErrorAlreadyExists && error != os::kErrorFileExists) break;
  }
  return error;
}

}  // namespace du::internal
