#include "lmkutils/os/win32/private_access.h"

#include <sddl.h>

namespace os::win32 {

PrivateAccess::PrivateAccess() noexcept {
  constexpr const wchar_t* kOwnerAlone = L"D:P(A;OICI;FA;;;OW)(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)";
  attributes_.nLength = sizeof attributes_;
  attributes_.bInheritHandle = FALSE;
  ConvertStringSecurityDescriptorToSecurityDescriptorW(kOwnerAlone, SDDL_REVISION_1,
                                                       &attributes_.lpSecurityDescriptor, nullptr);
}

PrivateAccess::~PrivateAccess() {
  LocalFree(attributes_.lpSecurityDescriptor);
}

SECURITY_ATTRIBUTES* PrivateAccess::Attributes() const noexcept {
  return attributes_.lpSecurityDescriptor != nullptr ? &attributes_ : nullptr;
}

}  // namespace os::win32
