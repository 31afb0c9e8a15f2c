// Registration scripts: registering twice is registering once, and what was registered can be
// removed; all in a real registry.
#include <algorithm>
#include <memory>

#include "fuzz/fuzz.h"
#include "provider/registrar.h"

using namespace kelvarion;
using platform::KeyPath;

namespace {

const KeyPath kClasses{platform::RootKey::kLocalMachine, u"Software\\Classes"};

struct Home {
  testing::TemporaryFolder folder;
  std::unique_ptr<platform::Registry> registry;
  Home() { platform::OpenRegistryFile(folder.native() + "/registry.db", u"S-1-5-7", registry); }
};

// Every key and value below a key, as one text.
std::u16string Everything(const platform::Registry& registry, const KeyPath& key) {
  std::u16string all = u"[" + key.path + u"]";
  std::vector<std::u16string> names;
  registry.EnumerateValues(key, names);
  for (const std::u16string& name : names) {
    platform::RegistryValue value;
    fuzz::Expect(registry.Query(key, name, value) == ERROR_SUCCESS, "a listed value can be read");
    all += name + u"=";
    all.append(value.data.begin(), value.data.end());
  }
  registry.EnumerateKeys(key, names);
  for (const std::u16string& name : names)
    all += Everything(registry, {key.root, key.path + u"\\" + name});
  return all;
}

// Whether no word of the script keeps something: values outlive their removal where their keys do,
// and a name with "\" makes keys on its way. Words are compared as names are, so that characters
// without weight may stand in them; scripts that have such are left out.
bool AllGoes(std::string_view script) {
  const auto odd = [](char c) { return c < 0x20 || c > 0x7E || c == '\\'; };
  std::string small;
  for (const char c : script) small.push_back(c >= 'A' && c <= 'Z' ? char(c + 0x20) : c);
  return std::none_of(script.begin(), script.end(), odd) && small.find("noremove") == small.npos &&
         small.find("val") == small.npos;
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view script) {
  static Home home;
  platform::Registry& registry = *home.registry;
  registry.DeleteTree(kClasses);
  registry.CreateKey(kClasses);
  const std::u16string nothing = Everything(registry, kClasses);

  const Registrar registrar(registry, u"/lib/%MODULE%.so", RegistrationScope::kMachine);
  if (Failed(registrar.Register(script))) {
    registrar.Unregister(script);
    return;
  }
  const std::u16string once = Everything(registry, kClasses);
  fuzz::Expect(registrar.Register(script) == S_OK, "what was registered can be so again");
  fuzz::Expect(Everything(registry, kClasses) == once, "registering twice is registering once");
  fuzz::Expect(registrar.Unregister(script) == S_OK, "what was registered can be removed");
  if (AllGoes(script))
    fuzz::Expect(Everything(registry, kClasses) == nothing, "and nothing remains");
  fuzz::Expect(registrar.Unregister(script) == S_OK, "removing twice is no failure");
}
