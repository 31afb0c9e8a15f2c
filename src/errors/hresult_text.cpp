#include "errors/hresult_text.h"

#include <algorithm>

#include "errors/exception.h"

namespace kelvarion {
namespace {

struct Row {
  std::uint32_t code;
  const char16_t* text;
};

constexpr std::uint32_t Win32(Win32Error error) { return 0x80070000u | error; }
constexpr std::uint32_t Bits(HRESULT hr) { return static_cast<std::uint32_t>(hr); }

constexpr Row kTexts[] = {
    {0, u"The operation completed successfully."},
    {1, u"Incorrect function."},

    {Bits(E_NOTIMPL), u"Not implemented"},
    {Bits(E_NOINTERFACE), u"No such interface supported"},
    {Bits(E_POINTER), u"Invalid pointer"},
    {Bits(E_FAIL), u"Unspecified error"},
    {Bits(E_UNEXPECTED), u"Catastrophic failure"},
    {Bits(CLASS_E_NOAGGREGATION), u"Class does not support aggregation"},
    {Bits(CLASS_E_CLASSNOTAVAILABLE), u"The library does not serve the requested class"},
    {Bits(REGDB_E_CLASSNOTREG), u"Class not registered"},
    {Bits(DISP_E_TYPEMISMATCH), u"Type mismatch."},
    {Bits(DISP_E_OVERFLOW), u"Out of present range."},
    {Bits(DISP_E_EXCEPTION), u"Exception occurred."},
    {Bits(RPC_E_DISCONNECTED), u"The object invoked has disconnected from its clients."},
    {Bits(RPC_E_CALL_COMPLETE), u"The call is complete; its context can no longer be used."},

    {Bits(WBEM_E_FAILED), u"Generic failure"},
    {Bits(WBEM_E_NOT_FOUND), u"Not found"},
    {0x80041004, u"Provider failure"},
    {Bits(WBEM_E_TYPE_MISMATCH), u"Type mismatch"},
    {0x80041006, u"Out of memory"},
    {0x80041007, u"Invalid context"},
    {Bits(WBEM_E_INVALID_PARAMETER), u"Invalid parameter"},
    {0x80041009, u"Not available"},
    {0x8004100A, u"Critical error"},
    {Bits(WBEM_E_NOT_SUPPORTED), u"Not supported"},
    {Bits(WBEM_E_INVALID_NAMESPACE), u"Invalid namespace"},
    {0x8004100F, u"Invalid object"},
    {Bits(WBEM_E_INVALID_CLASS), u"Invalid class"},
    {0x80041011, u"Provider not found"},
    {0x80041013, u"Provider load failure"},
    {0x80041014, u"Initialization failure"},
    {0x80041017, u"Invalid query"},
    {Bits(WBEM_E_ALREADY_EXISTS), u"Object or property already exists"},
    {0x8004101D, u"Unexpected error"},
    {Bits(WBEM_E_PROVIDER_NOT_CAPABLE), u"Provider is not capable of the attempted operation"},
    {0x80041029, u"Illegal or null value for a property"},
    {0x8004102A, u"Type of a property does not match"},
    {0x8004102D, u"Invalid qualifier"},
    {Bits(WBEM_E_INVALID_METHOD), u"Invalid method"},
    {Bits(WBEM_E_INVALID_METHOD_PARAMETERS), u"Invalid method parameters"},
    {0x80041031, u"Invalid property"},
    {Bits(WBEM_E_CALL_CANCELLED), u"Call cancelled"},
    {0x80041033, u"Shutting down"},
    {Bits(WBEM_E_INVALID_OBJECT_PATH), u"Invalid object path"},
    {Bits(WBEM_E_BUFFER_TOO_SMALL), u"Buffer too small"},
    {Bits(WBEM_E_CIRCULAR_REFERENCE), u"Circular reference"},

    {Win32(ERROR_FILE_NOT_FOUND), u"The system cannot find the file specified."},
    {Win32(ERROR_PATH_NOT_FOUND), u"The system cannot find the path specified."},
    {Win32(ERROR_ACCESS_DENIED), u"Access is denied."},
    {Win32(ERROR_INVALID_HANDLE), u"The handle is invalid."},
    {Win32(ERROR_NOT_ENOUGH_MEMORY), u"Not enough memory to carry out the request."},
    {Win32(ERROR_INVALID_DATA), u"The data is invalid."},
    {Win32(14), u"Not enough memory to complete this operation."},
    {Win32(ERROR_NO_MORE_FILES), u"There are no more files."},
    {Win32(ERROR_WRITE_PROTECT), u"The medium is write protected."},
    {Win32(ERROR_WRITE_FAULT), u"The system cannot write to the specified device."},
    {Win32(ERROR_READ_FAULT), u"The system cannot read from the specified device."},
    {Win32(ERROR_GEN_FAILURE), u"A device failed, or the system refused for a reason of its own."},
    {Win32(ERROR_SHARING_VIOLATION), u"The file is in use by another program."},
    {Win32(ERROR_HANDLE_EOF), u"The end of the file was reached too early."},
    {Win32(ERROR_NOT_SUPPORTED), u"The request is not supported."},
    {Win32(ERROR_FILE_EXISTS), u"The file exists."},
    {Win32(ERROR_INVALID_PARAMETER), u"The parameter is incorrect."},
    {Win32(ERROR_OPEN_FAILED), u"The system cannot open the device or file specified."},
    {Win32(ERROR_DISK_FULL), u"There is not enough space on the disk."},
    {Win32(ERROR_INSUFFICIENT_BUFFER), u"The buffer is too small for the data."},
    {Win32(ERROR_INVALID_NAME), u"The name of the file or folder is not valid."},
    {Win32(ERROR_MOD_NOT_FOUND), u"The library, or one that it needs, could not be loaded."},
    {Win32(ERROR_DIR_NOT_EMPTY), u"The folder is not empty."},
    {Win32(ERROR_ALREADY_EXISTS), u"The name is taken already."},
    {Win32(ERROR_FILENAME_EXCED_RANGE), u"The file name or extension is too long."},
    {Win32(ERROR_DIRECTORY), u"The name does not stand for a folder."},
    {Win32(ERROR_NO_TOKEN), u"The thread does not act for a client."},
    {Win32(ERROR_BADDB), u"The configuration database is damaged."},
    {Win32(ERROR_REGISTRY_IO_FAILED), u"The configuration database could not be read or written."},
    {Win32(ERROR_INVALID_SERVICE_CONTROL), u"The service does not understand the control."},
    {Win32(ERROR_SERVICE_REQUEST_TIMEOUT),
     u"The service did not respond to the start or control request in time."},
    {Win32(ERROR_SERVICE_ALREADY_RUNNING), u"An instance of the service is already running."},
    {Win32(ERROR_SERVICE_DISABLED), u"The service is disabled and cannot be started."},
    {Win32(ERROR_SERVICE_DOES_NOT_EXIST), u"The service is not installed."},
    {Win32(ERROR_SERVICE_CANNOT_ACCEPT_CTRL), u"The service cannot accept controls at this time."},
    {Win32(ERROR_SERVICE_NOT_ACTIVE), u"The service has not been started."},
    {Win32(ERROR_SERVICE_SPECIFIC_ERROR), u"The service reported an error code of its own."},
    {Win32(ERROR_PROCESS_ABORTED), u"The process ended unexpectedly."},
    {Win32(1077), u"The service has not been started since the system came up."},
    {Win32(ERROR_NO_UNICODE_TRANSLATION), u"The text holds characters that cannot be converted."},
    {Win32(ERROR_NONE_MAPPED), u"No account of that name or security identifier exists."},
    {Win32(ERROR_INVALID_SID), u"The security identifier is not valid."},
    {Win32(ERROR_NO_SUCH_ALIAS), u"The local group does not exist."},
    {Win32(RPC_S_SERVER_UNAVAILABLE), u"The server cannot be reached."},
    {Win32(ERROR_RESOURCE_TYPE_NOT_FOUND), u"The program has no resources of that type."},
    {Win32(ERROR_RESOURCE_NAME_NOT_FOUND), u"The program has no resource of that name."},
    {Win32(ERROR_CANT_RESOLVE_FILENAME), u"The name of the file leads through links to nowhere."},
    {Win32(NERR_GroupNotFound), u"The group name could not be found."},
    {Win32(WSAEADDRINUSE), u"The address and port are in use by another program."},
    {Win32(WSAEADDRNOTAVAIL), u"The address does not belong to this computer."},
};

}  // namespace

std::u16string SystemMessage(HRESULT hr) {
  const auto* const row = std::find_if(std::begin(kTexts), std::end(kTexts),
                                       [hr](const Row& each) { return each.code == Bits(hr); });
  return row == std::end(kTexts) ? std::u16string() : row->text;
}

std::u16string HresultText(HRESULT hr) {
  if (hr == WBEM_E_ACCESS_DENIED) return u"WMI access denied.";
  if (hr == RPC_E_ACCESS_DENIED) return u"RPC access denied.";
  const std::u16string text = SystemMessage(hr);
  if (text.empty()) return Format(u"HRESULT 0x%8.8X", hr);
  return text + Format(u" (0x%8.8X)", hr);
}

std::u16string MessageWithCode(const std::u16string& text, HRESULT hr) {
  return text.empty() ? HresultText(hr) : text + u": " + HresultText(hr);
}

}  // namespace kelvarion
