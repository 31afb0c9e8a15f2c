// The servers of masters that this home trusts, and how each is reached.
//
// A server is named host[:port], as slaves name their master's; names compare ignoring case. What
// is known about one is a file of its own below the home, for the home's owner alone and replaced
// whole, since it holds a password. Nothing is cached. Safe from any thread and from several
// processes. Failures are of the exception family.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ormu/master_access.h"

namespace kelvarion::ormu {

// The one form of a server's name. SvnException SVN_ERR_BAD_URL for a text that
// names none.
std::string CanonicalServer(std::string_view server);

// Where a server of this kind has its masters for those who replicate: "https", "http" of a server
// like this one, "svn" of the stock one. SvnException SVN_ERR_BAD_URL for another
// scheme.
std::string ReplicationUrl(std::string_view scheme, std::string_view server);

// Replaces what was known about the server.
void TrustMaster(const std::string& home, std::string_view server, const MasterAccess& access);
// False when the server was not trusted.
bool ForgetMaster(const std::string& home, std::string_view server);

// Canonical names, in order.
std::vector<std::string> ListTrustedMasters(const std::string& home);
std::optional<MasterAccess> FindMaster(const std::string& home, std::string_view server);
// SvnException ORMU_ERR_UNTRUSTED_MASTER, with what to do about it, for one that is not trusted.
MasterAccess RequireMaster(const std::string& home, std::string_view server);

// What a server shows who connects to it with TLS.
struct ServerCertificate {
  std::string sha256;   // As in MasterAccess.
  std::string subject;  // For people, as the next ones.
  std::string issuer;
  std::string valid_until;
  // An authority of this machine vouches for it under the server's name, so nobody need pin it.
  bool vouched_for = false;
};
// SvnException ORMU_ERR_MASTER_FAILED over what went wrong with the connection. Waits for some
// seconds at most.
ServerCertificate FetchCertificate(std::string_view server);

}  // namespace kelvarion::ormu
