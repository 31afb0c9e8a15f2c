#include "platform/wmi/qualifier_set.h"

#include "platform/wmi/names.h"

namespace kelvarion::platform::wmi {
namespace {

template <class Definition>
auto* Find(Definition& definition, const QualifierPlace& place) {
  decltype(&definition.qualifiers) found = nullptr;
  const auto take = [&](auto& elements) {
    const auto element = FindNamed(elements, place.name);
    if (element != elements.end()) found = &element->qualifiers;
  };
  switch (place.kind) {
    case QualifierPlace::Kind::kClass:
      found = &definition.qualifiers;
      break;
    case QualifierPlace::Kind::kProperty:
      take(definition.properties);
      break;
    case QualifierPlace::Kind::kMethod:
      take(definition.methods);
      break;
  }
  return found;
}

class QualifierSet final : public ComObject<IWbemQualifierSet> {
 public:
  QualifierSet(QualifierOwner& owner, QualifierPlace place)
      : owner_(&owner), place_(std::move(place)) {}

  HRESULT Get(const std::u16string& name, Variant* value) override {
    const Qualifiers& qualifiers = *Find(owner_->definition(), place_);
    const auto found = FindNamed(qualifiers, name);
    if (found == qualifiers.end()) return WBEM_E_NOT_FOUND;
    if (value) *value = found->value;
    return S_OK;
  }

  HRESULT Put(const std::u16string& name, const Variant& value) override {
    ClassDefinition* const definition = owner_->Writable();
    if (!definition) return WBEM_E_NOT_SUPPORTED;
    if (name.empty() || value.type() == VT_EMPTY) return WBEM_E_INVALID_PARAMETER;
    SetQualifier(*Find(*definition, place_), {name, value});
    return S_OK;
  }

  HRESULT GetNames(std::vector<std::u16string>* names) override {
    if (!names) return E_POINTER;
    names->clear();
    for (const Qualifier& qualifier : *Find(owner_->definition(), place_))
      names->push_back(qualifier.name);
    return S_OK;
  }

 private:
  const ComPtr<QualifierOwner> owner_;
  const QualifierPlace place_;
};

}  // namespace

HRESULT MakeQualifierSet(QualifierOwner& owner, const QualifierPlace& place,
                         IWbemQualifierSet** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!Find(owner.definition(), place)) return WBEM_E_NOT_FOUND;
  *out = MakeCom<QualifierSet>(owner, place).Detach();
  return S_OK;
}

}  // namespace kelvarion::platform::wmi
