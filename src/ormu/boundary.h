// Where exceptions become the libraries' errors.
#pragma once

#include <svn_error.h>

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "svn/error.h"

namespace kelvarion::ormu {

// The chain that says what the exception says, which the caller owns.
inline svn_error_t* ChainOf(const Exception& exception) {
  const auto* const error = dynamic_cast<const SvnException*>(&exception);
  if (error && error->chain()) return svn_error_dup(error->chain());
  return svn_error_create(APR_EGENERAL, nullptr,
                          platform::Utf8ForDisplay(exception.Message()).c_str());
}

// Runs a body behind a function of C.
template <class Body>
svn_error_t* AtBoundary(Body&& body) noexcept {
  try {
    body();
    return nullptr;
  } catch (const Exception& exception) {
    return ChainOf(exception);
  } catch (const std::exception& exception) {
    return svn_error_create(APR_EGENERAL, nullptr, exception.what());
  }
}

// Throws `code` with the message in front of the chain, which it takes over and which may be null.
[[noreturn]] inline void ThrowOver(int code, const std::u16string& message, svn_error_t* cause) {
  throw SvnException(svn_error_create(code, cause, platform::Utf8ForDisplay(message).c_str()));
}

}  // namespace kelvarion::ormu
