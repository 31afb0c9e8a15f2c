// Values and qualifier lists, which stand in every kind of declaration.
#pragma once

#include "platform/wmi/mof/declarations.h"
#include "platform/wmi/mof/token_reader.h"

namespace kelvarion::platform::wmi::mof {

// A literal, or literals in braces.
Initializer ParseInitializer(TokenReader& tokens);

// [A, B(1), C{1, 2} : flavor …]; empty when no list stands here.
std::vector<QualifierUse> ParseQualifiers(TokenReader& tokens);

// Takes one flavor's word. Translation and amendment concern no program and change nothing.
void ParseFlavor(TokenReader& tokens, Flavors& flavors);

}  // namespace kelvarion::platform::wmi::mof
