#include "platform/com/class_object.h"

#include <dlfcn.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>

#include "platform/com/global_options.h"
#include "platform/text/encoding.h"

namespace kelvarion {
namespace {

struct ClassObjects {
  std::mutex mutex;
  std::map<Guid, ComPtr<IClassFactory>> in_process{
      {CLSID_GlobalOptions, MakeGlobalOptionsFactory()}};
  ClassLocator locator;
};

ClassObjects& TheClassObjects() {
  // Never destroyed: libraries may ask for classes until the process ends.
  static ClassObjects* const objects = new ClassObjects;
  return *objects;
}

thread_local std::string last_load_error;

using GetClassObject = HRESULT (*)(const Guid&, const Guid&, void**);
constexpr HRESULT kModuleNotFound = HresultFromWin32(ERROR_MOD_NOT_FOUND);

HRESULT FromLibrary(const std::string& path, const Guid& class_id, const Guid& iid, void** out) {
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    last_load_error = dlerror();
    return kModuleNotFound;
  }
  const auto entry = reinterpret_cast<GetClassObject>(dlsym(library, "DllGetClassObject"));
  if (!entry) {
    last_load_error = path + ": no DllGetClassObject";
    return kModuleNotFound;
  }
  return entry(class_id, iid, out);
}

}  // namespace

void CoRegisterClassObject(const Guid& class_id, ComPtr<IClassFactory> factory) {
  ClassObjects& objects = TheClassObjects();
  const std::lock_guard lock(objects.mutex);
  objects.in_process[class_id] = std::move(factory);
}

void SetClassLocator(ClassLocator locator) {
  ClassObjects& objects = TheClassObjects();
  const std::lock_guard lock(objects.mutex);
  objects.locator = std::move(locator);
}

HRESULT CoGetClassObject(const Guid& class_id, const Guid& iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  last_load_error.clear();
  ComPtr<IClassFactory> factory;
  ClassLocator locator;
  {
    ClassObjects& objects = TheClassObjects();
    const std::lock_guard lock(objects.mutex);
    if (const auto found = objects.in_process.find(class_id); found != objects.in_process.end())
      factory = found->second;
    locator = objects.locator;
  }
  if (factory) return factory->QueryInterface(iid, out);
  const std::string library = locator ? locator(class_id) : std::string();
  if (library.empty()) return REGDB_E_CLASSNOTREG;
  return FromLibrary(library, class_id, iid, out);
}

HRESULT CoCreateInstance(const Guid& class_id, const Guid& iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  ComPtr<IClassFactory> factory;
  const HRESULT hr = CoGetClassObject(class_id, IClassFactory::kIid, factory.PutVoid());
  if (Failed(hr)) return hr;
  return factory->CreateInstance(nullptr, iid, out);
}

const std::string& LastLoadError() { return last_load_error; }

std::u16string ModulePath(const void* address) {
  Dl_info info{};
  if (dladdr(address, &info) == 0 || !info.dli_fname) return {};
  const std::unique_ptr<char, decltype(&std::free)> path(realpath(info.dli_fname, nullptr),
                                                         &std::free);
  return path ? platform::Utf16ForDisplay(path.get()) : std::u16string();
}

}  // namespace kelvarion
