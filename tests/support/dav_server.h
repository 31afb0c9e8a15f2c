// A stock Apache that serves the repositories of a folder, without any server of ours.
#pragma once

#include <string>

#include "tests/support/process.h"

namespace kelvarion::testing {

struct DavOptions {
  // Of files made by openssl; HTTP in the clear without them.
  std::string certificate = {};
  std::string key = {};
  // Made by htpasswd; everybody may read without it.
  std::string users = {};
  // Path rules and the groups in them, as mod_authz_svn takes them; none without it.
  std::string rules = {};
  std::string groups = {};
};

// On a free port of the loopback address, at /svn. It answers once it is made, and is gone with its
// workers when it is destroyed.
class DavServer {
 public:
  // Its own files come to lie in `folder`, which exists.
  DavServer(const std::string& folder, const std::string& repositories, DavOptions options = {});
  ~DavServer();
  DavServer(const DavServer&) = delete;
  DavServer& operator=(const DavServer&) = delete;
  const std::string& url() const { return url_; }

 private:
  int port_;
  std::string url_;
  ChildProcess process_;
};

}  // namespace kelvarion::testing
