#include "platform/com/global_options.h"

namespace kelvarion {
namespace {

std::atomic<std::uint64_t> exception_handling{0};

class GlobalOptions final : public ComObject<IGlobalOptions> {
 public:
  HRESULT Set(std::uint32_t option, std::uint64_t value) override {
    if (option != COMGLB_EXCEPTION_HANDLING) return E_INVALIDARG;
    exception_handling = value;
    return S_OK;
  }
  HRESULT Query(std::uint32_t option, std::uint64_t* value) override {
    if (!value) return E_POINTER;
    if (option != COMGLB_EXCEPTION_HANDLING) return E_INVALIDARG;
    *value = exception_handling;
    return S_OK;
  }
};

class Factory final : public ComObject<IClassFactory> {
 public:
  HRESULT CreateInstance(IUnknown* outer, const Guid& iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    return MakeCom<GlobalOptions>()->QueryInterface(iid, out);
  }
  HRESULT LockServer(bool) override { return S_OK; }
};

}  // namespace

ComPtr<IClassFactory> MakeGlobalOptionsFactory() { return MakeCom<Factory>(); }

}  // namespace kelvarion
