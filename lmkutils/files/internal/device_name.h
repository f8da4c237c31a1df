// Names of files that Windows takes for devices.
#ifndef LMKUTILS_FILES_INTERNAL_DEVICE_NAME_H
#define LMKUTILS_FILES_INTERNAL_DEVICE_NAME_H

#include <cstddef>
#include <string>

namespace du::internal {

// How much of the name is a device's (con, nul, com1, ... in any case); 0 when it is none. It is one whatever
// follows a '.', and with blanks before that.
std::size_t DeviceLength(const std::string& name);

}  // namespace du::internal

#endif
