// The methods of Kelvarion_Repository that concern what is in it.
#include "handlers/repository_class_handler.h"
#include "repos/content.h"

namespace kelvarion {
namespace {

constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::u16string> kPath{u"Path"};
constexpr Property<std::vector<WMIObject>> kChildren{u"Children"};
constexpr Property<std::vector<std::u16string>> kFolders{u"Folders"};
constexpr Property<std::u16string> kMessage{u"Message"};

repos::FolderCommit CommitOf(MethodCall& call, const ServerContext& context) {
  return {repos::RequireRepository(context, call.key(kName)), call.in(kFolders), call.in(kMessage)};
}

}  // namespace

void RepositoryClassHandler::GetChildren(MethodCall& call) {
  const std::u16string repository = repos::RequireRepository(context(), call.key(kName));
  const auto folder = repos::ReadFolder(context(), {repository, call.in(kPath)});
  if (!folder) throw WMIException(WBEM_E_NOT_FOUND);
  std::vector<WMIObject> children;
  for (const repos::RepositoryEntry& child : folder->children)
    children.push_back(entries_.Describe(child));
  call.out().Set(kChildren, children);
}

void RepositoryClassHandler::CreateFolders(MethodCall& call) {
  repos::CreateFolders(context(), CommitOf(call, context()));
}

void RepositoryClassHandler::DeleteFolders(MethodCall& call) {
  repos::DeleteFolders(context(), CommitOf(call, context()));
}

}  // namespace kelvarion
