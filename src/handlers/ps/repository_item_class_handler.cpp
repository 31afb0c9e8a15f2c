// Keys: Repository, found ignoring case, and Path.

#include "handlers/ps/repository_item_class_handler.h"

#include <algorithm>
#include <tuple>

#include "handlers/ps/cmdlet.h"
#include "platform/text/compare.h"
#include "repos/repository_store.h"
#include "util/repository_path.h"
#include "wmi/context.h"

namespace kelvarion {
namespace {

using Paths = std::vector<std::u16string>;

constexpr Property<std::u16string> kRepository{u"Repository"};
constexpr Property<std::u16string> kPath{u"Path"};
constexpr Property<Paths> kPaths{u"Path"};
constexpr Property<std::uint32_t> kType{u"Type"};
constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::u16string> kFolder{u"Folder"};
constexpr Property<std::u16string> kUrl{u"URL"};
constexpr Property<std::u16string> kCommitMessage{u"CommitMessage"};

constexpr std::uint32_t kFileType = 0;
constexpr std::uint32_t kTypes = 2;

// The repositories that an enumeration is about.
std::vector<std::u16string> Repositories(const ServerContext& context, CallContext* options) {
  if (const auto name = ContextText(options, u"QueryOption_RepositoryName"))
    return {repos::RequireRepository(context, *name)};
  std::vector<std::u16string> names = repos::ListRepositoryNames(context);
  std::ranges::sort(names, platform::LogicalLess{});
  return names;
}

Paths ParentPaths(CallContext* options) {
  const auto paths = ContextTexts(options, u"QueryOption_ParentPath");
  if (!paths) return {u"/"};
  for (const std::u16string& path : *paths) {
    if (util::IsCanonicalRepositoryPath(path)) continue;
    throw WMIException(WBEM_E_INVALID_PARAMETER,
                       u"Cannot get repository items for a non-canonical path '%s'", path);
  }
  return *paths;
}

bool FoldersThenLogicalNames(const repos::RepositoryEntry& a, const repos::RepositoryEntry& b) {
  const bool a_is_folder = a.kind == repos::NodeKind::Folder;
  const bool b_is_folder = b.kind == repos::NodeKind::Folder;
  if (a_is_folder != b_is_folder) return a_is_folder;
  return platform::LogicalLess{}(a.name, b.name);
}

// Parents before their children.
Paths SortedPaths(const MethodCall& call, const char16_t* verb) {
  Paths paths = call.in(kPaths);
  for (const std::u16string& path : paths) {
    if (util::IsCanonicalRepositoryPath(path)) continue;
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"Cannot %s repository item '%s' because it specifies a non-canonical path",
                       verb, path);
  }
  std::ranges::sort(paths, util::RepositoryPathLess{});
  return paths;
}

// The message that was given, else one that lists the paths.
std::u16string Message(const MethodCall& call, const char16_t* heading, const Paths& paths) {
  if (auto given = call.optional_in(kCommitMessage)) return *given;
  std::u16string message = heading;
  message += u"\n\n";
  for (const std::u16string& path : paths) message += Format(u"    %s\n", path);
  return message;
}

}  // namespace

WMIObject PS_RepositoryItemClassHandler::Describe(const repos::RepositoryEntry& entry) const {
  WMIObject item = SpawnInstance();
  item.Set(kRepository, entry.repository);
  item.Set(kPath, entry.path);
  item.SetOptional(kType, repos::ClientKind(entry.kind));
  item.Set(kName, entry.name);
  if (!entry.parent_path.empty()) item.Set(kFolder, entry.parent_path);
  item.Set(kUrl, entry.url);
  return item;
}

HRESULT PS_RepositoryItemClassHandler::PsGetObject(ParsedObjectPath& path, CallContext*,
                                                   WMIObject& out) {
  const auto [name, place] = path.Keys(kRepository, kPath);
  out = Describe(repos::RequireEntry(context(), {name, place}));
  return S_OK;
}

void PS_RepositoryItemClassHandler::List(const repos::EntryKey& key, ResponseSink& sink) const {
  auto content = repos::ReadFolder(context(), key);
  if (!content) {
    throw SimpleException(u"Cannot find path '%s' in repository '%s' because it does not exist.",
                          key.path, key.repository);
  }
  if (content->entry.kind != repos::NodeKind::Folder)
    return sink.Indicate(Describe(content->entry));
  std::ranges::sort(content->children, FoldersThenLogicalNames);
  for (const repos::RepositoryEntry& child : content->children) sink.IndicateNext(Describe(child));
}

HRESULT PS_RepositoryItemClassHandler::PsEnumerateInstances(CallContext* options,
                                                            ResponseSink& sink) {
  const Paths paths = ParentPaths(options);
  for (const std::u16string& repository : Repositories(context(), options))
    for (const std::u16string& path : paths) List({repository, path}, sink);
  return S_OK;
}

void PS_RepositoryItemClassHandler::Create(MethodCall& call,
                                           const std::u16string& repository) const {
  const std::uint32_t type = call.in(kType);
  if (type >= kTypes) throw SimpleException(u"Unknown repository item type (%u).", type);
  if (type == kFileType) throw SimpleException(u"Creating files is currently not supported.");
  const Paths paths = SortedPaths(call, u"create");
  const std::u16string message = Message(call, u"Created folders:", paths);
  std::vector<WMIObject> items;
  for (const repos::RepositoryEntry& made : repos::CreateFolders(
           context(), {repos::RequireRepository(context(), repository), paths, message}))
    items.push_back(Describe(made));
  cmdlet::Output(call, items);
}

void PS_RepositoryItemClassHandler::Remove(MethodCall& call,
                                           const std::u16string& repository) const {
  Paths paths = SortedPaths(call, u"remove");
  const std::u16string message = Message(call, u"Deleted items:", paths);
  std::ranges::reverse(paths);  // Children before their parents.
  repos::DeleteFolders(context(),
                       {repos::RequireRepository(context(), repository), paths, message});
}

void PS_RepositoryItemClassHandler::CreateByRepositoryName(MethodCall& call) {
  Create(call, cmdlet::RepositoryName(call));
}

void PS_RepositoryItemClassHandler::CreateByRepositoryObject(MethodCall& call) {
  Create(call, cmdlet::RepositoryObjectName(call));
}

void PS_RepositoryItemClassHandler::RemoveByRepositoryName(MethodCall& call) {
  Remove(call, cmdlet::RepositoryName(call));
}

void PS_RepositoryItemClassHandler::RemoveByRepositoryObject(MethodCall& call) {
  Remove(call, cmdlet::RepositoryObjectName(call));
}

const MethodTable<PS_RepositoryItemClassHandler>& PS_RepositoryItemClassHandler::Methods() {
  using Self = PS_RepositoryItemClassHandler;
  static const MethodTable<Self> table{
      {u"CreateByRepositoryName", &Self::CreateByRepositoryName},
      {u"CreateByRepositoryObject", &Self::CreateByRepositoryObject},
      {u"RemoveByRepositoryName", &Self::RemoveByRepositoryName},
      {u"RemoveByRepositoryObject", &Self::RemoveByRepositoryObject},
  };
  return table;
}

}  // namespace kelvarion
