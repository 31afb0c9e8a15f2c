#include "tests/support/dav_server.h"

#include <sstream>
#include <stdexcept>

#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

std::string WriteConfiguration(const std::string& folder, const std::string& repositories,
                               const DavOptions& options, int port) {
  std::ostringstream out;
  out << "ServerRoot " << folder << "\nServerName localhost\nListen 127.0.0.1:" << port
      << "\nPidFile " << folder << "/httpd.pid\nErrorLog " << folder
      << "/error.log\nMutex posixsem\n";
  for (const char* module : {"mpm_event", "authn_core", "authn_file", "authz_core", "authz_user",
                             "auth_basic", "socache_shmcb", "ssl", "dav", "dav_svn", "authz_svn"})
    out << "LoadModule " << module << "_module /usr/lib/apache2/modules/mod_" << module << ".so\n";
  if (!options.key.empty())
    out << "SSLEngine on\nSSLCertificateFile " << options.certificate << "\nSSLCertificateKeyFile "
        << options.key << "\n";
  out << "<Location /svn>\nDAV svn\nSVNParentPath " << repositories << "\n";
  if (options.users.empty())
    out << "Require all granted\n";
  else
    out << "AuthType Basic\nAuthName test\nAuthUserFile " << options.users
        << "\nRequire valid-user\n";
  if (!options.rules.empty())
    out << "AuthzSVNAccessFile " << options.rules << "\nAuthzSVNGroupsFile " << options.groups
        << "\n";
  out << "</Location>\n";
  const std::string path = folder + "/httpd.conf";
  WriteText(path, out.str());
  return path;
}

}  // namespace

DavServer::DavServer(const std::string& folder, const std::string& repositories, DavOptions options)
    : port_(FreePort()),
      url_((options.key.empty() ? "http" : "https") + std::string("://localhost:") +
           std::to_string(port_) + "/svn"),
      process_({"/usr/sbin/apache2", "-DFOREGROUND", "-f",
                WriteConfiguration(folder, repositories, options, port_)}) {
  // Whatever it answers.
  if (!Eventually([&] {
        return RunProcess({"curl", "-s", "-k", "-o", "/dev/null", url_}).exit_code == 0;
      }))
    throw std::runtime_error("the web server does not answer: " + ReadText(folder + "/error.log"));
}

DavServer::~DavServer() {
  process_.Terminate();
  process_.Wait();
}

}  // namespace kelvarion::testing
