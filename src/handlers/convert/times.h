// Moments as date-time properties.
#pragma once

#include <chrono>
#include <optional>

#include "wmi/date_time.h"
#include "wmi/object.h"

namespace kelvarion {

// Null when there is none.
inline void SetTime(WMIObject& object, const Property<DateTime>& property,
                    const std::optional<std::chrono::sys_seconds>& time) {
  if (time)
    object.SetDateTime(property, ToAutomation(*time));
  else
    object.SetNull(property);
}

}  // namespace kelvarion
