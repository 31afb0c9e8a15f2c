// From the texts and JSON of a command line to values of the types that the schema declares.
//
// A value that does not fit its declaration throws WMIException WBEM_E_INVALID_METHOD_PARAMETERS
// with a message that names it and says what would fit.
#pragma once

#include <string>

#include "host/argument.h"
#include "host/schema.h"
#include "platform/com/variant.h"

namespace kelvarion::host {

// What a value is for: its declaration and how messages call it ("parameter 'Port'").
struct Target {
  const Declaration& declaration;
  std::u16string what;
};

// A text for an array is its only element. Numbers are decimal; booleans are true or false.
Variant ValueFromText(const Target& target, const std::u16string& text);

// JSON gives arrays, null and embedded objects ({"__CLASS": …}, whose class may be left out where
// the declaration names one). 64-bit numbers may be strings, as they are shown.
Variant ValueFromJson(const Target& target, const Json& json, const Schema& schema);

Variant ValueOf(const Target& target, const Argument& argument, const Schema& schema);

// A value without declaration, as contexts carry them: a text, a boolean, a 32-bit number, null or
// a list of texts.
Variant ContextValue(const Argument& argument);

}  // namespace kelvarion::host
