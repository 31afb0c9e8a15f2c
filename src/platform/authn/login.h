// What the web server asks about a login and what it is told; the texts that carry both.
//
// A text is a row of fields with a NUL between two of them, so no field can hold one.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace kelvarion::platform {

// Overwrites a secret before its memory goes to others.
void Wipe(std::string& text);

// Fields, in order: name, password, client address, "upn" or nothing, seconds to remember.
struct LoginRequest {
  LoginRequest() = default;
  ~LoginRequest() { Wipe(password); }
  LoginRequest(LoginRequest&&) = default;
  LoginRequest& operator=(LoginRequest&&) = default;

  std::string name;
  std::string password;
  std::string client;
  bool upn = false;  // Whether names are user@domain.
  std::chrono::seconds remember{0};
};

// False for a text that is none.
bool ParseLoginRequest(std::string_view text, LoginRequest& out);

// Whether name and password are such as an account can have. Whatever is not is refused before
// anybody is asked: control characters, text that is not UTF-8, emptiness, excessive length.
bool IsPlausible(const LoginRequest& request);

enum class LoginVerdict {
  kAccepted,
  kRefused,
  kBusy,    // Not looked at; the client may come again.
  kFailed,  // Nobody could tell.
};

// Fields: the verdict in lower case, then the account's name and its SIDs, or the reason.
struct LoginAnswer {
  LoginVerdict verdict = LoginVerdict::kFailed;
  std::string text;               // The account's canonical name, or why not, for the log.
  std::vector<std::string> sids;  // Of an account that was accepted.

  friend bool operator==(const LoginAnswer&, const LoginAnswer&) = default;
};

std::string ToText(const LoginAnswer& answer);
// A text that is no answer counts as kFailed.
LoginAnswer ParseLoginAnswer(std::string_view text);

}  // namespace kelvarion::platform
