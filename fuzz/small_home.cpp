#include "fuzz/small_home.h"

#include <stdlib.h>

#include <filesystem>

#include "fuzz/fuzz.h"
#include "fuzz/obedient_services.h"
#include "tests/support/test_home.h"

namespace kelvarion::fuzz {
namespace {

namespace fs = std::filesystem;

// What the home is made with.
constexpr const char* kFirstRequests = R"(
{"call": "Kelvarion_Repository", "method": "Create", "in": {"Name": "demo"}}
{"call": "Kelvarion_Repository", "method": "CreateOrmuMaster", "in": {"Name": "master"}}
{"call": "Kelvarion_Repository.Name='demo'", "method": "CreateFolders", "in": {"Folders": ["/trunk", "/trunk/a b", "/tags"], "Message": "first"}}
{"call": "Kelvarion_Repository.Name='master'", "method": "CreateFolders", "in": {"Folders": ["/trunk"], "Message": "first"}}
{"call": "Kelvarion_TrustedMaster", "method": "Trust", "in": {"Server": "master.test", "Url": "file://<home>/repositories"}}
{"call": "Kelvarion_Repository.Name='master'", "method": "ExportReplicationSeed", "in": {"DestinationPath": "<home>/repositories/slave"}}
{"call": "Kelvarion_RepositoryBackup", "method": "Create", "in": {"Name": "demo", "Path": "<home>/backup"}}
{"call": "Kelvarion_User", "method": "Create", "in": {"Name": "alice", "Password": "secret"}}
{"call": "Kelvarion_Group", "method": "Create", "in": {"Name": "readers", "Members": ["Kelvarion_User.Name='alice'"]}}
{"call": "Kelvarion_AccessRule", "method": "Add", "in": {"Repository": "demo", "Path": "/trunk", "Account": "alice", "Access": 2}}
{"call": "Kelvarion_Repository.Name='demo'", "method": "SetHook", "in": {"Kind": 4, "Hook": "exit 0"}}
)";

constexpr const char* kStores[] = {"registry.db", "registry.db-wal", "groups.db", "groups.db-wal",
                                   "groups.db-journal"};

// The stores' files beside the database belong to whoever has it open.
bool IsOpenStore(const std::string& name) {
  return name.ends_with(".db-wal") || name.ends_with(".db-shm");
}

void RemoveHookTemplates(const std::string& root) {
  std::vector<fs::path> found;
  for (const auto& entry : fs::recursive_directory_iterator(root))
    if (entry.path().extension() == ".tmpl") found.push_back(entry.path());
  for (const fs::path& path : found) fs::remove(path);
}

}  // namespace

SmallHome::SmallHome() {
  Make();
  Close();
  home_image_ = std::make_unique<FolderImage>(folder_.native());
  outside_image_ = std::make_unique<FolderImage>(outside_.native());
  temporary_image_ = std::make_unique<FolderImage>(temporary_.native());
  Open();
}

SmallHome::~SmallHome() { Close(); }

void SmallHome::Make() {
  const std::string root = testing::TestHome(folder_).root();
  for (const char* part : {"conf", "htdocs", "WebUI", "certs", "logs"})
    fs::create_directory(folder_.native() + "/server/" + part);
  fs::copy(KELVARION_SOURCE_DIR "/fuzz/corpus/certificate/rsa",
           folder_.native() + "/server/certs/server.pem");
  // The machine's own authorities play no part, and reading them all takes long.
  for (const char* store : {"SSL_CERT_FILE", "SSL_CERT_DIR"}) setenv(store, "/dev/null", 1);
  setenv("TMPDIR", temporary_.native().c_str(), 1);
  Open();
  const auto requests = ReadLines(kFirstRequests + 1);
  for (const Json& request : requests.value()) {
    const auto answer = requester().Make(request);
    if (Succeeded(answer->status)) continue;
    std::fprintf(stderr, "%s: %s\n", request.dump().c_str(),
                 platform::Utf8ForDisplay(answer->Message()).c_str());
    std::abort();
  }
  RemoveHookTemplates(root);
  testing::WriteFile(folder_.native() + "/demo.dump", "SVN-fs-dump-format-version: 2\n\n");
  testing::WriteFile(outside_.native() + "/file", "not yours");
  fs::create_directory(root + "/folder");
  fs::create_directory(root + "/no text \xff");
  fs::create_symlink(outside_.native() + "/nothing", root + "/dangling");
  fs::copy(root + "/demo", linked_repository(), fs::copy_options::recursive);
  fs::create_directory_symlink(linked_repository(), root + "/linked");
  // Where whoever may write to a repository could put them.
  fs::create_symlink(outside_.native() + "/file", root + "/demo/hooks/post-lock");
  fs::create_symlink(outside_.native() + "/hook", root + "/demo/hooks/pre-lock");
  fs::create_directory_symlink(outside_.native(), root + "/demo/link");
}

void SmallHome::Open() {
  std::u16string error;
  machine_ = platform::OpenMachine(folder_.native(), error);
  Expect(machine_ != nullptr, "the home can be opened");
  machine_->services = std::make_unique<ObedientServices>();
  host_ = std::make_unique<testing::ProviderHost>(machine_);
  Expect(host_->initialize_status() == S_OK, "the provider can be made");
  stores_.clear();
  for (const char* name : kStores) {
    struct stat status {};
    stat((folder_.native() + "/" + name).c_str(), &status);
    stores_.push_back(status);
  }
}

void SmallHome::Close() {
  host_.reset();
  machine_.reset();
}

bool SmallHome::StoresChanged() const {
  for (std::size_t i = 0; i < std::size(kStores); ++i) {
    struct stat now {};
    stat((folder_.native() + "/" + kStores[i]).c_str(), &now);
    if (!IsSame(now, stores_[i])) return true;
  }
  return false;
}

// The stores can only be brought back while nobody has them open.
void SmallHome::Reset() {
  Expect(!outside_image_->Restore(), "nothing is changed outside the home");
  const bool reopen = StoresChanged();
  if (reopen) Close();
  home_image_->Restore(reopen ? nullptr : IsOpenStore);
  temporary_image_->Restore();
  if (reopen) Open();
  static_cast<ObedientServices&>(*machine_->services).Reset();
}

}  // namespace kelvarion::fuzz
