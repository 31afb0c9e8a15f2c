// A file of tagged records that keeps the state of settings until it is put back.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/files/file.h"

namespace kelvarion {

// Records follow one another: a tag and a byte length, both 32-bit little-endian, and the bytes.
// Reading and writing continue where the last call ended. One thread at a time.
class JournalFile {
 public:
  enum class Open { kNew, kExisting };

  // kNew creates the file, for its owner only, or empties it. A failure throws ComException.
  JournalFile(const std::u16string& path, Open how);

  // Fail with ComException "Cannot write journal file".
  void WriteInteger(std::uint32_t value);
  void WriteBlock(const std::vector<std::uint8_t>& data);
  // What was written is on the disk when it returns.
  void Flush();

  // A file that ends too early or cannot be read is ComException "Cannot read journal file"; a
  // record of another kind is SimpleException "Invalid journal file format".
  std::uint32_t ReadInteger();
  std::vector<std::uint8_t> ReadBlock();

 private:
  void WriteRecord(std::uint32_t tag, const std::vector<std::uint8_t>& data);
  std::vector<std::uint8_t> ReadRecord(std::uint32_t expected_tag);
  std::vector<std::uint8_t> ReadBytes(std::size_t size);

  platform::File file_;
};

}  // namespace kelvarion
