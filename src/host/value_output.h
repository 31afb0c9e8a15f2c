// From objects of the management classes to JSON and to text for people.
#pragma once

#include <string>
#include <vector>

#include "host/argument.h"
#include "host/schema.h"

namespace kelvarion::host {

// The object's properties after "__CLASS"; 64-bit numbers and date-times are strings, embedded
// objects are objects, what has no value is null.
Json ObjectToJson(IWbemClassObject& object);

// One value that is no list; the type matters only to numbers above the signed range.
Json ScalarToJson(CIMTYPE type, const Variant& value);

// One property as a line would show it: "4 (Running)", "alice, bob"; a date-time in the form
// 2026-01-31 12:00:00. Empty for null.
std::string ShownValue(const Declaration& declaration, const Variant& value);

// "2026-01-31 12:00:00 UTC" from "20260131120000.000000+000"; any other text as it is.
std::string ShownDateTime(const std::string& text);

// An aligned list of the object's properties, embedded objects indented below theirs.
std::string PropertyList(IWbemClassObject& object);

// A table of objects of one class, one line each, in at most `width` columns (0: as many as it
// takes): the properties that do not fit are left out from the end and named in `left_out`.
std::string ObjectTable(const std::vector<ObjectPtr>& objects, int width,
                        std::vector<std::u16string>& left_out);

}  // namespace kelvarion::host
