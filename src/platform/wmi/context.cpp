#include <vector>

#include "platform/wmi/interfaces.h"
#include "platform/wmi/names.h"

namespace kelvarion {
namespace {

using platform::wmi::FindNamed;

class Context final : public ComObject<IWbemContext> {
 public:
  HRESULT GetNames(std::vector<std::u16string>* names) override {
    if (!names) return E_POINTER;
    names->clear();
    for (const NamedValue& entry : values_) names->push_back(entry.name);
    return S_OK;
  }

  HRESULT GetValue(const std::u16string& name, std::int32_t, Variant* value) override {
    const auto found = FindNamed(values_, name);
    if (found == values_.end()) return WBEM_E_NOT_FOUND;
    if (value) *value = found->value;
    return S_OK;
  }

  HRESULT SetValue(const std::u16string& name, std::int32_t, const Variant& value) override {
    if (name.empty()) return WBEM_E_INVALID_PARAMETER;
    const auto found = FindNamed(values_, name);
    if (found == values_.end())
      values_.push_back({name, value});
    else
      found->value = value;
    return S_OK;
  }

 private:
  struct NamedValue {
    std::u16string name;
    Variant value;
  };
  std::vector<NamedValue> values_;
};

}  // namespace

ComPtr<IWbemContext> MakeContext() { return MakeCom<Context>(); }

}  // namespace kelvarion
