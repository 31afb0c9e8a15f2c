// The access list that is kept with a folder: a list that was read can be written and is the same.
#include "fuzz/fuzz.h"
#include "platform/security/folder_list.h"

using namespace kelvarion;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  platform::FolderList list;
  if (!platform::ParseFolderList(std::string(fuzz::Bytes(data, size)), list)) return 0;
  const std::string text = platform::ToText(list);
  platform::FolderList again;
  fuzz::Expect(platform::ParseFolderList(text, again) && platform::ToText(again) == text,
               "a list survives being written");
  return 0;
}
