// The result codes and identifiers that cross every interface of the system, with the names and
// values that Win32, COM and WMI clients know.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelvarion {

using HRESULT = std::int32_t;
using Win32Error = std::uint32_t;

constexpr bool Succeeded(HRESULT hr) { return hr >= 0; }
constexpr bool Failed(HRESULT hr) { return hr < 0; }

// A code below 1 already is an HRESULT; a positive one becomes its low 16 bits in facility Win32.
constexpr HRESULT HresultFromWin32(std::int64_t code) {
  if (code >= 0x80000000LL) return static_cast<HRESULT>(static_cast<std::uint32_t>(code));
  if (code < 1) return static_cast<HRESULT>(code);
  return static_cast<HRESULT>((static_cast<std::uint32_t>(code) & 0xFFFFu) | 0x80070000u);
}

constexpr HRESULT Code(std::uint32_t value) { return static_cast<HRESULT>(value); }

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = Code(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = Code(0x80004002);
inline constexpr HRESULT E_POINTER = Code(0x80004003);
inline constexpr HRESULT E_FAIL = Code(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = Code(0x8000FFFF);
inline constexpr HRESULT E_OUTOFMEMORY = Code(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = Code(0x80070057);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = Code(0x80040110);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = Code(0x80040111);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = Code(0x80040154);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = Code(0x80020005);
inline constexpr HRESULT DISP_E_OVERFLOW = Code(0x8002000A);
inline constexpr HRESULT DISP_E_EXCEPTION = Code(0x80020009);
inline constexpr HRESULT RPC_E_DISCONNECTED = Code(0x80010108);
inline constexpr HRESULT RPC_E_CALL_COMPLETE = Code(0x80010117);
inline constexpr HRESULT RPC_E_ACCESS_DENIED = Code(0x8001011B);

inline constexpr HRESULT WBEM_S_INITIALIZED = 0;
inline constexpr HRESULT WBEM_E_FAILED = Code(0x80041001);
inline constexpr HRESULT WBEM_E_NOT_FOUND = Code(0x80041002);
inline constexpr HRESULT WBEM_E_ACCESS_DENIED = Code(0x80041003);
inline constexpr HRESULT WBEM_E_TYPE_MISMATCH = Code(0x80041005);
inline constexpr HRESULT WBEM_E_INVALID_PARAMETER = Code(0x80041008);
inline constexpr HRESULT WBEM_E_NOT_SUPPORTED = Code(0x8004100C);
inline constexpr HRESULT WBEM_E_INVALID_NAMESPACE = Code(0x8004100E);
inline constexpr HRESULT WBEM_E_INVALID_CLASS = Code(0x80041010);
inline constexpr HRESULT WBEM_E_ALREADY_EXISTS = Code(0x80041019);
inline constexpr HRESULT WBEM_E_TRANSPORT_FAILURE = Code(0x80041015);
inline constexpr HRESULT WBEM_E_PROVIDER_NOT_CAPABLE = Code(0x80041024);
inline constexpr HRESULT WBEM_E_INVALID_METHOD = Code(0x8004102E);
inline constexpr HRESULT WBEM_E_INVALID_METHOD_PARAMETERS = Code(0x8004102F);
inline constexpr HRESULT WBEM_E_CALL_CANCELLED = Code(0x80041032);
inline constexpr HRESULT WBEM_E_SHUTTING_DOWN = Code(0x80041033);
inline constexpr HRESULT WBEM_E_INVALID_OBJECT_PATH = Code(0x8004103A);
inline constexpr HRESULT WBEM_E_BUFFER_TOO_SMALL = Code(0x8004103C);
inline constexpr HRESULT WBEM_E_SERVER_TOO_BUSY = Code(0x80041045);
inline constexpr HRESULT WBEM_E_CIRCULAR_REFERENCE = Code(0x80041047);
inline constexpr HRESULT WBEM_E_QUOTA_VIOLATION = Code(0x8004106C);

inline constexpr Win32Error ERROR_SUCCESS = 0;
inline constexpr Win32Error ERROR_FILE_NOT_FOUND = 2;
inline constexpr Win32Error ERROR_PATH_NOT_FOUND = 3;
inline constexpr Win32Error ERROR_ACCESS_DENIED = 5;
inline constexpr Win32Error ERROR_INVALID_HANDLE = 6;
inline constexpr Win32Error ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr Win32Error ERROR_INVALID_DATA = 13;
inline constexpr Win32Error ERROR_NO_MORE_FILES = 18;
inline constexpr Win32Error ERROR_WRITE_PROTECT = 19;
inline constexpr Win32Error ERROR_WRITE_FAULT = 29;
inline constexpr Win32Error ERROR_READ_FAULT = 30;
inline constexpr Win32Error ERROR_GEN_FAILURE = 31;
inline constexpr Win32Error ERROR_SHARING_VIOLATION = 32;
inline constexpr Win32Error ERROR_HANDLE_EOF = 38;
inline constexpr Win32Error ERROR_NOT_SUPPORTED = 50;
inline constexpr Win32Error ERROR_FILE_EXISTS = 80;
inline constexpr Win32Error ERROR_INVALID_PARAMETER = 87;
inline constexpr Win32Error ERROR_OPEN_FAILED = 110;
inline constexpr Win32Error ERROR_DISK_FULL = 112;
inline constexpr Win32Error ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr Win32Error ERROR_INVALID_NAME = 123;
inline constexpr Win32Error ERROR_MOD_NOT_FOUND = 126;
inline constexpr Win32Error ERROR_DIR_NOT_EMPTY = 145;
inline constexpr Win32Error ERROR_ALREADY_EXISTS = 183;
inline constexpr Win32Error ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr Win32Error ERROR_DIRECTORY = 267;
inline constexpr Win32Error ERROR_NO_TOKEN = 1008;
inline constexpr Win32Error ERROR_BADDB = 1009;
inline constexpr Win32Error ERROR_REGISTRY_IO_FAILED = 1016;
inline constexpr Win32Error ERROR_INVALID_SERVICE_CONTROL = 1052;
inline constexpr Win32Error ERROR_SERVICE_REQUEST_TIMEOUT = 1053;
inline constexpr Win32Error ERROR_SERVICE_ALREADY_RUNNING = 1056;
inline constexpr Win32Error ERROR_SERVICE_DISABLED = 1058;
inline constexpr Win32Error ERROR_SERVICE_DOES_NOT_EXIST = 1060;
inline constexpr Win32Error ERROR_SERVICE_CANNOT_ACCEPT_CTRL = 1061;
inline constexpr Win32Error ERROR_SERVICE_NOT_ACTIVE = 1062;
inline constexpr Win32Error ERROR_SERVICE_SPECIFIC_ERROR = 1066;
inline constexpr Win32Error ERROR_PROCESS_ABORTED = 1067;
inline constexpr Win32Error ERROR_NO_UNICODE_TRANSLATION = 1113;
inline constexpr Win32Error ERROR_NONE_MAPPED = 1332;
inline constexpr Win32Error ERROR_INVALID_SID = 1337;
inline constexpr Win32Error ERROR_NO_SUCH_ALIAS = 1376;
inline constexpr Win32Error RPC_S_SERVER_UNAVAILABLE = 1722;
inline constexpr Win32Error RPC_S_UNKNOWN_AUTHN_SERVICE = 1745;
inline constexpr Win32Error EPT_S_NOT_REGISTERED = 1753;
inline constexpr Win32Error ERROR_RESOURCE_TYPE_NOT_FOUND = 1813;
inline constexpr Win32Error ERROR_RESOURCE_NAME_NOT_FOUND = 1814;
inline constexpr Win32Error ERROR_CANT_RESOLVE_FILENAME = 1921;
inline constexpr Win32Error NERR_GroupNotFound = 2220;
inline constexpr Win32Error WSAEADDRINUSE = 10048;
inline constexpr Win32Error WSAEADDRNOTAVAIL = 10049;

// A globally unique identifier; compares by all 16 bytes.
struct Guid {
  std::uint32_t data1 = 0;
  std::uint16_t data2 = 0;
  std::uint16_t data3 = 0;
  std::array<std::uint8_t, 8> data4{};

  friend auto operator<=>(const Guid&, const Guid&) = default;
};

// The registry's form, {565B8FB4-EE30-4EE3-9B5B-E285678F1F9D}, upper case.
std::u16string ToText(const Guid& guid);

}  // namespace kelvarion
