// Subversion's error chains as exceptions.
#pragma once

#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "errors/exception.h"

struct svn_error_t;

namespace kelvarion {

// Owns a Subversion error chain. Its message is the best message of the chain.
class SvnException : public CloneableException<SvnException, Exception> {
 public:
  // Takes over the chain, which may be null.
  explicit SvnException(svn_error_t* chain);
  std::u16string Message() const override;
  // The errors of the chain that have something to say, the first one first.
  struct Link {
    int code;
    std::u16string message;
  };
  std::vector<Link> Links() const;
  // Every message of the chain, one a line.
  std::u16string FullText() const;
  // The code of the chain's first error, 0 without a chain.
  int code() const;
  // Whether any error of the chain has the code.
  bool Has(int code) const;
  // For the few places that hand the chain back to the libraries; still owned here.
  svn_error_t* chain() const { return chain_.get(); }

 private:
  std::shared_ptr<svn_error_t> chain_;
};

namespace svn {

// Throws SvnException when a library call failed; takes over the error.
void Check(svn_error_t* error);
// Drops an error that changes nothing; every use says why in a comment.
void Ignore(svn_error_t* error);

// Throws SvnException for a failure of our own in the libraries' terms.
[[noreturn]] void ThrowError(int code, const std::u16string& message);
// The same around an APR status, whose text follows ": ".
[[noreturn]] void ThrowAprError(int status, const std::u16string& message);
// The same around a code of the platform's ports.
[[noreturn]] void ThrowSystemError(Win32Error error, const std::u16string& message);

// Carries a C++ exception across the libraries' C frames: a callback runs its body through Run,
// which stores what the body throws and tells the library to stop; the caller of the library then
// calls CheckAfter, which rethrows the stored exception rather than the error it caused.
class Callback {
 public:
  template <class Body>
  svn_error_t* Run(Body&& body) {
    try {
      body();
      return nullptr;
    } catch (...) {
      return Store(std::current_exception());
    }
  }
  void CheckAfter(svn_error_t* error);
  // Whether a body threw.
  bool failed() const { return stored_ != nullptr; }

 private:
  svn_error_t* Store(std::exception_ptr exception);
  std::exception_ptr stored_;
};

}  // namespace svn
}  // namespace kelvarion
