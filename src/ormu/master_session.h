// A connection to one repository of a master's server.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "ormu/master_access.h"
#include "svn/cancellation.h"
#include "svn/pool.h"

struct svn_ra_session_t;

namespace kelvarion::ormu {

// Whom a slave follows, and how. UTF-8.
struct Master {
  std::string server;      // host[:port], as its administrators name it.
  std::string repository;  // Its name there.
  MasterAccess access;
  friend bool operator==(const Master&, const Master&) = default;
};

using RevisionProperties = std::map<std::string, std::string>;

// A connection that stays open between questions and belongs to one thread. It asks nobody for
// credentials and neither reads nor writes what an account keeps of its own use of Subversion.
//
// What fails because of the master or the way to it is a SvnException whose chain begins with one
// of the codes of platform/ormu/ormu.h: ORMU_ERR_MASTER_FAILED (over ORMU_ERR_SYSTEM + 1722 when it
// cannot be reached, + 5 when it refuses the account), ORMU_ERR_NO_SUCH_MASTER,
// ORMU_ERR_UNTRUSTED_MASTER for its certificate. After any of them only destroying the session
// makes sense. A connection that stays silent is given up after a minute; one over svn: as soon as
// the system gives it up. Cancelling ends whatever waits with SVN_ERR_CANCELLED.
class MasterSession {
 public:
  // Connects, and knows that the repository is there.
  MasterSession(Master master, svn::Cancellation cancellation, const svn::Pool& parent);
  ~MasterSession();
  MasterSession(const MasterSession&) = delete;
  MasterSession& operator=(const MasterSession&) = delete;

  const Master& master() const;
  const std::string& uuid() const;
  const svn::Cancellation& cancellation() const;

  // Whether the slave of this folder was found to have the master's history up to the revision.
  bool HasAgreed(const std::string& folder, std::int64_t revision) const;
  void SetAgreed(const std::string& folder, std::int64_t revision);

  // One small request.
  std::int64_t Youngest();
  RevisionProperties PropertiesOf(std::int64_t revision);
  // When the revision was committed, in microseconds since 1970; nothing when it does not say.
  std::optional<std::int64_t> DateOf(std::int64_t revision);

  // For this folder: questions of other kinds. Their failures are to go through Check.
  svn_ra_session_t* ra() const;
  const svn::Pool& pool() const;
  void Check(struct svn_error_t* error) const;

 private:
  class Connection;
  std::unique_ptr<Connection> connection_;
};

}  // namespace kelvarion::ormu
