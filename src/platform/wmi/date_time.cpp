#include <cstdio>

#include "platform/wmi/local_classes.h"

namespace kelvarion::platform::wmi {
namespace {

class DateTime final : public ComObject<ISWbemDateTime> {
 public:
  HRESULT SetYear(std::int32_t value) override { return Set(year_, value, 0, 9999); }
  HRESULT SetMonth(std::int32_t value) override { return Set(month_, value, 1, 12); }
  HRESULT SetDay(std::int32_t value) override { return Set(day_, value, 1, 31); }
  HRESULT SetHours(std::int32_t value) override { return Set(hours_, value, 0, 23); }
  HRESULT SetMinutes(std::int32_t value) override { return Set(minutes_, value, 0, 59); }
  HRESULT SetSeconds(std::int32_t value) override { return Set(seconds_, value, 0, 59); }
  HRESULT SetMicroseconds(std::int32_t value) override {
    return Set(microseconds_, value, 0, 999999);
  }
  // No place on earth is further from universal time.
  HRESULT SetUtcOffset(std::int32_t value) override { return Set(offset_, value, -720, 840); }

  HRESULT GetValue(std::u16string* value) override {
    if (!value) return E_POINTER;
    char text[64];
    const int length =
        std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d.%06d%+04d", year_, month_, day_,
                      hours_, minutes_, seconds_, microseconds_, offset_);
    value->assign(text, text + length);
    return S_OK;
  }

 private:
  static HRESULT Set(std::int32_t& part, std::int32_t value, std::int32_t least,
                     std::int32_t greatest) {
    if (value < least || value > greatest) return WBEM_E_INVALID_PARAMETER;
    part = value;
    return S_OK;
  }

  std::int32_t year_ = 0;
  std::int32_t month_ = 1;
  std::int32_t day_ = 1;
  std::int32_t hours_ = 0;
  std::int32_t minutes_ = 0;
  std::int32_t seconds_ = 0;
  std::int32_t microseconds_ = 0;
  std::int32_t offset_ = 0;
};

}  // namespace

ComPtr<IUnknown> MakeDateTime() { return MakeCom<DateTime>(); }

}  // namespace kelvarion::platform::wmi
