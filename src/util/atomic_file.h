// Whole files, read and written at once.
#pragma once

#include <string>
#include <string_view>

#include "platform/files/files.h"

namespace kelvarion::util {

using platform::NewFile;

// Creates or empties the file and writes the bytes.
// Fails with ComException "Cannot create file '%s'" or "Cannot write to file '%s'".
void WriteWholeFile(const std::u16string& path, std::string_view bytes);

// Replaces the file by way of a sibling named "%s.tmp": readers see the old or the new content,
// never a part of it, and so does whoever comes after a crash. Mode, owner and access list of a
// replaced file stay. Writers of one file wait for each other, in other processes too; the last one
// wins. Fails as WriteWholeFile does, for the temporary file, or with Win32Exception
// "Cannot write file '%s'"; the file is then as it was and no temporary remains.
void WriteFileAtomically(const std::u16string& path, std::string_view bytes,
                         NewFile access = NewFile::kAsFolderSays);

// Fails with Win32Exception "Cannot read file '%s'".
std::string ReadWholeFile(const std::u16string& path);

}  // namespace kelvarion::util
