#include "platform/com/class_object.h"
#include "platform/wmi/local_classes.h"

namespace kelvarion {
namespace {

class LocalFactory final : public ComObject<IClassFactory> {
 public:
  using Maker = ComPtr<IUnknown> (*)();
  explicit LocalFactory(Maker make) : make_(make) {}

  HRESULT CreateInstance(IUnknown* outer, const Guid& iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    return make_()->QueryInterface(iid, out);
  }

  HRESULT LockServer(bool) override { return S_OK; }

 private:
  const Maker make_;
};

}  // namespace

void RegisterWbemClasses() {
  CoRegisterClassObject(CLSID_WbemDefPath, MakeCom<LocalFactory>(platform::wmi::MakePath));
  CoRegisterClassObject(CLSID_SWbemDateTime, MakeCom<LocalFactory>(platform::wmi::MakeDateTime));
}

}  // namespace kelvarion
