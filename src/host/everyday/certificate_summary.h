// What the commands about certificates tell people.
#pragma once

#include <string>

#include "host/outcome.h"
#include "host/session.h"

namespace kelvarion::host {

inline constexpr const char* kServerCertificateClass = "Kelvarion_ServerCertificate";
inline constexpr const char* kServicePath = "Kelvarion_Service.Name=\"KelvarionServer\"";

// An instance of Kelvarion_ServerCertificate in a few lines, with what needs attention in words.
std::string CertificateSummary(const Json& certificate);

// The installed certificate.
Outcome ShowCertificate(Session& session);

// For after a change that went well, else the change's own outcome: with `restart` a server that
// runs takes the certificate up; the outcome is the installed certificate.
Outcome FinishCertificateChange(Session& session, Outcome change, bool restart);

}  // namespace kelvarion::host
