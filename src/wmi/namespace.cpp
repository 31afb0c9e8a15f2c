#include "wmi/namespace.h"

#include "errors/exception.h"
#include "platform/com/class_object.h"

namespace kelvarion {
namespace {

constexpr FormatString<> kCannotCreateParser{u"Cannot create WMI object path parser"};

}  // namespace

WMINamespace::WMINamespace(IWbemServices* services) : services_(services) {
  const HRESULT hr =
      CoGetClassObject(CLSID_WbemDefPath, IClassFactory::kIid, path_factory_.PutVoid());
  if (Failed(hr)) throw ComException(hr, kCannotCreateParser);
}

WMIClass WMINamespace::LoadClass(const std::u16string& name, IWbemContext* context) const {
  ComPtr<IWbemClassObject> loaded;
  const HRESULT hr = services_->GetObject(name, 0, context, loaded.Put());
  if (Failed(hr)) throw ComException(hr, u"Cannot get WMI class '%s'", name);
  return WMIClass(std::move(loaded));
}

ParsedObjectPath WMINamespace::ParsePath(const std::u16string& text) const {
  ComPtr<IWbemPath> path = CreatePath();
  if (Failed(path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, text)))
    throw WMIException(WBEM_E_INVALID_OBJECT_PATH, u"Cannot parse WMI object path '%s'", text);
  return ParsedObjectPath(std::move(path));
}

ParsedObjectPath WMINamespace::NewPath() const { return ParsedObjectPath(CreatePath()); }

ComPtr<IWbemPath> WMINamespace::CreatePath() const {
  ComPtr<IWbemPath> path;
  const HRESULT hr = path_factory_->CreateInstance(nullptr, IWbemPath::kIid, path.PutVoid());
  if (Failed(hr)) throw ComException(hr, kCannotCreateParser);
  return path;
}

}  // namespace kelvarion
