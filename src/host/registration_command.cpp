#include "config/registry_values.h"
#include "errors/exception.h"
#include "errors/hresult_text.h"
#include "host/commands.h"
#include "host/table.h"
#include "host/text.h"
#include "platform/com/register_library.h"
#include "provider/class_ids.h"

namespace kelvarion::host {
namespace {

using platform::RootKey;

// A user's classes hide the machine's.
constexpr struct {
  RootKey root;
  const char* name;
} kScopes[] = {{RootKey::kCurrentUser, "user"}, {RootKey::kLocalMachine, "machine"}};

Outcome Show(Session& session) {
  platform::Registry& registry = *session.machine()->registry;
  Outcome outcome;
  Table table{{"CLASS", "FOR", "LIBRARY", "NAME"}, {}};
  for (const Guid& class_id : {CLSID_KelvarionWMIProvider, CLSID_RepoManagerProviderProxy}) {
    for (const auto& scope : kScopes) {
      const platform::KeyPath key{scope.root, u"Software\\Classes\\CLSID\\" + ToText(class_id)};
      if (registry.OpenKey(key) != ERROR_SUCCESS) continue;
      const auto text = [&](const platform::KeyPath& at) {
        return Utf8(RegistryValues(registry, at).ReadString(u"", std::u16string()));
      };
      const std::string id = Utf8(ToText(class_id));
      const std::string name = text(key);
      const std::string library = text({key.root, key.path + u"\\InprocServer32"});
      table.rows.push_back({id, scope.name, library, name});
      outcome.objects.push_back(
          {{"ClassId", id}, {"For", scope.name}, {"Library", library}, {"Name", name}});
    }
  }
  outcome.text = table.Render(table.headings.size());
  return outcome;
}

struct ChangeWords {
  bool for_user = false;
};

Outcome Change(Session& session, bool install, const ChangeWords& words) {
  platform::SetCurrentMachine(session.machine());
  std::string reason;
  const HRESULT hr =
      InstallClassLibrary(session.paths().provider, install,
                          words.for_user ? InstallFor::kUser : InstallFor::kMachine, reason);
  if (Failed(hr))
    throw SimpleException(u"The registration cannot be changed: %s",
                          reason.empty() ? HresultText(hr) : Utf16(reason));
  return Show(session);
}

Outcome Install(Session& session, const ChangeWords& words) { return Change(session, true, words); }

Outcome Remove(Session& session, const ChangeWords& words) { return Change(session, false, words); }

}  // namespace

void AddRegistrationCommands(CLI::App& app, Command& chosen) {
  CLI::App* const registration =
      AddGroup(app, "registration", "Show or change where the provider library's classes are found",
               chosen, Show);
  registration->footer("Nothing is served while the classes are not registered.");
  const auto add = [&](const char* name, const char* description,
                       Outcome (*run)(Session&, const ChangeWords&)) {
    const auto [command, words] = AddCommand(*registration, name, description, chosen, run);
    command->add_flag("--user", words->for_user, "For the user who runs this, not the machine");
  };
  add("install", "Register the classes of this program's library", Install);
  add("remove", "Remove the classes from the registration", Remove);
}

}  // namespace kelvarion::host
