#include "platform/wmi/class_object.h"
#include "platform/wmi/mof/compiler.h"
#include "platform/wmi/names.h"
#include "platform/wmi/path_text.h"
#include "platform/wmi/services_base.h"

namespace kelvarion {
namespace {

using platform::wmi::ClassDefinition;
using platform::wmi::ClassObject;
using platform::wmi::mof::Classes;

constexpr std::int32_t kShallow = 1;

class ClassNamespace final : public ComObject<platform::ServicesBase> {
 public:
  explicit ClassNamespace(Classes classes) : classes_(std::move(classes)) {}

  HRESULT GetObject(Text path, std::int32_t, IWbemContext*, IWbemClassObject** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    const std::optional<platform::wmi::PathParts> parts = platform::wmi::ParsePath(path);
    if (!parts) return WBEM_E_INVALID_OBJECT_PATH;
    if (parts->singleton || !parts->keys.empty()) return WBEM_E_NOT_SUPPORTED;
    const auto found = classes_.find(platform::wmi::FoldName(parts->class_name));
    if (found == classes_.end()) return WBEM_E_NOT_FOUND;
    *out = MakeCom<ClassObject>(found->second).Detach();
    return S_OK;
  }

  HRESULT CreateClassEnum(Text superclass, std::int32_t flags, IWbemContext*,
                          Objects* out) override {
    if (!out) return E_POINTER;
    if (!superclass.empty() && !classes_.contains(platform::wmi::FoldName(superclass)))
      return WBEM_E_INVALID_CLASS;
    out->clear();
    for (const auto& [name, definition] : classes_)
      if (IsBelow(*definition, superclass, (flags & kShallow) != 0))
        out->push_back(MakeCom<ClassObject>(definition));
    return S_OK;
  }

 private:
  // Below the empty name is every class, directly below it those without a superclass.
  static bool IsBelow(const ClassDefinition& definition, Text superclass, bool directly) {
    const ClassDefinition* const above = definition.superclass.get();
    if (superclass.empty()) return !directly || !above;
    if (!above) return false;
    return directly ? platform::wmi::EqualNames(above->name, superclass) : above->IsA(superclass);
  }

  const Classes classes_;
};

}  // namespace

ComPtr<IWbemServices> OpenNamespaceFolder(const std::string& folder, SchemaError& error) {
  try {
    return MakeCom<ClassNamespace>(platform::wmi::mof::CompileFolder(folder));
  } catch (const platform::wmi::mof::CompileError& failure) {
    error.text = failure.text;
    return nullptr;
  }
}

}  // namespace kelvarion
