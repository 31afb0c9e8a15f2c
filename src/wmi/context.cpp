#include "wmi/context.h"

#include "errors/exception.h"

namespace kelvarion {
namespace {

std::optional<Variant> ReadValue(IWbemContext* context, const std::u16string& name) {
  if (!context) return std::nullopt;
  Variant value;
  const HRESULT hr = context->GetValue(name, 0, &value);
  if (hr == WBEM_E_NOT_FOUND) return std::nullopt;
  if (Failed(hr)) throw ComException(hr, u"Cannot get value '%s'", name);
  return value;
}

}  // namespace

std::optional<std::u16string> ContextText(IWbemContext* context, const std::u16string& name) {
  const std::optional<Variant> value = ReadValue(context, name);
  if (!value) return std::nullopt;
  if (value->type() != VT_BSTR) throw ComException(WBEM_E_TYPE_MISMATCH);
  return value->AsString();
}

std::optional<std::vector<std::u16string>> ContextTexts(IWbemContext* context,
                                                        const std::u16string& name) {
  const std::optional<Variant> value = ReadValue(context, name);
  if (!value) return std::nullopt;
  if (value->type() != (VT_ARRAY | VT_BSTR)) throw ComException(WBEM_E_TYPE_MISMATCH);
  std::vector<std::u16string> texts;
  for (const Variant& item : value->AsArray().items)
    texts.push_back(item.type() == VT_BSTR ? item.AsString() : std::u16string());
  return texts;
}

}  // namespace kelvarion
