// Settings as they are stored: a type, then the bytes of a value; and as a journal keeps them. What
// was read is written and reads the same.
#include "config/journal.h"
#include "config/registry_values.h"
#include "errors/exception.h"
#include "fuzz/fuzz.h"

using namespace kelvarion;
using platform::KeyPath;

namespace {

const KeyPath kKey{platform::RootKey::kLocalMachine, u"Software"};
const std::u16string kName = u"Value";

struct Home {
  testing::TemporaryFolder folder;
  std::unique_ptr<platform::Registry> registry;
  Home() {
    platform::OpenRegistryFile(folder.native() + "/registry.db", u"S-1-5-7", registry);
    registry->CreateKey(kKey);
  }
};

void CheckValue(platform::Registry& registry, std::string_view bytes) {
  RegistryValues values(registry, kKey);
  try {
    registry.Set(
        kKey, kName,
        {static_cast<platform::RegistryType>(bytes.front()), {bytes.begin() + 1, bytes.end()}});
    switch (static_cast<platform::RegistryType>(bytes.front())) {
      case platform::RegistryType::kDword: {
        const std::uint32_t number = values.ReadDword(kName, 0);
        values.WriteDword(kName, number);
        return fuzz::Expect(values.ReadDword(kName, 0) == number, "a number survives");
      }
      case platform::RegistryType::kMultiString: {
        const auto list = values.ReadMultiString(kName);
        values.WriteMultiString(kName, list);
        return fuzz::Expect(values.ReadMultiString(kName) == list, "a list survives");
      }
      default: {
        const std::u16string text = values.ReadString(kName, {});
        values.WriteString(kName, text);
        return fuzz::Expect(values.ReadString(kName, {}) == text, "a text survives");
      }
    }
  } catch (const Exception&) {
  }
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view bytes) {
  static Home& home = *new Home;
  if (bytes.empty()) return;
  CheckValue(*home.registry, bytes);
  try {
    JournalFile journal(fuzz::FileHolding(bytes), JournalFile::Open::kExisting);
    RegistryValues(*home.registry, kKey).Restore(kName, journal);
  } catch (const Exception&) {
  }
}
