// Schemas that a test writes down, compiled as a real schema folder is.
#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/wmi/interfaces.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion {

// A temporary folder with these files, by name and contents; gone with the object.
class SchemaFolder {
 public:
  struct File {
    std::string name;
    std::string text;
  };
  using Files = std::vector<File>;

  explicit SchemaFolder(const Files& files) {
    for (const auto& [name, text] : files)
      std::ofstream(path() + "/" + name, std::ios::binary) << text;
  }
  const std::string& path() const { return folder_.native(); }

  // Null with the compiler's message, in which the folder is left out of file names.
  ComPtr<IWbemServices> Open(std::string& error) const {
    SchemaError failure;
    ComPtr<IWbemServices> opened = OpenNamespaceFolder(path(), failure);
    error = failure.text;
    for (std::size_t at; (at = error.find(path() + "/")) != error.npos;)
      error.erase(at, path().size() + 1);
    return opened;
  }

 private:
  testing::TemporaryFolder folder_;
};

// The namespace of one schema text; throws its first error.
inline ComPtr<IWbemServices> CompileText(const std::string& text) {
  std::string error;
  ComPtr<IWbemServices> opened = SchemaFolder(SchemaFolder::Files{{"test.mof", text}}).Open(error);
  if (!opened) throw std::runtime_error(error);
  return opened;
}

// Null when there is no such class.
inline ComPtr<IWbemClassObject> ClassNamed(const ComPtr<IWbemServices>& space,
                                           const std::u16string& name) {
  ComPtr<IWbemClassObject> found;
  space->GetObject(name, 0, nullptr, found.Put());
  return found;
}

inline ComPtr<IWbemClassObject> InstanceOf(const ComPtr<IWbemServices>& space,
                                           const std::u16string& name) {
  ComPtr<IWbemClassObject> instance;
  if (const ComPtr<IWbemClassObject> found = ClassNamed(space, name))
    found->SpawnInstance(0, instance.Put());
  return instance;
}

}  // namespace kelvarion
