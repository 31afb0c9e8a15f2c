// What an action throws, for tests to compare.
#pragma once

#include <string>

#include "errors/exception.h"

namespace kelvarion::testing {

// The message, which ends with the code where there is one; empty when nothing is thrown. What is
// not of the type gets through.
template <class Thrown = Exception, class Action>
std::u16string MessageOf(const Action& action) {
  try {
    action();
  } catch (const Thrown& thrown) {
    return thrown.Message();
  }
  return {};
}

}  // namespace kelvarion::testing
