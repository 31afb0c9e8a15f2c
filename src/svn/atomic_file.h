// Files that are read and replaced as a whole.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/files/files.h"
#include "svn/pool.h"

struct apr_file_t;

namespace kelvarion::svn {

// Writes the new text of a file beside it, to a name ending in ".tmp" that nothing else uses, and
// puts it in the file's place when closed. Readers see the old or the new text whole, whatever
// happens to this process. A replaced file keeps its mode, owner and access list; `access`
// says who may use a new one. Unless closed, it leaves no trace but what a killed process leaves:
// the temporary file, which the next writer removes. One thread; failures throw SvnException.
class AtomicFileStream {
 public:
  AtomicFileStream(const std::u16string& path, platform::NewFile access, const Pool& parent);
  ~AtomicFileStream();
  AtomicFileStream(const AtomicFileStream&) = delete;
  AtomicFileStream& operator=(const AtomicFileStream&) = delete;

  // Goes to the system at once: for large pieces.
  void Write(std::string_view bytes);
  // The text is on the disk before it takes the file's place.
  void Close();

 private:
  bool MakeTemporary();

  Pool pool_;
  platform::NewFile access_;
  std::string target_;
  std::string temporary_;
  apr_file_t* file_ = nullptr;
  bool finished_ = false;
};

// The whole text in one go.
void ReplaceFile(const std::u16string& path, std::string_view bytes, platform::NewFile access,
                 const Pool& parent);

// Nothing when there is no such file. Throws SvnException when it cannot be read.
std::optional<std::string> ReadFileIfPresent(const std::u16string& path, const Pool& parent);

}  // namespace kelvarion::svn
