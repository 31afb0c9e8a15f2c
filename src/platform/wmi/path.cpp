#include "platform/wmi/local_classes.h"
#include "platform/wmi/names.h"
#include "platform/wmi/path_text.h"
#include "platform/wmi/value.h"

namespace kelvarion::platform::wmi {
namespace {

class Path final : public ComObject<IWbemPath> {
 public:
  PathParts& parts() { return parts_; }

  HRESULT SetText(std::uint32_t, const std::u16string& text) override {
    std::optional<PathParts> parsed = ParsePath(text);
    if (!parsed) return WBEM_E_INVALID_PARAMETER;
    parts_ = std::move(*parsed);
    return S_OK;
  }

  HRESULT GetText(std::int32_t, std::u16string* text) override {
    if (!text) return E_POINTER;
    *text = FormatPath(parts_);
    return S_OK;
  }

  HRESULT GetInfo(std::uint32_t, std::uint64_t* response) override {
    if (!response) return E_POINTER;
    if (parts_.singleton)
      *response = WBEMPATH_INFO_IS_INST_REF | WBEMPATH_INFO_IS_SINGLETON;
    else if (!parts_.keys.empty())
      *response = WBEMPATH_INFO_IS_INST_REF;
    else
      *response = parts_.class_name.empty() ? 0 : WBEMPATH_INFO_IS_CLASS_REF;
    return S_OK;
  }

  HRESULT SetClassName(const std::u16string& name) override {
    if (!IsClassName(name)) return WBEM_E_INVALID_PARAMETER;
    parts_.class_name = name;
    return S_OK;
  }

  HRESULT GetClassName(std::u16string* name) override {
    if (!name) return E_POINTER;
    if (parts_.class_name.empty()) return WBEM_E_NOT_FOUND;
    *name = parts_.class_name;
    return S_OK;
  }

  bool IsSameClassName(const std::u16string& name) override {
    return EqualNames(parts_.class_name, name);
  }

  HRESULT GetKeyList(IWbemPathKeyList** out) override;

 private:
  PathParts parts_;
};

class KeyList final : public ComObject<IWbemPathKeyList> {
 public:
  explicit KeyList(Path& path) : path_(&path) {}

  HRESULT GetCount(std::uint32_t* count) override {
    if (!count) return E_POINTER;
    *count = static_cast<std::uint32_t>(path_->parts().keys.size());
    return S_OK;
  }

  HRESULT SetKey2(const std::u16string& name, std::uint32_t, CIMTYPE type,
                  const Variant& value) override {
    PathParts& parts = path_->parts();
    PathKey key{name, type, {}};
    const bool scalar = type != CIM_OBJECT && (type & CIM_FLAG_ARRAY) == 0 && !value.IsNull();
    if (!scalar || Failed(ConvertValue(value, type, {}, key.value)))
      return WBEM_E_INVALID_PARAMETER;
    const auto found = FindNamed(parts.keys, name);
    // A value without a name is a path's only one.
    const bool others = found == parts.keys.end() && !parts.keys.empty();
    if (name.empty() ? others : !IsClassName(name) || HasNamelessKey())
      return WBEM_E_INVALID_PARAMETER;
    parts.singleton = false;
    if (found == parts.keys.end())
      parts.keys.push_back(std::move(key));
    else
      *found = std::move(key);
    return S_OK;
  }

  HRESULT GetKey2(std::uint32_t index, std::uint32_t, std::u16string* name, Variant* value,
                  CIMTYPE* type) override {
    const std::vector<PathKey>& keys = path_->parts().keys;
    if (index >= keys.size()) return WBEM_E_INVALID_PARAMETER;
    if (name) *name = keys[index].name;
    if (value) *value = keys[index].value;
    if (type) *type = keys[index].type;
    return S_OK;
  }

 private:
  bool HasNamelessKey() const {
    const std::vector<PathKey>& keys = path_->parts().keys;
    return keys.size() == 1 && keys.front().name.empty();
  }

  const ComPtr<Path> path_;
};

HRESULT Path::GetKeyList(IWbemPathKeyList** out) {
  if (!out) return E_POINTER;
  *out = MakeCom<KeyList>(*this).Detach();
  return S_OK;
}

}  // namespace

ComPtr<IUnknown> MakePath() { return MakeCom<Path>(); }

}  // namespace kelvarion::platform::wmi
