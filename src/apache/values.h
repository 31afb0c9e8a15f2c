// What a value must be like to stand in the generated configuration.
#pragma once

#include <string>

namespace kelvarion::apache {

// Whether the text can stand between double quotes in one line and mean itself: no quotation mark,
// no control character or line end, no "${" that the web server would replace, no backslash at the
// end that would swallow the closing quotation mark, and valid UTF-16.
bool IsQuotable(const std::u16string& text);

// Whether the text can be an address to listen on: IPv4, IPv6 with or without brackets, or a host
// name. What it names is not looked up.
bool IsListenAddress(const std::u16string& text);

// Whether repositories can be served under the prefix: empty, or "/" and at least one ASCII letter,
// digit, "-" or "_".
bool IsUrlPrefix(const std::u16string& text);

// Whether a prefix that another program stored can still be written unquoted into the configuration
// and into the start pages. Wider than what IsUrlPrefix lets clients choose.
bool IsServablePrefix(const std::u16string& text);

}  // namespace kelvarion::apache
