#include "config/journal.h"

#include "errors/exception.h"

namespace kelvarion {
namespace {

constexpr std::uint32_t kIntegerTag = 0x1244AA02;
constexpr std::uint32_t kBlockTag = 0x1244AA04;

// More than any setting holds. A damaged length must not make the program ask for gigabytes.
constexpr std::uint32_t kLargestRecord = 16u << 20;

void Append(std::vector<std::uint8_t>& bytes, std::uint32_t number) {
  for (int shift = 0; shift < 32; shift += 8)
    bytes.push_back(static_cast<std::uint8_t>(number >> shift));
}

std::uint32_t NumberAt(const std::vector<std::uint8_t>& bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) number = number << 8 | bytes[at + i];
  return number;
}

void ThrowIfCannotWrite(Win32Error error) {
  if (error != ERROR_SUCCESS)
    throw ComException(HresultFromWin32(error), u"Cannot write journal file");
}

}  // namespace

JournalFile::JournalFile(const std::u16string& path, Open how) {
  const auto mode =
      how == Open::kNew ? platform::File::Mode::kCreate : platform::File::Mode::kOpenExisting;
  if (const Win32Error error = platform::File::Open(path, mode, file_))
    throw ComException(HresultFromWin32(error), u"Cannot open journal file '%s'", path);
}

void JournalFile::WriteRecord(std::uint32_t tag, const std::vector<std::uint8_t>& data) {
  std::vector<std::uint8_t> record;
  Append(record, tag);
  Append(record, static_cast<std::uint32_t>(data.size()));
  record.insert(record.end(), data.begin(), data.end());
  ThrowIfCannotWrite(file_.Write(record.data(), record.size()));
}

void JournalFile::WriteInteger(std::uint32_t value) {
  std::vector<std::uint8_t> data;
  Append(data, value);
  WriteRecord(kIntegerTag, data);
}

void JournalFile::WriteBlock(const std::vector<std::uint8_t>& data) {
  WriteRecord(kBlockTag, data);
}

void JournalFile::Flush() { ThrowIfCannotWrite(file_.Flush()); }

std::vector<std::uint8_t> JournalFile::ReadBytes(std::size_t size) {
  std::vector<std::uint8_t> bytes(size);
  std::size_t read = 0;
  Win32Error error = file_.Read(bytes.data(), size, read);
  if (error == ERROR_SUCCESS && read < size) error = ERROR_HANDLE_EOF;
  if (error != ERROR_SUCCESS)
    throw ComException(HresultFromWin32(error), u"Cannot read journal file");
  return bytes;
}

std::vector<std::uint8_t> JournalFile::ReadRecord(std::uint32_t expected_tag) {
  const std::vector<std::uint8_t> header = ReadBytes(8);
  const std::uint32_t length = NumberAt(header, 4);
  const bool fits = expected_tag == kIntegerTag ? length == 4 : length <= kLargestRecord;
  if (NumberAt(header, 0) != expected_tag || !fits)
    throw SimpleException(u"Invalid journal file format");
  return ReadBytes(length);
}

std::uint32_t JournalFile::ReadInteger() { return NumberAt(ReadRecord(kIntegerTag), 0); }

std::vector<std::uint8_t> JournalFile::ReadBlock() { return ReadRecord(kBlockTag); }

}  // namespace kelvarion
