// The objects that requests carry, made of named values as the schema declares them.
//
// A name that is not declared and a value that does not fit throw WMIException
// WBEM_E_INVALID_METHOD_PARAMETERS.
#pragma once

#include <string>
#include <vector>

#include "host/argument.h"
#include "host/schema.h"

namespace kelvarion::host {

// Sets the values on an object that has exactly the declared properties. `kind` and `owner` say in
// messages what they are properties of.
void Fill(IWbemClassObject& object, const std::vector<Declaration>& declared,
          const std::vector<Argument>& values, const std::u16string& kind,
          const std::u16string& owner, const Schema& schema);

// The parameters object of a call; null when the schema knows no such method, which the provider
// is left to refuse, or when the method takes none.
ObjectPtr MakeParameters(const Schema& schema, const std::u16string& path,
                         const std::u16string& method_name,
                         const std::vector<Argument>& parameters);

// Throws ComException for a class that the schema does not know.
ObjectPtr MakeInstance(const Schema& schema, const std::u16string& class_name,
                       const std::vector<Argument>& properties);

}  // namespace kelvarion::host
