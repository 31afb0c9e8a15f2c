// A singleton without keys, built anew for every request.

#include "provider/version_info_class_handler.h"

#include "errors/exception.h"

namespace kelvarion {
namespace {

constexpr Property<std::u16string> kVersion{u"Version"};
constexpr Property<std::u16string> kSubversionVersion{u"SubversionVersion"};
constexpr Property<std::u16string> kApacheVersion{u"ApacheVersion"};

}  // namespace

WMIObject VersionInfoClassHandler::Describe() const {
  WMIObject info = SpawnInstance();
  info.Set(kVersion, u"3.5.8");
  info.Set(kSubversionVersion, u"1.9.5");
  info.Set(kApacheVersion, u"2.2.32");
  return info;
}

}  // namespace kelvarion
