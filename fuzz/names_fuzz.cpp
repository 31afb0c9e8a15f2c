// Names that clients give: what is accepted stays inside its folder, its file and its URL.
#include <filesystem>

#include "access/names.h"
#include "errors/exception.h"
#include "fuzz/fuzz.h"
#include "repos/names.h"
#include "repos/url.h"
#include "svn/text.h"
#include "util/paths.h"
#include "util/repository_path.h"

using namespace kelvarion;

namespace {

bool IsRepositoryName(const std::u16string& name) {
  try {
    repos::ValidateRepositoryName(name);
    return true;
  } catch (const WMIException& refusal) {
    std::string shown;
    fuzz::Expect(platform::Utf16ToUtf8(refusal.Message(), shown), "a refusal can be shown");
    return false;
  }
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view bytes) {
  const std::u16string name = fuzz::Text(bytes);
  if (IsRepositoryName(name)) {
    const std::filesystem::path path = svn::DirentFromPath(util::JoinPath(u"/root", name));
    fuzz::Expect(path.lexically_normal() == path && path.parent_path() == "/root",
                 "a repository lies in the root");
    const std::u16string url = repos::BuildRepositoryUrl(name, u"/", {u"h", true, 443, u"/svn"});
    for (const char16_t c : url.substr(8))
      fuzz::Expect(c > u' ' && c < 0x7F && c != u'?' && c != u'#', "a URL has a path alone");
  }
  for (const std::u16string& problem :
       {access::UserNameProblem(name), access::GroupNameProblem(name)})
    if (problem.empty())
      fuzz::Expect(name.find_first_of(u":,=[]\r\n\t %") == name.npos && !name.empty(),
                   "a name breaks no file");
  if (access::RulePathProblem(name).empty())
    fuzz::Expect(util::IsCanonicalRepositoryPath(name) && name.find_first_of(u"]\r\n") == name.npos,
                 "a path is a section");
}
