// The access list that is kept with a folder: a list that was read can be written and is the same.
#include "fuzz/fuzz.h"
#include "platform/security/folder_list.h"

using namespace kelvarion;

void kelvarion::fuzz::Target(std::string_view bytes) {
  platform::FolderList list;
  if (!platform::ParseFolderList(std::string(bytes), list)) return;
  const std::string text = platform::ToText(list);
  platform::FolderList again;
  fuzz::Expect(platform::ParseFolderList(text, again) && platform::ToText(again) == text,
               "a list survives being written");
}
