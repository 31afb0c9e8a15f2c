// Files that are replaced as a whole.
#pragma once

#include <string>
#include <string_view>

#include "svn/pool.h"

struct apr_file_t;

namespace kelvarion::svn {

// Writes the new text of a file beside it, to a name ending in ".tmp" that nothing else uses, and
// puts it in the file's place when closed. Readers see the old or the new text whole, whatever
// happens to this process. A replaced file keeps its mode, owner and access list; a new one is
// readable by its owner and by those whom its folder admits. Unless closed, it leaves no trace but
// what a killed process leaves: the temporary file, which later writers step around.
// One thread; failures throw SvnException or Win32Exception.
class AtomicFileStream {
 public:
  AtomicFileStream(const std::u16string& path, const Pool& parent);
  ~AtomicFileStream();
  AtomicFileStream(const AtomicFileStream&) = delete;
  AtomicFileStream& operator=(const AtomicFileStream&) = delete;

  void Write(std::string_view bytes);
  // The text is on the disk before it takes the file's place.
  void Close();

 private:
  Pool pool_;
  std::string target_;
  std::string temporary_;
  apr_file_t* file_ = nullptr;
  bool finished_ = false;
};

// The whole text in one go.
void ReplaceFile(const std::u16string& path, std::string_view bytes, const Pool& parent);

}  // namespace kelvarion::svn
