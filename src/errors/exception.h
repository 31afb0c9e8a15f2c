// The one family of exceptions that all failures below the provider's entry points travel as.
//
// An exception is a value: a copy shares nothing that can change. Message() is the text that a
// client gets to read.
#pragma once

#include <memory>
#include <string>

#include "platform/com/types.h"
#include "platform/text/format.h"

namespace kelvarion {

class Exception {
 public:
  virtual ~Exception() = default;
  virtual std::u16string Message() const = 0;
  virtual std::unique_ptr<Exception> Clone() const = 0;
  // Throws a copy of the same dynamic type.
  [[noreturn]] virtual void Rethrow() const = 0;

 protected:
  Exception() = default;
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
};

// Gives a concrete exception its Clone and Rethrow.
template <class Derived, class Base>
class CloneableException : public Base {
 public:
  using Base::Base;
  std::unique_ptr<Exception> Clone() const override {
    return std::make_unique<Derived>(static_cast<const Derived&>(*this));
  }
  [[noreturn]] void Rethrow() const override { throw Derived(static_cast<const Derived&>(*this)); }
};

// The text that follows ": " in the message of a failed call; the code's own text alone when the
// call left no text.
std::u16string MessageWithCode(const std::u16string& text, HRESULT hr);

namespace errors_internal {

class TextException : public Exception {
 public:
  std::u16string Message() const override { return text_; }

 protected:
  explicit TextException(std::u16string text) : text_(std::move(text)) {}
  template <class... Args>
  requires(sizeof...(Args) > 0)  // NOLINTNEXTLINE: two at the least
      TextException(FormatString<std::type_identity_t<Args>...> format, const Args&... args)
      : text_(Format(format, args...)) {}

 private:
  std::u16string text_;
};

class CodeException : public Exception {
 public:
  std::u16string Message() const override { return MessageWithCode(text_, code_); }
  const std::u16string& text() const { return text_; }

 protected:
  explicit CodeException(HRESULT code) : code_(code) {}
  template <class... Args>
  CodeException(HRESULT code, FormatString<std::type_identity_t<Args>...> format,
                const Args&... args)
      : code_(code), text_(Format(format, args...)) {}
  HRESULT code() const { return code_; }

 private:
  HRESULT code_;
  std::u16string text_;
};

}  // namespace errors_internal

// A failure with a message of its own.
class SimpleException : public CloneableException<SimpleException, errors_internal::TextException> {
 public:
  explicit SimpleException(std::u16string text) : CloneableException(std::move(text)) {}
  template <class... Args>
  requires(sizeof...(Args) > 0)  // NOLINTNEXTLINE: two at the least
      SimpleException(FormatString<std::type_identity_t<Args>...> format, const Args&... args)
      : CloneableException(Format(format, args...)) {}
};

// A failure of OpenSSL, with the text that its error queue gave.
class SSLException : public CloneableException<SSLException, errors_internal::TextException> {
 public:
  explicit SSLException(std::u16string text) : CloneableException(std::move(text)) {}
};

// A platform call that failed with an HRESULT.
class ComException : public CloneableException<ComException, errors_internal::CodeException> {
 public:
  explicit ComException(HRESULT hr) : CloneableException(hr) {}
  template <class... Args>
  ComException(HRESULT hr, FormatString<std::type_identity_t<Args>...> format, const Args&... args)
      : CloneableException(hr, format, args...) {}
  HRESULT hresult() const { return code(); }
};

// A platform call that failed with a Win32 error code.
class Win32Exception : public CloneableException<Win32Exception, ComException> {
 public:
  explicit Win32Exception(std::int64_t error) : CloneableException(HresultFromWin32(error)) {}
  template <class... Args>
  Win32Exception(std::int64_t error, FormatString<std::type_identity_t<Args>...> format,
                 const Args&... args)
      : CloneableException(HresultFromWin32(error), format, args...) {}
};

// A failure that reaches the client with a particular WBEM status.
class WMIException : public CloneableException<WMIException, errors_internal::CodeException> {
 public:
  explicit WMIException(HRESULT status) : CloneableException(status) {}
  template <class... Args>
  WMIException(HRESULT status, FormatString<std::type_identity_t<Args>...> format,
               const Args&... args)
      : CloneableException(status, format, args...) {}
  HRESULT status() const { return code(); }
};

// A failure explained to an administrator: what happened, in detail, and its probable reason.
class LocalServerAdminException : public CloneableException<LocalServerAdminException, Exception> {
 public:
  LocalServerAdminException(std::u16string summary, std::u16string details,
                            std::u16string description, std::uint32_t probable_reason)
      : summary_(std::move(summary)),
        details_(std::move(details)),
        description_(std::move(description)),
        probable_reason_(probable_reason) {}
  std::u16string Message() const override { return description_; }
  const std::u16string& summary() const { return summary_; }
  const std::u16string& details() const { return details_; }
  const std::u16string& description() const { return description_; }
  std::uint32_t probable_reason() const { return probable_reason_; }

 private:
  std::u16string summary_;
  std::u16string details_;
  std::u16string description_;
  std::uint32_t probable_reason_;
};

// For platform calls that failed without a message of their own.
inline void ThrowIfFailed(HRESULT hr) {
  if (Failed(hr)) throw ComException(hr);
}

}  // namespace kelvarion
