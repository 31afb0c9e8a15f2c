#include "host/init.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "access/authz_files.h"
#include "access/windows_groups.h"
#include "apache/configuration_generator.h"
#include "apache/values.h"
#include "config/registry_accessor.h"
#include "errors/exception.h"
#include "errors/hresult_text.h"
#include "host/home.h"
#include "host/home_layout.h"
#include "host/init_certificate.h"
#include "host/settings_table.h"
#include "host/text.h"
#include "platform/com/register_library.h"
#include "platform/network/network.h"
#include "platform/process/process.h"
#include "provider/class_ids.h"
#include "util/atomic_file.h"
#include "util/server_files.h"

namespace kelvarion::host {
namespace {

namespace fs = std::filesystem;
using util::NewFile;

// How the names begin of what opening a home makes.
constexpr std::array kStores{"registry.db", "groups.", "events", "services.conf"};
constexpr fs::perms kHomeMode = static_cast<fs::perms>(0711);

// What one run of init knows and does, in the order of its member functions.
class Initialization {
 public:
  Initialization(Session& session, const InitOptions& options)
      : session_(session), options_(options), home_(session.home()), server_(home_ + "/server") {}

  Outcome Run();

 private:
  void CheckOptions() const;
  void MakeHomeFolder();
  void OpenStores();
  void MakeGroups();
  void NotePartners();
  void WriteSettings();
  void MakeCertificate();
  void RegisterProvider();
  void SetUpRepositoriesRoot();
  void MakeAccountFiles();
  void GeneratePages();
  void WarnAboutUnreachableFolders();
  Outcome Finish();

  void Did(const std::string& what) { done_.push_back(what); }
  void Warn(const std::string& text);
  // Sets what is not set; a different value that was asked for is only reported.
  void Default(const char16_t* name, const std::optional<std::string>& wanted,
               const std::string& otherwise);
  std::u16string ServerName() const;
  std::u16string RepositoriesRoot() const;

  Session& session_;
  const InitOptions& options_;
  const std::string home_;
  const std::string server_;
  std::shared_ptr<platform::Machine> machine_;
  bool was_complete_ = false;
  std::vector<std::string> done_;
  Outcome outcome_;
};

// What cannot be looked at must not be taken for missing, and made anew.
bool Exists(const std::string& path) {
  std::error_code error;
  const bool exists = fs::exists(path, error);
  if (error) throw SimpleException(u"Cannot look at '%s': %s", Utf16(path), Utf16(error.message()));
  return exists;
}

// A folder without a registry that holds more than a run of init which was killed early left there.
bool HoldsOtherThings(const std::string& folder) {
  if (Exists(folder + "/registry.db")) return false;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
    const std::string name = entry.path().filename().string();
    const bool ours = std::any_of(kStores.begin(), kStores.end(),
                                  [&](const char* store) { return name.starts_with(store); });
    if (!ours) return true;
  }
  return static_cast<bool>(error);
}

std::vector<std::u16string> Split(const std::string& list) {
  std::vector<std::u16string> parts;
  for (std::size_t from = 0; from <= list.size();) {
    const std::size_t comma = std::min(list.find(',', from), list.size());
    parts.push_back(ParseWord(list.substr(from, comma - from)));
    from = comma + 1;
  }
  return parts;
}

void Initialization::Warn(const std::string& text) {
  outcome_.warnings.push_back(Utf16(text));
  if (session_.observer) session_.observer->OnWarning(outcome_.warnings.back());
}

void Initialization::CheckOptions() const {
  CheckServablePath(home_);
  if (options_.repositories_root) CheckServablePath(*options_.repositories_root);
  if (options_.server_name && !apache::IsListenAddress(ParseWord(*options_.server_name)))
    throw UsageError("--server-name takes a host name, not '" + *options_.server_name + "'.");
  if (!options_.listen || *options_.listen == "all") return;
  for (const std::u16string& address : Split(*options_.listen))
    if (!platform::IsIpAddress(address))
      throw UsageError("--listen takes all or IP addresses with commas, not '" + *options_.listen +
                       "'.");
}

void Initialization::MakeHomeFolder() {
  std::error_code error;
  const bool existed = fs::exists(home_, error);
  if (existed && HoldsOtherThings(home_))
    throw UsageError("The folder " + home_ + " holds something else; name an empty or a new one.");
  // Folders above it are made as the user makes folders; the home and all in it are private. The
  // web server must get through those above the repositories root, too.
  fs::create_directories(fs::path(home_).parent_path(), error);
  if (std::error_code later; options_.repositories_root && !Exists(home_ + "/registry.db"))
    fs::create_directories(fs::absolute(*options_.repositories_root).parent_path(), later);
  platform::KeepNewFilesPrivate();
  if (!error && !existed) fs::create_directory(home_, error);
  if (!error && !Exists(home_ + "/registry.db")) fs::permissions(home_, kHomeMode, error);
  if (error)
    throw SimpleException(u"Cannot make the home '%s': %s", Utf16(home_), Utf16(error.message()));
  if (!existed) Did("made the folder " + home_);
}

void Initialization::OpenStores() {
  std::u16string reason;
  machine_ = platform::OpenMachine(home_, reason);
  if (!machine_) throw SimpleException(u"The home '%s' cannot be opened: %s", Utf16(home_), reason);
  platform::SetCurrentMachine(machine_);
  was_complete_ = IsComplete(*machine_->registry);
}

void Initialization::MakeGroups() {
  for (const char16_t* group : {access::kServerAdminsGroup, access::kRepositorySupervisorsGroup,
                                access::kReplicationPartnersGroup}) {
    std::vector<std::u16string> members;
    if (machine_->security->GetGroupMembers(group, members) == ERROR_SUCCESS) continue;
    if (const Win32Error error = machine_->security->CreateGroup(group))
      throw Win32Exception(error, u"Cannot create the group '%s'", group);
    Did("created the group " + Utf8(group));
  }
}

// The web server knows the group by its SID.
void Initialization::NotePartners() {
  std::u16string sid;
  if (const Win32Error error =
          machine_->security->LookupAccountName(access::kReplicationPartnersGroup, sid))
    throw Win32Exception(error, u"Cannot find the group '%s'", access::kReplicationPartnersGroup);
  RegistryAccessor store(*machine_->registry);
  if (store.GetOrmuReplicationPartnersSID() == sid) return;
  store.SetOrmuReplicationPartnersSID(sid);
  Did("noted the group of replication partners");
}

void Initialization::Default(const char16_t* name, const std::optional<std::string>& wanted,
                             const std::string& otherwise) {
  RegistryValues values(*machine_->registry, {platform::RootKey::kLocalMachine, kServerKeyPath});
  const Setting& setting = FindSetting(name);
  const Json present = ReadSetting(values, setting);
  // A list reads as empty when it was never set.
  if (present.is_null() || (present.is_array() && present.empty() && !was_complete_)) {
    WriteSetting(values, setting, ParseWord(wanted.value_or(otherwise)));
    Did("set " + Utf8(name) + " to '" + wanted.value_or(otherwise) + "'");
    return;
  }
  std::string shown = present.is_string() ? present.get<std::string>() : present.dump();
  if (wanted && shown != *wanted)
    Warn(Utf8(name) + " stays " + shown + "; change it with: settings set " + Utf8(name) + " " +
         *wanted);
}

void Initialization::WriteSettings() {
  const platform::KeyPath key{platform::RootKey::kLocalMachine, kServerKeyPath};
  if (const Win32Error error = machine_->registry->CreateKey(key))
    throw Win32Exception(error, u"Cannot write the registry");
  const auto text = [](const std::optional<int>& number) {
    return number ? std::optional(std::to_string(*number)) : std::nullopt;
  };
  Default(u"InstallDir", std::nullopt, server_);
  Default(u"ServerPort", text(options_.port), "8080");
  Default(u"SSLServerPort", text(options_.ssl_port), "8443");
  Default(u"ServerName", options_.server_name, "");
  const bool all = options_.listen == "all";
  if (all) {
    Default(u"UseServerBindings", "0", "0");
  } else {
    Default(u"ServerBindings", std::nullopt, options_.listen.value_or("127.0.0.1"));
    Default(u"UseServerBindings", options_.listen ? std::optional<std::string>("1") : std::nullopt,
            "1");
  }
}

std::u16string Initialization::ServerName() const {
  std::u16string name = RegistryAccessor(*machine_->registry).GetServerName();
  if (name.empty() && platform::GetComputerDnsName(name) != ERROR_SUCCESS) name = u"localhost";
  return name;
}

std::u16string Initialization::RepositoriesRoot() const {
  return RegistryAccessor(*machine_->registry).GetRepositoriesRoot(std::u16string());
}

void Initialization::MakeCertificate() {
  const std::string certificate = server_ + "/certs/server.pem";
  const std::string chain = server_ + "/certs/certchain.pem";
  if (!Exists(certificate)) {
    util::WriteFileAtomically(Utf16(certificate), MakeInitialCertificate(Utf8(ServerName())),
                              NewFile::kPrivate);
    Did("made a private key and a self-signed certificate for " + Utf8(ServerName()));
  }
  // The web server wants the file, though a self-signed certificate has no chain.
  if (!Exists(chain)) util::WriteFileAtomically(Utf16(chain), "\n", NewFile::kPrivate);
}

void Initialization::RegisterProvider() {
  const std::string& library = session_.paths().provider;
  const auto is_registered = [&](const Guid& class_id) {
    const platform::KeyPath key{platform::RootKey::kClassesRoot,
                                u"CLSID\\" + ToText(class_id) + u"\\InprocServer32"};
    const RegistryValues values(*machine_->registry, key);
    // The model is written last.
    return Utf8(values.ReadString(u"", std::u16string())) == library &&
           !values.ReadString(u"ThreadingModel", std::u16string()).empty();
  };
  if (is_registered(CLSID_KelvarionWMIProvider) && is_registered(CLSID_RepoManagerProviderProxy))
    return;
  std::string reason;
  const HRESULT hr = RegisterClassLibrary(library, reason);
  if (Failed(hr))
    throw SimpleException(u"The provider cannot be registered: %s",
                          reason.empty() ? HresultText(hr) : Utf16(reason));
  Did("registered the provider " + library);
}

void Initialization::SetUpRepositoriesRoot() {
  const std::u16string present = RepositoriesRoot();
  const std::string wanted =
      fs::absolute(options_.repositories_root.value_or(home_ + "/repositories"))
          .lexically_normal()
          .string();
  if (!present.empty() && options_.repositories_root && present != Utf16(wanted))
    Warn("RepositoriesRoot stays " + Utf8(present));
  if (was_complete_) return;
  const std::u16string root = present.empty() ? ParseWord(wanted) : present;
  ProviderHost provider(machine_, session_.schema());
  const ObjectPtr service = session_.schema()->Find(u"Kelvarion_Service");
  const std::optional<Method> method = FindMethod(*service, u"SetRepositoriesRoot");
  ObjectPtr in;
  ThrowIfFailed(method->in_signature->SpawnInstance(0, in.Put()));
  ThrowIfFailed(in->Put(u"RepositoriesRoot", 0, Variant::FromString(root), CIM_STRING));
  ThrowIfFailed(in->Put(u"ForceCreate", 0, Variant::FromBool(true), CIM_BOOLEAN));
  ThrowIfFailed(in->Put(u"AdjustPermissions", 0, Variant::FromBool(true), CIM_BOOLEAN));
  const Outcome outcome =
      FromReply(provider.Call(u"Kelvarion_Service.Name=\"KelvarionServer\"", method->name, nullptr,
                              in.Get(), session_.observer));
  if (Failed(outcome.status))
    throw SimpleException(u"The repositories root cannot be set up: " +
                          Utf16(ErrorDescription(outcome)));
  Did("set up the repositories root " + Utf8(root) + " with access for the web server");
}

void Initialization::MakeAccountFiles() {
  const std::u16string root = RepositoriesRoot();
  const auto make = [&](std::string_view name, std::string_view content) {
    const std::string path = Utf8(root) + "/" + std::string(name);
    if (Exists(path)) return;
    util::WriteFileAtomically(Utf16(path), content, NewFile::kOwnerAndFolder);
    Did("made an empty " + std::string(name));
  };
  make(server_files::kUsers, "");
  make(server_files::kGroups, access::kAuthorizationHeader);
}

void Initialization::GeneratePages() {
  const RegistryAccessor store(*machine_->registry);
  if (!was_complete_ || !Exists(server_ + "/conf/httpd.conf"))
    apache::RegenerateApacheConfig(store);
  else if (apache::RegenerateReplicationConfig(store))
    Did("made the location that masters are replicated from");
  const std::array<std::string, 2> pages{server_ + "/WebUI/index.html",
                                         server_ + "/htdocs/index.html"};
  if (was_complete_ && std::all_of(pages.begin(), pages.end(), Exists)) return;
  apache::RegenerateStartPages(store);
}

// Root may go anywhere, the web server's workers may not.
void Initialization::WarnAboutUnreachableFolders() {
  if (!platform::RunsAsRoot()) return;
  for (const std::string& folder : {home_, Utf8(RepositoriesRoot())}) {
    for (fs::path above = fs::path(folder).parent_path(); above.has_relative_path();
         above = above.parent_path()) {
      std::error_code error;
      const fs::perms mode = fs::status(above, error).permissions();
      if (!error && (mode & fs::perms::others_exec) == fs::perms::none)
        Warn("The web server's account may not be able to enter " + above.string() +
             ", so it cannot serve " + folder);
    }
  }
}

Outcome Initialization::Finish() {
  if (!was_complete_) MarkComplete(*machine_->registry);
  const RegistryAccessor store(*machine_->registry);
  const std::string program = "kelvarionctl --home " + home_;
  for (const std::string& what : done_) outcome_.text += what + "\n";
  if (done_.empty()) outcome_.text = "Everything is in place already.\n";
  outcome_.text += "\nThe home " + home_ + " is complete. Next:\n  " + program +
                   " server start\n  " + program + " repository create demo\n  " + program +
                   " user create alice\n";
  outcome_.objects.push_back({{"Home", home_},
                              {"InstallDir", Utf8(store.GetInstallDir())},
                              {"RepositoriesRoot", Utf8(RepositoriesRoot())},
                              {"ServerPort", store.GetServerPort(false)},
                              {"SSLServerPort", store.GetServerPort(true)},
                              {"Done", done_}});
  return std::move(outcome_);
}

Outcome Initialization::Run() {
  CheckOptions();
  MakeHomeFolder();
  OpenStores();
  MakeGroups();
  if (LayOutInstallFolder(session_.paths(), server_) > 0)
    Did("installed the web server's files in " + server_);
  WriteSettings();
  NotePartners();
  MakeCertificate();
  RegisterProvider();
  SetUpRepositoriesRoot();
  MakeAccountFiles();
  GeneratePages();
  WarnAboutUnreachableFolders();
  return Finish();
}

}  // namespace

Outcome Init(Session& session, const InitOptions& options) {
  return Initialization(session, options).Run();
}

}  // namespace kelvarion::host
