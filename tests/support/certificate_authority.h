// Certificates as the openssl program makes them, for tests that install them.
#pragma once

#include <string>
#include <vector>

#include "tests/support/temporary_folder.h"

namespace kelvarion::testing {

// Runs the program to its end; what it printed. Throws with its words when it fails.
std::string OpenSsl(std::vector<std::string> arguments);

inline constexpr const char* kAuthority = "basicConstraints=critical,CA:TRUE\n";
inline constexpr const char* kServer = "extendedKeyUsage=serverAuth\n";

// A folder with NAME.pem and NAME.key for each certificate. While it lives, the machine's store of
// this process, and of what it starts, is an empty folder and what was put there.
class CertificateAuthority {
 public:
  CertificateAuthority();

  // An EC key, and a certificate for NAME; issued by itself without an issuer.
  void Make(const std::string& name, const std::string& issuer, const std::string& extensions,
            int days = 30);
  // The same for a key that exists, or is among others in a file.
  void MakeFor(const std::string& key_file, const std::string& name, const std::string& issuer,
               const std::string& extensions, int days = 30);
  void Trust(const std::string& name);

  std::string File(const std::string& name) const { return folder_.native() + "/" + name; }
  // The files one after the other, for names with blanks between them.
  std::string Text(const std::string& names) const;

 private:
  TemporaryFolder folder_;
};

}  // namespace kelvarion::testing
