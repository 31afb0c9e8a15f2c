#include "repos/engine_errors.h"

#include <svn_error.h>

#include "errors/exception.h"
#include "platform/com/types.h"
#include "platform/ormu/ormu.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

constexpr int SystemError(Win32Error error) { return ORMU_ERR_SYSTEM + static_cast<int>(error); }

constexpr int kAnyCause = -1;

// What most likely caused a failure, from its code and the code of the error under it.
constexpr struct {
  int code;
  int cause;
  std::uint32_t probable_reason;
} kReasons[] = {
    {ORMU_ERR_SERVICE_FAILED, SystemError(RPC_S_SERVER_UNAVAILABLE), 1},
    {ORMU_ERR_SERVICE_FAILED, SystemError(EPT_S_NOT_REGISTERED), 1},
    {ORMU_ERR_MASTER_FAILED, SystemError(RPC_S_SERVER_UNAVAILABLE), 2},
    {ORMU_ERR_MASTER_FAILED, SystemError(EPT_S_NOT_REGISTERED), 2},
    {ORMU_ERR_MASTER_FAILED, SystemError(ERROR_ACCESS_DENIED), 4},
    {ORMU_ERR_MASTER_FAILED, SystemError(RPC_S_UNKNOWN_AUTHN_SERVICE), 6},
    {ORMU_ERR_NO_SUCH_MASTER, kAnyCause, 3},
    {ORMU_ERR_NOT_A_REPLICATOR, kAnyCause, 5},
};

// 0 for a failure that the chain does not explain.
std::uint32_t ProbableReason(const std::vector<SvnException::Link>& links) {
  if (links.empty()) return 0;
  const int cause = links.size() > 1 ? links[1].code : 0;
  for (const auto& row : kReasons)
    if (row.code == links[0].code && (row.cause == kAnyCause || row.cause == cause))
      return row.probable_reason;
  return 0;
}

}  // namespace

void ThrowExplained(const SvnException& failure) {
  const std::vector<SvnException::Link> links = failure.Links();
  const std::uint32_t reason = ProbableReason(links);
  if (reason == 0) return;
  std::u16string details;
  for (std::size_t i = 1; i < links.size(); ++i)
    details += (i > 1 ? u"\r\n" : u"") + links[i].message;
  throw LocalServerAdminException(links[0].message, details, failure.FullText(), reason);
}

void CheckRequest(svn_error_t* error) {
  if (!error) return;
  const SvnException failure(error);
  ThrowExplained(failure);
  throw SvnException(failure);
}

void CheckConsistencyRequest(svn_error_t* error, const std::u16string& repository) {
  if (!error) return;
  const SvnException failure(error);
  ThrowExplained(failure);
  const std::u16string text = Format(u"Consistency check for repository '%s' failed:", repository);
  throw SvnException(svn_error_quick_wrap(svn_error_dup(failure.chain()), svn::Utf8(text).c_str()));
}

}  // namespace kelvarion::repos
