// The name of this machine in its network.
#ifndef LMKUTILS_OS_HOST_NAME_H
#define LMKUTILS_OS_HOST_NAME_H

#include <string>

namespace os {

// UTF-8; empty when the system does not tell. Throws std::bad_alloc.
std::string HostName();

}  // namespace os

#endif
