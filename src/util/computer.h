// This computer.
#pragma once

#include <string>

namespace kelvarion::util {

// The fully qualified DNS name. Fails with Win32Exception "Cannot get computer name".
std::u16string GetComputerDnsName();

}  // namespace kelvarion::util
