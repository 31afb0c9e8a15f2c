// What the methods of all command-line classes have in common: the parameters that are called and
// mean the same everywhere, and the result.
//
// A switch that is null or absent is off. A repository given as an object counts only by its Name,
// which is to be resolved as any name from a client is.
#pragma once

#include <string>
#include <type_traits>
#include <vector>

#include "provider/method_table.h"

namespace kelvarion::cmdlet {

inline bool IsOn(const MethodCall& call, const Property<bool>& parameter) {
  return call.optional_in(parameter).value_or(false);
}

// Whether to overwrite what exists.
inline bool Force(const MethodCall& call) { return IsOn(call, {u"Force"}); }
// Whether to return what was changed.
inline bool PassThru(const MethodCall& call) { return IsOn(call, {u"PassThru"}); }

inline std::u16string RepositoryName(const MethodCall& call) {
  return call.in(Property<std::u16string>{u"Repository"});
}
inline std::u16string RepositoryObjectName(const MethodCall& call) {
  return call.in(Property<WMIObject>{u"RepositoryObject"}).Get(Property<std::u16string>{u"Name"});
}

// The method's result: one object, or a list of them that may be empty.
template <class Result>
void Output(MethodCall& call, const Result& result) {
  static_assert(std::is_same_v<Result, WMIObject> ||
                std::is_same_v<Result, std::vector<WMIObject>>);
  call.out().Set(Property<Result>{u"CmdletOutput"}, result);
}

}  // namespace kelvarion::cmdlet
