// Files as the C run-time library has them: descriptors and streams, which callers of the library share with
// it. Paths are UTF-8 and read as in os/file.h. Nothing opened here is inherited by children.
#ifndef LMKUTILS_OS_DESCRIPTOR_H
#define LMKUTILS_OS_DESCRIPTOR_H

#include <cstdio>

#include "lmkutils/os/file.h"
#include "lmkutils/os/system_error.h"

namespace os {

// The run-time's flags for OpenDescriptor, in its own numbers. Binary is 0 where files are bytes anyway.
extern const int kOpenReadOnly;
extern const int kOpenWriteOnly;
extern const int kOpenReadWrite;
extern const int kOpenAppend;
extern const int kOpenCreate;
extern const int kOpenExclusive;
extern const int kOpenTruncate;
extern const int kOpenBinary;

// The run-time's open: any of its flags, and the mode for a file that is made (the umask applies; of it only
// "the owner may write" means something on Windows). Never a directory. On failure *descriptor is -1, and
// errno tells the same as the result.
SystemError OpenDescriptor(const char* path, int flags, int mode, int* descriptor) noexcept;

// The descriptor is gone whatever the result; an error tells that earlier writes may be lost. -1 does
// nothing.
SystemError CloseDescriptor(int descriptor) noexcept;

// A stream that owns the descriptor from now on, by a mode of fdopen. On failure *stream is null and the
// descriptor still the caller's.
SystemError StreamOfDescriptor(int descriptor, const char* mode, std::FILE** stream) noexcept;

int DescriptorOfStream(std::FILE* stream) noexcept;

// Brings what the stream holds to the file and closes both; they are gone whatever the result.
SystemError CloseStream(std::FILE* stream) noexcept;

// The same open file for the functions of os/file.h; the descriptor stays its owner.
File FileOfDescriptor(int descriptor) noexcept;

}  // namespace os

#endif
