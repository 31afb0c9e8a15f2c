#include "tests/support/certificate_authority.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "tests/support/process.h"
#include "tests/support/test_home.h"

namespace kelvarion::testing {

std::string OpenSsl(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "openssl");
  const ProcessResult result = RunProcess(arguments);
  if (result.exit_code != 0) throw std::runtime_error("openssl " + arguments[1] + result.all());
  return result.out;
}

CertificateAuthority::CertificateAuthority() {
  std::filesystem::create_directory(File("store"));
  setenv("SSL_CERT_DIR", File("store").c_str(), 1);
  setenv("SSL_CERT_FILE", File("store/none").c_str(), 1);
}

void CertificateAuthority::Make(const std::string& name, const std::string& issuer,
                                const std::string& extensions, int days) {
  OpenSsl({"genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256", "-out",
           File(name + ".key")});
  MakeFor(File(name + ".key"), name, issuer, extensions, days);
}

void CertificateAuthority::MakeFor(const std::string& key_file, const std::string& name,
                                   const std::string& issuer, const std::string& extensions,
                                   int days) {
  WriteFile(File("extensions"), extensions);
  OpenSsl({"req", "-new", "-key", key_file, "-subj", "/CN=" + name, "-out", File("request")});
  std::vector<std::string> words = {"x509",     "-req",
                                    "-in",      File("request"),
                                    "-extfile", File("extensions"),
                                    "-out",     File(name + ".pem"),
                                    "-days",    std::to_string(days)};
  if (issuer.empty())
    words.insert(words.end(), {"-key", key_file});
  else
    words.insert(words.end(), {"-CA", File(issuer + ".pem"), "-CAkey", File(issuer + ".key"),
                               "-CAcreateserial"});
  OpenSsl(words);
}

void CertificateAuthority::Trust(const std::string& name) {
  std::filesystem::copy(File(name + ".pem"), File("store/" + name + ".pem"));
  OpenSsl({"rehash", File("store")});
}

std::string CertificateAuthority::Text(const std::string& names) const {
  std::istringstream words(names);
  std::string text;
  for (std::string name; words >> name;) text += ReadFile(File(name));
  return text;
}

}  // namespace kelvarion::testing
