// What a command has to say, and how it is said: as one JSON document or as text for people.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "host/argument.h"
#include "host/reply.h"

namespace kelvarion::host {

enum ExitCode { kExitSuccess = 0, kExitFailed = 1, kExitUsage = 2, kExitWarnings = 3 };

struct Outcome {
  HRESULT status = S_OK;
  std::vector<Json> objects;
  std::vector<std::u16string> warnings;
  std::vector<Progress> progress;
  Json error;  // The error object's properties, null when there is none.

  ExitCode exit_code = kExitSuccess;  // Of a request that succeeded.
  bool printed = false;               // The command has had its say already.
  std::string text;                   // What people get to read instead of the objects.
};

// The outcome of a request that failed before it reached the provider, with an error object like
// those that the provider makes.
Outcome Failure(HRESULT status, const std::u16string& message);

// The objects as JSON, the text as a table, or as a property list when there is one object.
Outcome FromReply(Reply reply);

// What is not known is null.
Json ToJson(const Progress& progress);

// The outcome as one JSON document, which ends with a line feed.
std::string ToDocument(const Outcome& outcome);

// For people's text on its way to a terminal, which no value must be able to disturb: control
// characters become question marks. Anywhere else the text is as it is.
std::string ForTerminal(std::string text);

// What the error object says, else the text of the status.
std::string ErrorDescription(const Outcome& outcome);

// The failure as people read it, in one line or, where there is more to say, several.
std::string ErrorText(const Outcome& outcome);

}  // namespace kelvarion::host
