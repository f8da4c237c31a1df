// Open files as shared objects.
#ifndef LMKUTILS_FILES_FILE_HANDLER_H
#define LMKUTILS_FILES_FILE_HANDLER_H

#include <cstdio>
#include <string>

#include "lmkutils/export.h"
#include "lmkutils/memory/ref_counted.h"

namespace du {

// An open stream of the run-time library together with its descriptor, shared by du::SmartPtr and closed with
// the last of them. One thread at a time uses an object. Who reads or writes through the descriptor leaves
// the stream alone: its buffer would put the bytes out of order.
class LMK_API FileHandler : public RefCounted {
 public:
  FileHandler() noexcept = default;
  FileHandler(const FileHandler&) = delete;
  FileHandler& operator=(const FileHandler&) = delete;
  ~FileHandler() override;

  // Open a file (UTF-8, paths of any length) after closing the one that is open. `flags` and `mode` are those
  // of the run-time library's open, as in FileSystem::lmopen; without them the class decides. False on
  // failure: the handler is closed then, and errno tells why.
  virtual bool Open(const std::string& path, int flags, int mode) = 0;
  virtual bool Open(const std::string& path) = 0;

  bool IsOpen() const noexcept { return stream_ != nullptr; }
  // False when what was written could not be brought to the file, whether the stream's last bytes or the
  // system's. The file is closed all the same. True when none is open.
  bool Close() noexcept;
  // Gives the stream up to the caller, who closes it; null when none is open. The handler is closed then.
  std::FILE* Release() noexcept;

  std::FILE* GetFilePointer() const noexcept { return stream_; }  // null when closed
  int GetFileDescriptor() const noexcept { return descriptor_; }  // -1 when closed

 protected:
  // For derived classes: as Open, by the mode of fopen, or by the flags of open and the mode with which a
  // stream is made of the descriptor.
  // NOLINTBEGIN(bugprone-reserved-identifier): the names are given.
  bool _Open(const std::string& path, const char* mode);
  bool _Open(const std::string& path, int flags, int mode, const char* fdopenMode);
  // NOLINTEND(bugprone-reserved-identifier)

 private:
  std::FILE* stream_ = nullptr;
  int descriptor_ = -1;
};

// For reading bytes: the stream's mode is "rb". Fails for a directory.
class LMK_API ReadFileHandler : public FileHandler {
 public:
  ~ReadFileHandler() override;
  bool Open(const std::string& path, int flags, int mode) override;
  bool Open(const std::string& path) override;
};

// For writing bytes: the stream's mode is "wb", which empties the file. With flags the file is emptied only
// when they say so.
class LMK_API WriteFileHandler : public FileHandler {
 public:
  ~WriteFileHandler() override;
  bool Open(const std::string& path, int flags, int mode) override;
  bool Open(const std::string& path) override;
};

}  // namespace du

#endif
