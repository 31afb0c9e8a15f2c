#include "svn/error.h"

#include <svn_error.h>
#include <svn_error_codes.h>
#include <svn_pools.h>

#include <set>
#include <utility>

#include "errors/hresult_text.h"
#include "platform/text/encoding.h"

namespace kelvarion {
namespace {

constexpr apr_size_t kMessageBytes = 512;

std::u16string BestMessage(const svn_error_t* error) {
  char buffer[kMessageBytes];
  return platform::Utf16ForDisplay(svn_err_best_message(error, buffer, sizeof buffer));
}

}  // namespace

SvnException::SvnException(svn_error_t* chain)
    : chain_(chain, [](svn_error_t* error) { svn_error_clear(error); }) {}

std::u16string SvnException::Message() const {
  return chain_ ? BestMessage(chain_.get()) : std::u16string();
}

std::vector<SvnException::Link> SvnException::Links() const {
  std::vector<Link> links;
  if (!chain_) return links;
  std::set<int> seen;
  for (const svn_error_t* link = svn_error_purge_tracing(chain_.get()); link; link = link->child) {
    // What a code says is worth saying once, also under a message that has the same code: the
    // message may only tell where it happened. The link that joins two chains says nothing at all.
    const bool news = !link->message && link->apr_err != SVN_ERR_COMPOSED_ERROR &&
                      seen.insert(link->apr_err).second;
    if (link->message || news) links.push_back({link->apr_err, BestMessage(link)});
  }
  return links;
}

std::u16string SvnException::FullText() const {
  std::u16string text;
  for (const Link& link : Links()) {
    if (!text.empty()) text += u'\n';
    text += link.message;
  }
  return text;
}

int SvnException::code() const { return chain_ ? chain_->apr_err : 0; }

bool SvnException::Has(int code) const {
  for (const svn_error_t* link = chain_.get(); link; link = link->child) {
    if (link->apr_err == code) return true;
  }
  return false;
}

namespace svn {

void Check(svn_error_t* error) {
  if (error) throw SvnException(error);
}

void Ignore(svn_error_t* error) { svn_error_clear(error); }

void ThrowError(int code, const std::u16string& message) {
  throw SvnException(svn_error_create(code, nullptr, platform::Utf8ForDisplay(message).c_str()));
}

void ThrowAprError(int status, const std::u16string& message) {
  throw SvnException(svn_error_wrap_apr(status, "%s", platform::Utf8ForDisplay(message).c_str()));
}

void ThrowSystemError(Win32Error error, const std::u16string& message) {
  int status = APR_EGENERAL;
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      status = APR_ENOENT;
      break;
    case ERROR_ACCESS_DENIED:
      status = APR_EACCES;
      break;
    case ERROR_DISK_FULL:
      status = APR_ENOSPC;
      break;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      status = APR_EEXIST;
      break;
    default:
      break;
  }
  if (status != APR_EGENERAL) ThrowAprError(status, message);
  ThrowError(status, message + u": " + HresultText(HresultFromWin32(error)));
}

void Callback::CheckAfter(svn_error_t* error) {
  if (!stored_) return Check(error);
  // The library only reports that it was told to stop.
  Ignore(error);
  std::rethrow_exception(std::exchange(stored_, nullptr));
}

svn_error_t* Callback::Store(std::exception_ptr exception) {
  if (!stored_) stored_ = std::move(exception);
  return svn_error_create(SVN_ERR_CANCELLED, nullptr, nullptr);
}

}  // namespace svn
}  // namespace kelvarion
