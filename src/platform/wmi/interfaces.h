// The management interfaces between a provider and its host: classes and instances, the namespace,
// sinks, contexts, object paths and date-times.
//
// The methods, their results and the meaning of their arguments are those that management clients
// know; strings and values travel as standard types, so nobody frees anything. An out-parameter
// that is an interface carries a reference for the caller. Null out-parameters are allowed where
// the text says so, else E_POINTER or WBEM_E_INVALID_PARAMETER.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/com/unknown.h"
#include "platform/com/variant.h"

namespace kelvarion {

// The type of a property as its class declares it.
using CIMTYPE = std::int32_t;
inline constexpr CIMTYPE CIM_EMPTY = 0;
inline constexpr CIMTYPE CIM_SINT16 = 2;
inline constexpr CIMTYPE CIM_SINT32 = 3;
inline constexpr CIMTYPE CIM_REAL32 = 4;
inline constexpr CIMTYPE CIM_REAL64 = 5;
inline constexpr CIMTYPE CIM_STRING = 8;
inline constexpr CIMTYPE CIM_BOOLEAN = 11;
inline constexpr CIMTYPE CIM_OBJECT = 13;
inline constexpr CIMTYPE CIM_SINT8 = 16;
inline constexpr CIMTYPE CIM_UINT8 = 17;
inline constexpr CIMTYPE CIM_UINT16 = 18;
inline constexpr CIMTYPE CIM_UINT32 = 19;
inline constexpr CIMTYPE CIM_SINT64 = 20;
inline constexpr CIMTYPE CIM_UINT64 = 21;
inline constexpr CIMTYPE CIM_DATETIME = 101;
inline constexpr CIMTYPE CIM_REFERENCE = 102;
inline constexpr CIMTYPE CIM_CHAR16 = 103;
inline constexpr CIMTYPE CIM_FLAG_ARRAY = 0x2000;

inline constexpr std::int32_t WBEM_STATUS_COMPLETE = 0;

class IWbemQualifierSet : public IUnknown {
 public:
  static constexpr Guid kIid{
      0xDC12A680, 0x737F, 0x11CF, {0x88, 0x4D, 0, 0xAA, 0, 0x4B, 0x2E, 0x24}};

  // WBEM_E_NOT_FOUND for a name that is not in the set; names compare ignoring case.
  virtual HRESULT Get(const std::u16string& name, Variant* value) = 0;
  virtual HRESULT Put(const std::u16string& name, const Variant& value) = 0;
  virtual HRESULT GetNames(std::vector<std::u16string>* names) = 0;

 protected:
  ~IWbemQualifierSet() = default;
};

// A class, an instance, or the parameters object of a method.
//
// Property names compare ignoring case. Besides the declared properties every object has __CLASS,
// __SUPERCLASS, __GENUS (1 class, 2 instance) and, for instances with all keys set, __RELPATH.
// Not safe for concurrent writers; an object that nobody writes can be read from any thread.
class IWbemClassObject : public IUnknown {
 public:
  static constexpr Guid kIid{
      0xDC12A681, 0x737F, 0x11CF, {0x88, 0x4D, 0, 0xAA, 0, 0x4B, 0x2E, 0x24}};

  virtual HRESULT GetQualifierSet(IWbemQualifierSet** out) = 0;
  // WBEM_E_NOT_FOUND when the class declares no such property. `value` and `type` may be null.
  // A declared property without a value is VT_NULL.
  virtual HRESULT Get(const std::u16string& name, std::int32_t flags, Variant* value,
                      CIMTYPE* type) = 0;
  // Stores the value converted to the declared type's variant form (VT_BSTR for 64-bit integers and
  // date-times): WBEM_E_NOT_FOUND for an undeclared property of an instance, WBEM_E_TYPE_MISMATCH
  // when the value does not convert. On a class, an undeclared property is added with `type`.
  // Writing __CLASS of a derived class that has not been named yet names it.
  virtual HRESULT Put(const std::u16string& name, std::int32_t flags, const Variant& value,
                      CIMTYPE type) = 0;
  // Declared properties in declaration order, the superclass's first, without the system ones.
  virtual HRESULT GetNames(std::vector<std::u16string>* names) = 0;
  virtual HRESULT GetPropertyQualifierSet(const std::u16string& name, IWbemQualifierSet** out) = 0;
  // Classes only: a new class below this one, whose properties can be set and added.
  virtual HRESULT SpawnDerivedClass(std::int32_t flags, IWbemClassObject** out) = 0;
  // Classes only: a new instance with the declared defaults.
  virtual HRESULT SpawnInstance(std::int32_t flags, IWbemClassObject** out) = 0;
  // S_OK when this class (or the instance's class) is or derives from `ancestor`, else S_FALSE.
  virtual HRESULT InheritsFrom(const std::u16string& ancestor) = 0;
  // Classes only. The signatures are classes from which parameter objects are spawned, named
  // __PARAMETERS; a method without in (out) parameters has no in (out) signature: null. Either
  // out-parameter may be null. The return value is the property ReturnValue of `out_signature`.
  // WBEM_E_NOT_FOUND for an unknown method; names compare ignoring case.
  virtual HRESULT GetMethod(const std::u16string& name, std::int32_t flags,
                            IWbemClassObject** in_signature, IWbemClassObject** out_signature) = 0;
  virtual HRESULT GetMethodNames(std::vector<std::u16string>* names) = 0;
  virtual HRESULT GetMethodQualifierSet(const std::u16string& name, IWbemQualifierSet** out) = 0;
  virtual HRESULT Clone(IWbemClassObject** out) = 0;

 protected:
  ~IWbemClassObject() = default;
};

// Receives the answer to one request, from any thread, until SetStatus completes it.
class IWbemObjectSink : public IUnknown {
 public:
  static constexpr Guid kIid{
      0x7C857801, 0x7381, 0x11CF, {0x88, 0x4D, 0, 0xAA, 0, 0x4B, 0x2E, 0x24}};

  virtual HRESULT Indicate(std::int32_t count, IWbemClassObject** objects) = 0;
  // The error object may be null.
  virtual HRESULT SetStatus(std::int32_t flags, HRESULT result, const std::u16string* text,
                            IWbemClassObject* error) = 0;

 protected:
  ~IWbemObjectSink() = default;
};

// What a client that shows messages and progress offers besides.
class IWbemObjectSinkEx : public IWbemObjectSink {
 public:
  static constexpr Guid kIid{
      0xE7D35CFA, 0x348B, 0x485E, {0xB5, 0x24, 0x25, 0x27, 0x25, 0xD6, 0x97, 0xCA}};

  // Channel 0 is for warnings.
  virtual HRESULT WriteMessage(std::uint32_t channel, const std::u16string& text) = 0;
  // Null texts are left out; -1 stands for an unknown percentage or time. WBEM_E_CALL_CANCELLED
  // asks the provider to stop.
  virtual HRESULT WriteProgress(const std::u16string* activity,
                                const std::u16string* current_operation,
                                const std::u16string* status_description,
                                std::int32_t percent_complete, std::int32_t seconds_remaining) = 0;

 protected:
  ~IWbemObjectSinkEx() = default;
};

// Named values that a client sends along with a request.
class IWbemContext : public IUnknown {
 public:
  static constexpr Guid kIid{
      0x44ACA674, 0xE8FC, 0x11D0, {0xA0, 0x7C, 0, 0xC0, 0x4F, 0xB6, 0x88, 0x20}};

  virtual HRESULT GetNames(std::vector<std::u16string>* names) = 0;
  // WBEM_E_NOT_FOUND when there is no such value; names compare ignoring case.
  virtual HRESULT GetValue(const std::u16string& name, std::int32_t flags, Variant* value) = 0;
  virtual HRESULT SetValue(const std::u16string& name, std::int32_t flags,
                           const Variant& value) = 0;

 protected:
  ~IWbemContext() = default;
};

// A namespace of classes, and the entry points of a provider. A namespace answers the synchronous
// GetObject for classes; a provider answers the five asynchronous requests. Whatever an
// implementation does not offer returns WBEM_E_NOT_SUPPORTED.
class IWbemServices : public IUnknown {
 public:
  static constexpr Guid kIid{
      0x9556DC99, 0x828C, 0x11CF, {0xA3, 0x7E, 0, 0xAA, 0, 0x32, 0x40, 0xC7}};
  using Text = const std::u16string&;

  virtual HRESULT OpenNamespace(Text name, std::int32_t flags, IWbemContext* context,
                                IWbemServices** out) = 0;
  virtual HRESULT CancelAsyncCall(IWbemObjectSink* sink) = 0;
  virtual HRESULT QueryObjectSink(std::int32_t flags, IWbemObjectSink** out) = 0;
  virtual HRESULT GetObject(Text path, std::int32_t flags, IWbemContext* context,
                            IWbemClassObject** out) = 0;
  virtual HRESULT GetObjectAsync(Text path, std::int32_t flags, IWbemContext* context,
                                 IWbemObjectSink* sink) = 0;
  virtual HRESULT PutClass(IWbemClassObject* object, std::int32_t flags, IWbemContext* context) = 0;
  virtual HRESULT PutClassAsync(IWbemClassObject* object, std::int32_t flags, IWbemContext* context,
                                IWbemObjectSink* sink) = 0;
  virtual HRESULT DeleteClass(Text name, std::int32_t flags, IWbemContext* context) = 0;
  virtual HRESULT DeleteClassAsync(Text name, std::int32_t flags, IWbemContext* context,
                                   IWbemObjectSink* sink) = 0;
  virtual HRESULT CreateClassEnum(Text superclass, std::int32_t flags, IWbemContext* context,
                                  std::vector<ComPtr<IWbemClassObject>>* out) = 0;
  virtual HRESULT CreateClassEnumAsync(Text superclass, std::int32_t flags, IWbemContext* context,
                                       IWbemObjectSink* sink) = 0;
  virtual HRESULT PutInstance(IWbemClassObject* instance, std::int32_t flags,
                              IWbemContext* context) = 0;
  virtual HRESULT PutInstanceAsync(IWbemClassObject* instance, std::int32_t flags,
                                   IWbemContext* context, IWbemObjectSink* sink) = 0;
  virtual HRESULT DeleteInstance(Text path, std::int32_t flags, IWbemContext* context) = 0;
  virtual HRESULT DeleteInstanceAsync(Text path, std::int32_t flags, IWbemContext* context,
                                      IWbemObjectSink* sink) = 0;
  virtual HRESULT CreateInstanceEnum(Text class_name, std::int32_t flags, IWbemContext* context,
                                     std::vector<ComPtr<IWbemClassObject>>* out) = 0;
  virtual HRESULT CreateInstanceEnumAsync(Text class_name, std::int32_t flags,
                                          IWbemContext* context, IWbemObjectSink* sink) = 0;
  virtual HRESULT ExecQuery(Text language, Text query, std::int32_t flags, IWbemContext* context,
                            std::vector<ComPtr<IWbemClassObject>>* out) = 0;
  virtual HRESULT ExecQueryAsync(Text language, Text query, std::int32_t flags,
                                 IWbemContext* context, IWbemObjectSink* sink) = 0;
  virtual HRESULT ExecNotificationQuery(Text language, Text query, std::int32_t flags,
                                        IWbemContext* context,
                                        std::vector<ComPtr<IWbemClassObject>>* out) = 0;
  virtual HRESULT ExecNotificationQueryAsync(Text language, Text query, std::int32_t flags,
                                             IWbemContext* context, IWbemObjectSink* sink) = 0;
  virtual HRESULT ExecMethod(Text path, Text method, std::int32_t flags, IWbemContext* context,
                             IWbemClassObject* in_params, IWbemClassObject** out_params) = 0;
  virtual HRESULT ExecMethodAsync(Text path, Text method, std::int32_t flags, IWbemContext* context,
                                  IWbemClassObject* in_params, IWbemObjectSink* sink) = 0;

 protected:
  ~IWbemServices() = default;
};

class IWbemProviderInitSink : public IUnknown {
 public:
  static constexpr Guid kIid{
      0x1BE41571, 0x91DD, 0x11D1, {0xAE, 0xB2, 0, 0xC0, 0x4F, 0xB6, 0x88, 0x20}};

  virtual HRESULT SetStatus(HRESULT status, std::int32_t flags) = 0;

 protected:
  ~IWbemProviderInitSink() = default;
};

class IWbemProviderInit : public IUnknown {
 public:
  static constexpr Guid kIid{
      0x1BE41572, 0x91DD, 0x11D1, {0xAE, 0xB2, 0, 0xC0, 0x4F, 0xB6, 0x88, 0x20}};

  virtual HRESULT Initialize(const std::u16string* user, std::int32_t flags,
                             const std::u16string& namespace_name, const std::u16string* locale,
                             IWbemServices* services, IWbemContext* context,
                             IWbemProviderInitSink* sink) = 0;

 protected:
  ~IWbemProviderInit() = default;
};

// ---- Object paths ----

inline constexpr Guid CLSID_WbemDefPath{
    0xCF4CC405, 0xE2C5, 0x4DDD, {0xB3, 0xCE, 0x5E, 0x75, 0x82, 0xD8, 0xC9, 0xFA}};
inline constexpr std::uint32_t WBEMPATH_CREATE_ACCEPT_ALL = 4;
// What IWbemPath::GetInfo reports.
inline constexpr std::uint64_t WBEMPATH_INFO_IS_CLASS_REF = 0x4;
inline constexpr std::uint64_t WBEMPATH_INFO_IS_INST_REF = 0x8;
inline constexpr std::uint64_t WBEMPATH_INFO_IS_SINGLETON = 0x1000;

class IWbemPathKeyList : public IUnknown {
 public:
  static constexpr Guid kIid{
      0x9AE62877, 0x7544, 0x4BB0, {0xAA, 0x26, 0xA1, 0x38, 0x24, 0x65, 0x9E, 0xD6}};

  virtual HRESULT GetCount(std::uint32_t* count) = 0;
  // Adds the key or replaces its value; names compare ignoring case.
  virtual HRESULT SetKey2(const std::u16string& name, std::uint32_t flags, CIMTYPE type,
                          const Variant& value) = 0;
  // WBEM_E_INVALID_PARAMETER beyond the last key. A key given without a name has an empty one.
  virtual HRESULT GetKey2(std::uint32_t index, std::uint32_t flags, std::u16string* name,
                          Variant* value, CIMTYPE* type) = 0;

 protected:
  ~IWbemPathKeyList() = default;
};

// One object path, parsed or built: [\\server\][namespace:]Class[.Key=value,…|=value|=@].
class IWbemPath : public IUnknown {
 public:
  static constexpr Guid kIid{
      0x3BC15AF2, 0x736C, 0x477E, {0x9E, 0x51, 0x23, 0x8A, 0xF8, 0x66, 0x7D, 0xCC}};

  // WBEM_E_INVALID_PARAMETER for a text that is no path; the object is then as it was.
  virtual HRESULT SetText(std::uint32_t mode, const std::u16string& text) = 0;
  virtual HRESULT GetText(std::int32_t flags, std::u16string* text) = 0;
  virtual HRESULT GetInfo(std::uint32_t requested, std::uint64_t* response) = 0;
  virtual HRESULT SetClassName(const std::u16string& name) = 0;
  // WBEM_E_NOT_FOUND before a class was set.
  virtual HRESULT GetClassName(std::u16string* name) = 0;
  // Ignores case.
  virtual bool IsSameClassName(const std::u16string& name) = 0;
  // The list is part of the path: what is set in it appears in GetText.
  virtual HRESULT GetKeyList(IWbemPathKeyList** out) = 0;

 protected:
  ~IWbemPath() = default;
};

// ---- Date-times ----

inline constexpr Guid CLSID_SWbemDateTime{
    0x47DFBE54, 0xCF76, 0x11D3, {0xB3, 0x8F, 0, 0x10, 0x5A, 0x1F, 0x47, 0x3A}};

// Builds the text form yyyymmddHHMMSS.mmmmmm+ooo. A part out of range is WBEM_E_INVALID_PARAMETER.
class ISWbemDateTime : public IUnknown {
 public:
  static constexpr Guid kIid{
      0x5E97458A, 0xCF77, 0x11D3, {0xB3, 0x8F, 0, 0x10, 0x5A, 0x1F, 0x47, 0x3A}};

  virtual HRESULT SetYear(std::int32_t value) = 0;
  virtual HRESULT SetMonth(std::int32_t value) = 0;
  virtual HRESULT SetDay(std::int32_t value) = 0;
  virtual HRESULT SetHours(std::int32_t value) = 0;
  virtual HRESULT SetMinutes(std::int32_t value) = 0;
  virtual HRESULT SetSeconds(std::int32_t value) = 0;
  virtual HRESULT SetMicroseconds(std::int32_t value) = 0;
  // Minutes east of universal time.
  virtual HRESULT SetUtcOffset(std::int32_t value) = 0;
  virtual HRESULT GetValue(std::u16string* value) = 0;

 protected:
  ~ISWbemDateTime() = default;
};

// ---- Objects that a host makes ----

// Adds the path parser and the date-time to the classes of this process. Harmless when repeated.
void RegisterWbemClasses();

// An empty context.
ComPtr<IWbemContext> MakeContext();

// What compiling a schema found wrong, in the form "file:line: found X, expected Y".
struct SchemaError {
  std::string text;
};

// A namespace of the classes that the *.mof files of a folder (UTF-8 path) declare, compiled in an
// order that satisfies superclasses. It answers GetObject and CreateClassEnum (classes in order of
// their names) and may be read from any thread. Null on failure, with the reason in `error`.
ComPtr<IWbemServices> OpenNamespaceFolder(const std::string& folder, SchemaError& error);

}  // namespace kelvarion
