#include "util/computer.h"

#include "errors/exception.h"
#include "platform/network/network.h"

namespace kelvarion::util {

std::u16string GetComputerDnsName() {
  std::u16string name;
  if (const Win32Error error = platform::GetComputerDnsName(name))
    throw Win32Exception(error, u"Cannot get computer name");
  return name;
}

}  // namespace kelvarion::util
