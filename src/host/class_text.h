// A class as its reader wants it described: on a terminal, in the documentation, in JSON.
#pragma once

#include <string>
#include <vector>

#include "host/argument.h"
#include "host/schema.h"

namespace kelvarion::host {

struct ClassDescription {
  std::u16string name;
  std::u16string superclass;  // Empty when it has none.
  std::u16string version;     // Empty unless the class states one.
  std::u16string description;
  bool singleton = false;
  std::vector<Declaration> properties;
  std::vector<Method> methods;
};

ClassDescription DescribeClass(IWbemClassObject& class_object);

std::string ToText(const ClassDescription& description);
std::string ToMarkdown(const ClassDescription& description);
Json ToJson(const ClassDescription& description);

// How a method is called: "uint32 Name(In string Path, Out string Hook[])".
std::string Signature(const Method& method);

// The text in lines of at most 100 columns, each indented by `indent`; ends with a line feed.
std::string Wrapped(const std::string& text, std::size_t indent);

}  // namespace kelvarion::host
