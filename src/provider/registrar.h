// Registration scripts: what a library writes into the registry so that hosts find its classes.
//
// A script names a root and the keys below it:
//
//   HKCR { NoRemove CLSID { ForceRemove {…} = s 'Name' { val ThreadingModel = s 'Both' } } }
//
// NoRemove keeps a key when the script is undone, ForceRemove deletes it with everything below
// before it is written, Delete deletes it and writes nothing. '…' quotes text, '' in it is a quote,
// %MODULE% stands for the library's path.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/registry/registry.h"

namespace kelvarion {

enum class RegistrationScope { kMachine, kUser };

// Runs scripts for one library. Every failure is an HRESULT: DISP_E_EXCEPTION for a script that
// cannot be read, else the registry's error.
class Registrar {
 public:
  Registrar(platform::Registry& registry, std::u16string module_path, RegistrationScope scope)
      : registry_(registry), module_path_(std::move(module_path)), scope_(scope) {}

  HRESULT Register(std::string_view script) const { return Run(script, Mode::kRegister); }
  // Removes what Register writes; keys that are gone already are no failure.
  HRESULT Unregister(std::string_view script) const { return Run(script, Mode::kUnregister); }

 private:
  enum class Mode { kRegister, kUnregister };
  enum class Removal { kNormal, kKeep, kForce, kDelete };
  struct Token {
    std::u16string text;
    bool quoted = false;
  };
  struct Reader;

  HRESULT Run(std::string_view script, Mode mode) const;
  // What stands between the braces of `parent`.
  HRESULT RunBody(Reader& reader, const platform::KeyPath& parent, Mode mode) const;
  HRESULT RunValue(Reader& reader, const platform::KeyPath& key, Mode mode) const;
  HRESULT RunKey(Reader& reader, const platform::KeyPath& parent, const Token& first,
                 Mode mode) const;
  platform::KeyPath Root() const;

  platform::Registry& registry_;
  std::u16string module_path_;
  RegistrationScope scope_;
};

}  // namespace kelvarion
