// What long operations tell while they run, on the thread that called them. What an implementation
// throws ends the operation and reaches its caller.
#pragma once

#include <cstdint>
#include <string>

namespace kelvarion {

class IcVerifyRepositoryNotify {
 public:
  virtual void MetadataStarted() = 0;
  virtual void MetadataVerified(std::int64_t revision) = 0;
  // `first` and `last` are the revisions of the run.
  virtual void RevisionVerified(std::int64_t revision, std::int64_t first, std::int64_t last) = 0;
  virtual void Warning(const std::u16string& text) = 0;

 protected:
  ~IcVerifyRepositoryNotify() = default;
};

class IcImportRepositoryNotify {
 public:
  // All revisions up to `last` have been copied; `total` counts the source's from 0.
  virtual void RevisionsCopied(std::int64_t last, std::int64_t total) = 0;

 protected:
  ~IcImportRepositoryNotify() = default;
};

class IcImportDumpFileNotify {
 public:
  // Bytes of the file, which may be compressed, whose contents have been loaded; all of them only
  // at the end.
  virtual void BytesRead(std::uint64_t bytes, std::uint64_t file_size) = 0;
  virtual void RevisionCommitted(std::int64_t revision) = 0;
  virtual void Warning(const std::u16string& text) = 0;

 protected:
  ~IcImportDumpFileNotify() = default;
};

}  // namespace kelvarion
