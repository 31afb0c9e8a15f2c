// Classes, instances, their qualifiers and methods, as a compiled namespace hands them out.
#include <gtest/gtest.h>

#include "tests/support/schema_folder.h"

namespace kelvarion {
namespace {

using Names = std::vector<std::u16string>;

ComPtr<IWbemServices> TestSpace() {
  return CompileText(R"(
    [Description("Base of all")]
    class Item {
      [key, Description("Its name")] string Name;
      uint32 Size = 7;
      string Tags[] = {"a", "b"};
      void Touch();
      [static, Description("Copies")]
      uint32 Copy([In, Description("Whence")] string Source, [In, Optional] Item Model,
                  [In, Out] boolean Force, [Out] Item Copies[]);
    };
    [Description("A folder")]
    class Folder : Item {
      [key] uint32 Id;
      Item First;
      datetime Changed;
      [Description("Its size")] uint32 Size;
    };
    [singleton] class Server { string Version; };
    class Loose { string Note; };
  )");
}

Variant ValueOf(const ComPtr<IWbemClassObject>& object, const std::u16string& name) {
  Variant value;
  EXPECT_EQ(object->Get(name, 0, &value, nullptr), S_OK) << std::string(name.begin(), name.end());
  return value;
}

Names NamesOf(const ComPtr<IWbemClassObject>& object) {
  Names names;
  object->GetNames(&names);
  return names;
}

Variant QualifierOf(const ComPtr<IWbemQualifierSet>& set, const std::u16string& name) {
  Variant value;
  return set && set->Get(name, &value) == S_OK ? value : Variant();
}

Variant PropertyQualifier(const ComPtr<IWbemClassObject>& object, const std::u16string& property,
                          const std::u16string& name) {
  ComPtr<IWbemQualifierSet> set;
  object->GetPropertyQualifierSet(property, set.Put());
  return QualifierOf(set, name);
}

Variant Text(const char16_t* text) { return Variant::FromString(text); }

TEST(ClassObjectTest, InheritsPropertiesDefaultsAndQualifiers) {
  const ComPtr<IWbemClassObject> folder = ClassNamed(TestSpace(), u"FOLDER");
  ASSERT_TRUE(folder);
  EXPECT_EQ(NamesOf(folder), (Names{u"Name", u"Size", u"Tags", u"Id", u"First", u"Changed"}));
  EXPECT_TRUE(ValueOf(folder, u"__CLASS") == Text(u"Folder"));
  EXPECT_TRUE(ValueOf(folder, u"__SUPERCLASS") == Text(u"Item"));
  EXPECT_TRUE(ValueOf(folder, u"__GENUS") == Variant::FromI4(1));
  EXPECT_TRUE(ValueOf(folder, u"size") == Variant::FromI4(7));
  EXPECT_EQ(folder->InheritsFrom(u"item"), S_OK);
  EXPECT_EQ(folder->InheritsFrom(u"Server"), S_FALSE);
  EXPECT_TRUE(PropertyQualifier(folder, u"Name", u"KEY") == Variant::FromBool(true));
  EXPECT_TRUE(PropertyQualifier(folder, u"Size", u"Description") == Text(u"Its size"));
  EXPECT_TRUE(PropertyQualifier(folder, u"Tags", u"CIMTYPE") == Text(u"string"));
  EXPECT_TRUE(PropertyQualifier(folder, u"First", u"CIMTYPE") == Text(u"object:Item"));
  CIMTYPE type = CIM_EMPTY;
  EXPECT_EQ(folder->Get(u"Tags", 0, nullptr, &type), S_OK);
  EXPECT_EQ(type, CIM_STRING | CIM_FLAG_ARRAY);
  EXPECT_EQ(folder->Get(u"Colour", 0, nullptr, nullptr), WBEM_E_NOT_FOUND);
}

TEST(ClassObjectTest, WhatOneHolderWritesNobodyElseSees) {
  const ComPtr<IWbemServices> space = TestSpace();
  const ComPtr<IWbemClassObject> mine = ClassNamed(space, u"Item");
  ComPtr<IWbemClassObject> before;
  mine->SpawnInstance(0, before.Put());
  ComPtr<IWbemQualifierSet> qualifiers;
  ASSERT_EQ(mine->GetQualifierSet(qualifiers.Put()), S_OK);
  EXPECT_EQ(mine->Put(u"Size", 0, Variant::FromI4(9), 0), S_OK);
  EXPECT_EQ(mine->Put(u"Extra", 0, Text(u"x"), 0), S_OK);
  EXPECT_EQ(qualifiers->Put(u"Description", Text(u"Mine")), S_OK);

  EXPECT_TRUE(ValueOf(mine, u"Size") == Variant::FromI4(9));
  ComPtr<IWbemQualifierSet> again;
  mine->GetQualifierSet(again.Put());
  EXPECT_TRUE(QualifierOf(again, u"Description") == Text(u"Mine"));
  const ComPtr<IWbemClassObject> theirs = ClassNamed(space, u"Item");
  EXPECT_TRUE(ValueOf(theirs, u"Size") == Variant::FromI4(7));
  EXPECT_EQ(theirs->Get(u"Extra", 0, nullptr, nullptr), WBEM_E_NOT_FOUND);
  EXPECT_TRUE(ValueOf(before, u"Size") == Variant::FromI4(7));
  EXPECT_EQ(before->Get(u"Extra", 0, nullptr, nullptr), WBEM_E_NOT_FOUND);
}

TEST(ClassObjectTest, DerivedClassTakesValuesPropertiesAndThenItsName) {
  const ComPtr<IWbemServices> space = TestSpace();
  ComPtr<IWbemClassObject> derived;
  ASSERT_EQ(ClassNamed(space, u"Loose")->SpawnDerivedClass(0, derived.Put()), S_OK);
  EXPECT_TRUE(ValueOf(derived, u"__CLASS").IsNull());
  ComPtr<IWbemClassObject> too_early;
  EXPECT_EQ(derived->SpawnInstance(0, too_early.Put()), WBEM_E_INVALID_CLASS);

  EXPECT_EQ(derived->Put(u"Note", 0, Text(u"what went wrong"), 0), S_OK);
  EXPECT_EQ(derived->Put(u"Code", 0, Variant::FromI4(-5), 0), S_OK);
  EXPECT_EQ(derived->Put(u"Wide", 0, Variant::FromI4(5), CIM_UINT64), S_OK);
  EXPECT_EQ(derived->Put(u"Open", 0, Variant::MakeNull(), 0), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(derived->Put(u"Code", 0, Text(u"words"), 0), WBEM_E_TYPE_MISMATCH);
  EXPECT_EQ(derived->Put(u"__CLASS", 0, Text(u"no name"), 0), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(derived->Put(u"__CLASS", 0, Text(u"CIM_Error"), 0), S_OK);
  EXPECT_EQ(derived->Put(u"__CLASS", 0, Text(u"Other"), 0), WBEM_E_INVALID_PARAMETER);

  EXPECT_TRUE(ValueOf(derived, u"__CLASS") == Text(u"CIM_Error"));
  EXPECT_TRUE(ValueOf(derived, u"__SUPERCLASS") == Text(u"Loose"));
  EXPECT_TRUE(ValueOf(derived, u"__GENUS") == Variant::FromI4(1));
  EXPECT_TRUE(ValueOf(derived, u"Note") == Text(u"what went wrong"));
  EXPECT_TRUE(ValueOf(derived, u"Wide") == Text(u"5"));
  EXPECT_TRUE(ValueOf(ClassNamed(space, u"Loose"), u"Note").IsNull());
}

TEST(InstanceTest, StartsWithDefaultsAndKeepsItsType) {
  const ComPtr<IWbemServices> space = TestSpace();
  const ComPtr<IWbemClassObject> folder = InstanceOf(space, u"Folder");
  EXPECT_TRUE(ValueOf(folder, u"__GENUS") == Variant::FromI4(2));
  EXPECT_TRUE(ValueOf(folder, u"Tags") == Variant::FromStrings({u"a", u"b"}));
  EXPECT_TRUE(ValueOf(folder, u"Changed").IsNull());

  EXPECT_EQ(folder->Put(u"Colour", 0, Text(u"red"), 0), WBEM_E_NOT_FOUND);
  EXPECT_EQ(folder->Put(u"__CLASS", 0, Text(u"Item"), 0), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(folder->Put(u"Size", 0, Text(u"big"), 0), WBEM_E_TYPE_MISMATCH);
  EXPECT_EQ(folder->Put(u"First", 0, Variant::FromObject(InstanceOf(space, u"Server")), 0),
            WBEM_E_TYPE_MISMATCH);
  EXPECT_TRUE(ValueOf(folder, u"Size") == Variant::FromI4(7));
  EXPECT_EQ(folder->Put(u"SIZE", 0, Text(u"12"), 0), S_OK);
  EXPECT_EQ(folder->Put(u"First", 0, Variant::FromObject(InstanceOf(space, u"Folder")), 0), S_OK);

  ComPtr<IWbemClassObject> copy;
  ASSERT_EQ(folder->Clone(copy.Put()), S_OK);
  EXPECT_EQ(copy->Put(u"Size", 0, Variant::FromI4(1), 0), S_OK);
  EXPECT_TRUE(ValueOf(folder, u"Size") == Variant::FromI4(12));
  ComPtr<IWbemQualifierSet> qualifiers;
  folder->GetQualifierSet(qualifiers.Put());
  EXPECT_TRUE(QualifierOf(qualifiers, u"description") == Text(u"A folder"));
  EXPECT_EQ(qualifiers->Put(u"Description", Text(u"x")), WBEM_E_NOT_SUPPORTED);
}

TEST(InstanceTest, PathNeedsEveryKey) {
  const ComPtr<IWbemServices> space = TestSpace();
  const ComPtr<IWbemClassObject> folder = InstanceOf(space, u"Folder");
  folder->Put(u"Name", 0, Text(u"a\"b\\"), 0);
  EXPECT_TRUE(ValueOf(folder, u"__RELPATH").IsNull());
  folder->Put(u"Id", 0, Text(u"4294967295"), 0);
  EXPECT_TRUE(ValueOf(folder, u"__RELPATH") == Text(u"Folder.Name=\"a\\\"b\\\\\",Id=4294967295"));
  EXPECT_TRUE(ValueOf(InstanceOf(space, u"Server"), u"__RELPATH") == Text(u"Server=@"));
  EXPECT_TRUE(ValueOf(InstanceOf(space, u"Loose"), u"__RELPATH").IsNull());
}

TEST(MethodTest, SignaturesDeclareWhatGoesInAndOut) {
  const ComPtr<IWbemClassObject> folder = ClassNamed(TestSpace(), u"Folder");
  Names methods;
  folder->GetMethodNames(&methods);
  EXPECT_EQ(methods, (Names{u"Touch", u"Copy"}));
  ComPtr<IWbemClassObject> in, out;
  ASSERT_EQ(folder->GetMethod(u"COPY", 0, in.Put(), out.Put()), S_OK);
  EXPECT_TRUE(ValueOf(in, u"__CLASS") == Text(u"__PARAMETERS"));
  EXPECT_EQ(NamesOf(in), (Names{u"Source", u"Model", u"Force"}));
  EXPECT_EQ(NamesOf(out), (Names{u"Force", u"Copies", u"ReturnValue"}));
  EXPECT_TRUE(PropertyQualifier(in, u"Source", u"Description") == Text(u"Whence"));
  EXPECT_TRUE(PropertyQualifier(in, u"Model", u"Optional") == Variant::FromBool(true));
  EXPECT_TRUE(PropertyQualifier(out, u"Copies", u"CIMTYPE") == Text(u"object:Item"));
  EXPECT_TRUE(PropertyQualifier(out, u"Copies", u"ID") == Variant::FromI4(3));
  EXPECT_TRUE(PropertyQualifier(out, u"ReturnValue", u"CIMTYPE") == Text(u"uint32"));
  ComPtr<IWbemQualifierSet> qualifiers;
  ASSERT_EQ(folder->GetMethodQualifierSet(u"copy", qualifiers.Put()), S_OK);
  EXPECT_TRUE(QualifierOf(qualifiers, u"Static") == Variant::FromBool(true));

  ComPtr<IWbemClassObject> parameters;
  ASSERT_EQ(in->SpawnInstance(0, parameters.Put()), S_OK);
  EXPECT_EQ(parameters->Put(u"Copies", 0, Variant::MakeNull(), 0), WBEM_E_NOT_FOUND);
  EXPECT_EQ(parameters->Put(u"Force", 0, Text(u"true"), 0), S_OK);

  EXPECT_EQ(folder->GetMethod(u"Touch", 0, in.Put(), out.Put()), S_OK);
  EXPECT_FALSE(in || out) << "signatures without parameters";
  EXPECT_EQ(folder->GetMethod(u"Nothing", 0, in.Put(), out.Put()), WBEM_E_NOT_FOUND);
  EXPECT_EQ(InstanceOf(TestSpace(), u"Item")->GetMethod(u"Touch", 0, in.Put(), out.Put()),
            WBEM_E_NOT_SUPPORTED);
}

}  // namespace
}  // namespace kelvarion
