// Settings of the object system that hold for a whole process.
#pragma once

#include "platform/com/unknown.h"

namespace kelvarion {

inline constexpr Guid CLSID_GlobalOptions{0x0000034B, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// What becomes of an exception that leaves a call into an object. This system never catches one,
// as COMGLB_EXCEPTION_DONOT_HANDLE_ANY asks for.
inline constexpr std::uint32_t COMGLB_EXCEPTION_HANDLING = 1;
inline constexpr std::uint64_t COMGLB_EXCEPTION_DONOT_HANDLE_ANY = 2;

// All objects of the class share the values. Safe from any thread.
class IGlobalOptions : public IUnknown {
 public:
  static constexpr Guid kIid{0x0000015B, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  // E_INVALIDARG for an option that there is not.
  virtual HRESULT Set(std::uint32_t option, std::uint64_t value) = 0;
  virtual HRESULT Query(std::uint32_t option, std::uint64_t* value) = 0;

 protected:
  ~IGlobalOptions() = default;
};

// The factory of the class, which every process has.
ComPtr<IClassFactory> MakeGlobalOptionsFactory();

}  // namespace kelvarion
