#include "ormu/master_errors.h"

#include <apr_errno.h>
#include <svn_error_codes.h>

#include "ormu/boundary.h"
#include "platform/ormu/ormu.h"
#include "svn/text.h"

namespace kelvarion::ormu {
namespace {

constexpr int kServerUnavailable = ORMU_ERR_SYSTEM + 1722;
constexpr int kAccessDenied = ORMU_ERR_SYSTEM + 5;

using Matches = bool (*)(const svn_error_t&);

const svn_error_t* Find(const svn_error_t* chain, Matches matches) {
  while (chain && !matches(*chain)) chain = chain->child;
  return chain;
}

bool Any(const svn_error_t* chain, Matches matches) { return Find(chain, matches) != nullptr; }

bool IsCancelled(const svn_error_t& link) { return link.apr_err == SVN_ERR_CANCELLED; }

bool IsUntrusted(const svn_error_t& link) {
  return link.apr_err == SVN_ERR_RA_SERF_SSL_CERT_UNTRUSTED;
}

bool IsRefused(const svn_error_t& link) {
  return link.apr_err == SVN_ERR_RA_NOT_AUTHORIZED || link.apr_err == SVN_ERR_RA_DAV_FORBIDDEN ||
         SVN_ERROR_IN_CATEGORY(link.apr_err, SVN_ERR_AUTHN_CATEGORY_START) ||
         SVN_ERROR_IN_CATEGORY(link.apr_err, SVN_ERR_AUTHZ_CATEGORY_START);
}

bool IsNowhere(const svn_error_t& link) {
  switch (link.apr_err) {
    case SVN_ERR_RA_SVN_REPOS_NOT_FOUND:
    case SVN_ERR_RA_DAV_PATH_NOT_FOUND:
    case SVN_ERR_RA_LOCAL_REPOS_NOT_FOUND:
    case SVN_ERR_RA_DAV_OPTIONS_REQ_FAILED:  // No repositories there at all.
      return true;
    case SVN_ERR_RA_CANNOT_CREATE_SESSION:  // As a web server says it.
      return link.child && (APR_STATUS_IS_ENOENT(link.child->apr_err) ||
                            link.child->apr_err == SVN_ERR_FS_NOT_FOUND);
    case SVN_ERR_RA_LOCAL_REPOS_OPEN_FAILED:  // With a cause: it is there and does not open.
      return !link.child;
    default:
      return false;
  }
}

// Codes of the library that speaks HTTP; it has no header here.
bool IsOfTransport(int code) { return code >= 120100 && code < 120200; }

// A name that leads to no machine.
bool IsAddressTrouble(int code) {
  return code >= APR_OS_START_EAIERR && code < APR_OS_START_SYSERR;
}

bool IsUnreachable(const svn_error_t& link) {
  const int code = link.apr_err;
  return APR_STATUS_IS_ECONNREFUSED(code) || APR_STATUS_IS_ECONNRESET(code) ||
         APR_STATUS_IS_ECONNABORTED(code) || APR_STATUS_IS_ETIMEDOUT(code) ||
         APR_STATUS_IS_TIMEUP(code) || APR_STATUS_IS_EHOSTUNREACH(code) ||
         APR_STATUS_IS_ENETUNREACH(code) || APR_STATUS_IS_EPIPE(code) || IsOfTransport(code) ||
         IsAddressTrouble(code) || code == SVN_ERR_RA_SVN_CONNECTION_CLOSED ||
         code == SVN_ERR_RA_SVN_IO_ERROR || code == SVN_ERR_RA_DAV_CONN_TIMEOUT;
}

// One link in front of the chain.
svn_error_t* Over(int code, const std::u16string& message, svn_error_t* chain) {
  return svn_error_create(code, chain, platform::Utf8ForDisplay(message).c_str());
}

}  // namespace

void ThrowMasterError(const Master& master, svn_error_t* chain) {
  chain = svn_error_purge_tracing(chain);
  const std::u16string server = platform::Utf16ForDisplay(master.server);
  const std::u16string repository = platform::Utf16ForDisplay(master.repository);
  if (const svn_error_t* const cancelled = Find(chain, IsCancelled)) {
    const SvnException whole(chain);  // Without what was being done at the time.
    throw SvnException(svn_error_dup(cancelled));
  }
  if (Any(chain, IsUntrusted))
    ThrowOver(ORMU_ERR_UNTRUSTED_MASTER,
              Format(u"The certificate of '%s' is not trusted; if it is the right one, trust it "
                     u"by: kelvarionctl replication trust %s",
                     server, server),
              chain);
  if (Any(chain, IsNowhere))
    ThrowOver(ORMU_ERR_NO_SUCH_MASTER,
              Format(u"'%s' has no repository '%s' to replicate", server, repository), chain);
  if (Any(chain, IsRefused))
    chain = Over(kAccessDenied, u"The account may not replicate the repository", chain);
  else if (Any(chain, IsUnreachable))
    chain = Over(kServerUnavailable, u"The server is unavailable", chain);
  ThrowOver(ORMU_ERR_MASTER_FAILED,
            Format(u"The master '%s' on '%s' could not be asked", repository, server), chain);
}

}  // namespace kelvarion::ormu
