// The two files of a log: the one that is written and the one before it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/com/types.h"
#include "platform/files/descriptor.h"

namespace kelvarion::platform {

// A file of the log, open for reading, or none.
class LogFile {
 public:
  explicit LogFile(const std::string& path);

  explicit operator bool() const { return static_cast<bool>(descriptor_); }
  // Whether `path` is still the name of this file; a file that is not there has no name.
  bool IsNamed(const std::string& path) const;
  // Tells the file from those before and after it; it never changes once the file has a whole line.
  std::uint64_t Identity() const;
  // Whole lines from `offset` on, without their ends; returns the offset after the last one.
  std::uint64_t ReadLines(std::uint64_t offset,
                          const std::function<void(const std::string&)>& visit) const;

 private:
  Descriptor descriptor_;
};

// Both files at one moment, whatever writers do meanwhile.
struct LogFiles {
  LogFile current;
  LogFile older;
};
LogFiles OpenLogFiles(const std::string& current, const std::string& older);

// Adds the line to `current`, which becomes `older` first when it would grow beyond `max_size`
// bytes. For one writer at a time (`alone`); a writer that could not get alone adds its line
// without a look at the size. ERROR_PATH_NOT_FOUND without a folder.
Win32Error AppendLine(const std::string& current, const std::string& older, std::string line,
                      std::uint64_t max_size, bool alone);

}  // namespace kelvarion::platform
