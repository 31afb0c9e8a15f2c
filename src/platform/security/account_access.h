// What an account may do with files: by owners, modes and access lists alone, whoever asks.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform {

// Reads the system's accounts once and folders once each. One thread.
class AccountAccess {
 public:
  // A user by name; nothing when there is none.
  static std::optional<AccountAccess> Of(const std::u16string& user);

  // What keeps the account from using the file: the file itself, or the first folder on the way
  // that it cannot enter; empty when nothing does. `wanted` has bits as a file's mode: 4 read, 2
  // write, 1 execute. A path that does not exist keeps nobody from anything.
  std::string Obstacle(const std::string& path, std::uint8_t wanted);
  // Folders are read anew from now on.
  void Forget() { passable_.clear(); }

 private:
  bool Allows(const std::string& path, std::uint8_t wanted) const;

  std::uint32_t user_ = 0;
  std::vector<std::uint32_t> groups_;
  std::map<std::string, bool> passable_;
};

}  // namespace kelvarion::platform
