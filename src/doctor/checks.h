// The checks, one function each; doctor.cpp has the table that names them.
#pragma once

#include <string>

#include "doctor/examination.h"

namespace kelvarion::doctor {

// Of the server as a whole.
void CheckSettings(Examination& run);
void CheckLogins(Examination& run);
void CheckHomeFiles(Examination& run);
void CheckWebServerReach(Examination& run);
void CheckGeneratedFiles(Examination& run);
void CheckCertificate(Examination& run);
void CheckWebServerConfiguration(Examination& run);
void CheckWebServer(Examination& run);
void CheckRestartPending(Examination& run);
void CheckReplicationService(Examination& run);
void CheckSpace(Examination& run);
void CheckLeftovers(Examination& run);
void CheckRepositoriesRoot(Examination& run);
void CheckAccessRules(Examination& run);

// Of one repository, named as its folder is.
struct RepositoryPlace {
  std::u16string name;
  std::u16string path;
  std::string native;  // The same, UTF-8.
};
void CheckOpens(Examination& run, const RepositoryPlace& repository);
void CheckRepositoryReach(Examination& run, const RepositoryPlace& repository);
void CheckHooks(Examination& run, const RepositoryPlace& repository);
void CheckRepositoryLeftovers(Examination& run, const RepositoryPlace& repository);

}  // namespace kelvarion::doctor
