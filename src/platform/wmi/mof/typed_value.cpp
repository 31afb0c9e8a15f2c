#include "platform/wmi/mof/typed_value.h"

#include "platform/wmi/definition.h"
#include "platform/wmi/value.h"

namespace kelvarion::platform::wmi::mof {
namespace {

using Kind = Literal::Kind;

bool KindFits(const Literal& literal, CIMTYPE type) {
  switch (type) {
    case CIM_BOOLEAN:
      return literal.kind == Kind::kBoolean;
    case CIM_STRING:
    case CIM_DATETIME:
      return literal.kind == Kind::kString;
    case CIM_REFERENCE:
      return literal.kind == Kind::kString || literal.kind == Kind::kAlias;
    case CIM_OBJECT:
      return literal.kind == Kind::kAlias;
    case CIM_CHAR16:
      return literal.kind == Kind::kCharacter || literal.kind == Kind::kInteger;
    case CIM_REAL32:
    case CIM_REAL64:
      return literal.kind == Kind::kReal || literal.kind == Kind::kInteger;
    case CIM_UINT32:
      // A stored negative number keeps its bits, which is not what a schema means by it.
      return literal.kind == Kind::kInteger && !literal.negative;
    default:
      return literal.kind == Kind::kInteger;
  }
}

std::u16string Describe(const Literal& literal) {
  if (literal.kind == Kind::kNull) return u"NULL";
  if (literal.kind == Kind::kCharacter) return u"a character";
  Variant text;
  if (Failed(ChangeType(literal.value, VT_BSTR, text))) return u"a value";
  return literal.kind == Kind::kString ? u'"' + text.AsString() + u'"' : text.AsString();
}

Variant EvaluateOne(const Literal& literal, CIMTYPE type, const Location& where) {
  if (literal.kind == Kind::kNull) return literal.value;
  Variant value;
  if (!KindFits(literal, type))
    Fail(where, Describe(literal), u"a value of type " + CimTypeText(type, {}));
  if (literal.kind == Kind::kAlias) return Variant::MakeNull();
  if (Failed(ConvertValue(literal.value, type, {}, value)))
    Fail(where, Describe(literal), u"a value of type " + CimTypeText(type, {}));
  return value;
}

}  // namespace

Variant Evaluate(const Initializer& initializer, CIMTYPE type) {
  const CIMTYPE scalar = type & ~CIM_FLAG_ARRAY;
  if (!initializer.is_list) {
    const Literal& literal = initializer.items.front();
    if (scalar == type || literal.kind == Kind::kNull)
      return EvaluateOne(literal, scalar, initializer.where);
    Fail(initializer.where, Describe(literal), u"a list in braces");
  }
  if (scalar == type)
    Fail(initializer.where, u"a list", u"one value of type " + CimTypeText(type, {}));
  std::vector<Variant> items;
  for (const Literal& literal : initializer.items) {
    if (literal.kind == Kind::kNull) Fail(initializer.where, u"NULL in a list", u"a value");
    items.push_back(EvaluateOne(literal, scalar, initializer.where));
  }
  Variant list;
  const HRESULT hr = ConvertValue(Variant::FromArray(VT_BSTR, std::move(items)), type, {}, list);
  if (Failed(hr)) Fail(initializer.where, u"a list", u"a list of type " + CimTypeText(type, {}));
  return list;
}

}  // namespace kelvarion::platform::wmi::mof
