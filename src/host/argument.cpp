#include "host/argument.h"

#include "errors/exception.h"
#include "host/text.h"
#include "platform/text/compare.h"

namespace kelvarion::host {
namespace {

Json ParseJson(const std::u16string& name, const std::string& text) {
  try {
    return Json::parse(text);
  } catch (const Json::parse_error& error) {
    // The library's text begins with the name of its exception in brackets.
    const std::string reason = error.what();
    const std::size_t end = reason.find("] ");
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"The value of '%s' is not valid JSON (%s)", name,
                       Utf16(end == reason.npos ? reason : reason.substr(end + 2)));
  }
}

}  // namespace

std::u16string ParseWord(const std::string& text) {
  std::u16string word;
  if (!platform::Utf8ToUtf16(text, word))
    throw UsageError("'" + Utf8(Utf16(text)) + "' is not valid UTF-8.");
  return word;
}

Argument ParseArgument(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos)
    throw UsageError("'" + text + "' is neither NAME=TEXT nor NAME:=JSON.");
  const bool json = equals > 0 && text[equals - 1] == ':';
  Argument argument{ParseWord(text.substr(0, json ? equals - 1 : equals)), {}};
  if (argument.name.empty()) throw UsageError("'" + text + "' has no name before the equals sign.");
  const std::string value = text.substr(equals + 1);
  if (json) {
    argument.value = ParseJson(argument.name, value);
  } else {
    argument.value = ParseWord(value);
  }
  return argument;
}

std::vector<Argument> ParseArguments(const std::vector<std::string>& texts) {
  std::vector<Argument> arguments;
  for (const std::string& text : texts) {
    Argument argument = ParseArgument(text);
    for (const Argument& earlier : arguments) {
      if (platform::EqualIgnoreCase(earlier.name, argument.name))
        throw UsageError("'" + Utf8(argument.name) + "' is given twice.");
    }
    arguments.push_back(std::move(argument));
  }
  return arguments;
}

}  // namespace kelvarion::host
