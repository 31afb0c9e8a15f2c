#include "provider/registrar.h"

#include "platform/text/compare.h"

namespace kelvarion {
namespace {

constexpr std::size_t kLongestToken = 4096;
constexpr std::u16string_view kModule = u"%MODULE%";

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool Is(const std::u16string& text, const char16_t* word) {
  return platform::EqualIgnoreCase(text, word);
}

// A key that is gone already needs no deleting.
HRESULT DeleteKey(platform::Registry& registry, const platform::KeyPath& key) {
  const Win32Error error = registry.DeleteTree(key);
  return error == ERROR_FILE_NOT_FOUND ? S_OK : HresultFromWin32(error);
}

platform::KeyPath Below(const platform::KeyPath& parent, const std::u16string& name) {
  return {parent.root, parent.path.empty() ? name : parent.path + u"\\" + name};
}

}  // namespace

// Scripts are ASCII; tokens end at blanks. A class identifier's braces are part of its token, a
// brace that stands alone is not.
struct Registrar::Reader {
  std::string_view rest;
  Token token;
  bool failed = false;

  // False at the end of the script or of what can be read.
  bool Next() {
    while (!rest.empty() && IsBlank(rest.front())) rest.remove_prefix(1);
    token = {};
    if (rest.empty()) return false;
    return rest.front() == '\'' ? Quoted() : Plain();
  }

  bool Take(const char16_t* word) {
    const Reader before = *this;
    if (Next() && !token.quoted && Is(token.text, word)) return true;
    *this = before;
    return false;
  }

 private:
  bool Fail() {
    failed = true;
    return false;
  }
  bool Append(char c) {
    token.text.push_back(static_cast<unsigned char>(c));
    return token.text.size() <= kLongestToken || Fail();
  }
  bool Plain() {
    while (!rest.empty() && !IsBlank(rest.front())) {
      if (!Append(rest.front())) return false;
      rest.remove_prefix(1);
    }
    return true;
  }
  bool Quoted() {
    token.quoted = true;
    rest.remove_prefix(1);
    while (!rest.empty()) {
      const char c = rest.front();
      rest.remove_prefix(1);
      if (c == '\'') {
        if (rest.empty() || rest.front() != '\'') return true;
        rest.remove_prefix(1);
      }
      if (!Append(c)) return false;
    }
    return Fail();
  }
};

HRESULT Registrar::Run(std::string_view script, Mode mode) const {
  Reader reader{script, {}, false};
  if (!reader.Take(u"HKCR") || !reader.Take(u"{")) return DISP_E_EXCEPTION;
  return RunBody(reader, Root(), mode);
}

platform::KeyPath Registrar::Root() const {
  if (scope_ == RegistrationScope::kUser)
    return {platform::RootKey::kCurrentUser, u"Software\\Classes"};
  return {platform::RootKey::kClassesRoot, u""};
}

HRESULT Registrar::RunBody(Reader& reader, const platform::KeyPath& parent, Mode mode) const {
  while (!reader.Take(u"}")) {
    if (!reader.Next()) return DISP_E_EXCEPTION;
    const Token first = reader.token;
    const HRESULT hr = !first.quoted && Is(first.text, u"val")
                           ? RunValue(reader, parent, mode)
                           : RunKey(reader, parent, first, mode);
    if (Failed(hr)) return hr;
  }
  return S_OK;
}

// = s 'text', after the name of a value or of a key whose default value it is.
HRESULT Registrar::RunValue(Reader& reader, const platform::KeyPath& key, Mode mode) const {
  std::u16string name;
  const bool is_default = reader.rest.empty() || reader.Take(u"=");
  if (!is_default) {
    if (!reader.Next()) return DISP_E_EXCEPTION;
    name = reader.token.text;
    if (!reader.Take(u"=")) return DISP_E_EXCEPTION;
  }
  if (!reader.Take(u"s") || !reader.Next()) return DISP_E_EXCEPTION;
  std::u16string text = reader.token.text;
  for (std::size_t at = text.find(kModule); at != std::u16string::npos;
       at = text.find(kModule, at + module_path_.size()))
    text.replace(at, kModule.size(), module_path_);
  if (mode == Mode::kUnregister) return S_OK;
  return HresultFromWin32(registry_.Set(key, name, platform::RegistryValue::String(text)));
}

HRESULT Registrar::RunKey(Reader& reader, const platform::KeyPath& parent, const Token& first,
                          Mode mode) const {
  Removal removal = Removal::kNormal;
  if (!first.quoted) {
    if (Is(first.text, u"NoRemove")) removal = Removal::kKeep;
    if (Is(first.text, u"ForceRemove")) removal = Removal::kForce;
    if (Is(first.text, u"Delete")) removal = Removal::kDelete;
  }
  if (removal != Removal::kNormal && !reader.Next()) return DISP_E_EXCEPTION;
  const std::u16string& name = removal == Removal::kNormal ? first.text : reader.token.text;
  // Without a name it would be the key above it that is removed.
  if (name.find_first_not_of(u'\\') == std::u16string::npos) return DISP_E_EXCEPTION;
  const platform::KeyPath key = Below(parent, name);

  HRESULT hr = S_OK;
  if (removal == Removal::kForce || removal == Removal::kDelete) hr = DeleteKey(registry_, key);
  if (Succeeded(hr) && mode == Mode::kRegister && removal != Removal::kDelete)
    hr = HresultFromWin32(registry_.CreateKey(key));
  if (Failed(hr)) return hr;

  const Reader before = reader;
  if (reader.Take(u"=")) {
    reader = before;
    hr = RunValue(reader, key, mode);
  }
  if (Succeeded(hr) && reader.Take(u"{")) hr = RunBody(reader, key, mode);
  if (Failed(hr) || mode == Mode::kRegister || removal != Removal::kNormal) return hr;
  return DeleteKey(registry_, key);
}

}  // namespace kelvarion
