// The typed values of the machine's configuration keys.
//
// A key is a path below one of the predefined roots; names of keys and values compare ignoring
// case. Each call is complete in itself: nothing is cached, and a value written by another process
// is seen by the next read. Safe from any thread and from several processes. Writes are durable on
// return. Failures come back as Win32 error codes, since callers quote them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform {

enum class RootKey : std::uint32_t {
  kClassesRoot = 0x80000000,
  kCurrentUser = 0x80000001,
  kLocalMachine = 0x80000002,
  kUsers = 0x80000003,
  kPerformanceData = 0x80000004,
  kCurrentConfig = 0x80000005,
  kDynData = 0x80000006,
  kPerformanceText = 0x80000050,
  kPerformanceNlsText = 0x80000060,
};

// A root and the path below it, its parts separated by "\".
struct KeyPath {
  RootKey root = RootKey::kLocalMachine;
  std::u16string path;
};

enum class RegistryType : std::uint32_t {
  kNone = 0,
  kString = 1,        // REG_SZ
  kExpandString = 2,  // REG_EXPAND_SZ
  kBinary = 3,
  kDword = 4,
  kMultiString = 7,
  kQword = 11,
};

// The raw bytes are those Windows keeps: UTF-16LE with terminating NULs, little-endian numbers.
struct RegistryValue {
  RegistryType type = RegistryType::kNone;
  std::vector<std::uint8_t> data;

  static RegistryValue String(const std::u16string& text);
  static RegistryValue Dword(std::uint32_t number);
  // Each string followed by a NUL and one more NUL; an empty list is a single NUL.
  static RegistryValue MultiString(const std::vector<std::u16string>& list);

  friend bool operator==(const RegistryValue&, const RegistryValue&) = default;
};

class Registry {
 public:
  virtual ~Registry() = default;

  // ERROR_FILE_NOT_FOUND when the key does not exist.
  virtual Win32Error OpenKey(const KeyPath& key) const = 0;
  // Creates the key and its parents; success when it exists already.
  virtual Win32Error CreateKey(const KeyPath& key) = 0;
  // Deletes the key with everything below it. ERROR_FILE_NOT_FOUND when it does not exist.
  virtual Win32Error DeleteTree(const KeyPath& key) = 0;
  // Names of the keys directly below, sorted.
  virtual Win32Error EnumerateKeys(const KeyPath& key, std::vector<std::u16string>& out) const = 0;
  virtual Win32Error EnumerateValues(const KeyPath& key,
                                     std::vector<std::u16string>& out) const = 0;

  // ERROR_FILE_NOT_FOUND when the key or the value is missing. The empty name is the key's default
  // value.
  virtual Win32Error Query(const KeyPath& key, const std::u16string& name,
                           RegistryValue& out) const = 0;
  // The key must exist; ERROR_FILE_NOT_FOUND otherwise.
  virtual Win32Error Set(const KeyPath& key, const std::u16string& name,
                         const RegistryValue& value) = 0;
  virtual Win32Error DeleteValue(const KeyPath& key, const std::u16string& name) = 0;
};

// The registry kept in the SQLite file `file` (UTF-8 path), created when missing. `user_sid` says
// whose HKEY_CURRENT_USER this is. HKEY_CLASSES_ROOT reads the user's classes over the machine's
// and writes the machine's. An error leaves `out` empty.
Win32Error OpenRegistryFile(const std::string& file, const std::u16string& user_sid,
                            std::unique_ptr<Registry>& out);

}  // namespace kelvarion::platform
