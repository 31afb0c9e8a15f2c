// How the repositories of a master's server are reached.
#pragma once

#include <string>

namespace kelvarion::ormu {

struct MasterAccess {
  // Of the location or folder that holds the master's repositories, without "/" at its end; http,
  // https, svn or file.
  std::string url;
  // None: nobody in particular asks.
  std::string account;
  std::string password;
  // SHA-256 of the certificate's DER form in lower-case hex digits: only that certificate is
  // trusted. Empty: one that an authority of this machine vouches for.
  std::string certificate_sha256;
  friend bool operator==(const MasterAccess&, const MasterAccess&) = default;
};

}  // namespace kelvarion::ormu
