#include "host/value_output.h"

#include <gtest/gtest.h>

#include "host/text.h"
#include "host/value_input.h"

namespace kelvarion::host {
namespace {

const Schema& TheSchema() {
  static const Schema schema(KELVARION_SOURCE_DIR "/schema");
  return schema;
}

// An object as its JSON says.
ObjectPtr Object(const char* json) {
  Declaration declaration;
  declaration.type = CIM_OBJECT;
  return ValueFromJson({declaration, u"object"}, Json::parse(json), TheSchema())
      .AsObject()
      .As<IWbemClassObject>();
}

TEST(ObjectToJsonTest, LargeNumbersAndDatesAreTextsAndNothingIsNull) {
  const Json stats =
      ObjectToJson(*Object(R"({"__CLASS":"PS_SvnRepositoryStats","Size":18446744073709551615})"));
  EXPECT_EQ(stats["Size"], "18446744073709551615");
  EXPECT_EQ(stats["Name"], nullptr);
  const Json certificate = ObjectToJson(*Object(
      R"({"__CLASS":"Kelvarion_CertifcateInformation","ValidTo":"20360131120000.000000+000"})"));
  EXPECT_EQ(certificate["ValidTo"], "20360131120000.000000+000");
}

TEST(ShownValueTest, NumbersHaveTheirNamesAndDatesAreReadable) {
  const std::vector<Declaration> service = PropertiesOf(*TheSchema().Find(u"Kelvarion_Service"));
  const auto named = [&](const std::u16string& name) {
    for (const Declaration& property : service)
      if (property.name == name) return property;
    return Declaration{};
  };
  EXPECT_EQ(ShownValue(named(u"ServiceState"), Variant::FromI4(4)), "4 (Running)");
  EXPECT_EQ(ShownValue(named(u"ServiceState"), Variant::FromI4(9)), "9");
  EXPECT_EQ(ShownValue(named(u"ListenIPAddressesArray"), Variant::FromStrings({u"::1", u"a"})),
            "::1, a");
  Declaration date;
  date.type = CIM_DATETIME;
  EXPECT_EQ(ShownValue(date, Variant::FromString(u"20360131120000.000000+000")),
            "2036-01-31 12:00:00 UTC");
  EXPECT_EQ(ShownValue(date, Variant::MakeNull()), "");
}

TEST(PropertyListTest, ValuesAlignAndEmbeddedObjectsAreIndented) {
  EXPECT_EQ(PropertyList(*Object(
                R"({"__CLASS":"Kelvarion_PermissionEntry",
                    "Account":{"__CLASS":"Kelvarion_User","Name":"alice"},"AccessLevel":2})")),
            "Account\n"
            "  Kelvarion_User\n"
            "    Name  alice\n"
            "AccessLevel  2 (ReadWrite)\n");
}

TEST(ObjectTableTest, ColumnsThatDoNotFitAreNamed) {
  const std::vector<ObjectPtr> repositories{
      Object(R"({"__CLASS":"Kelvarion_Repository","Name":"a","URL":"http://localhost/svn/a/"})"),
      Object(R"({"__CLASS":"Kelvarion_Repository","Name":"b","TotalRevisions":7})")};
  std::vector<std::u16string> left_out;
  EXPECT_EQ(ObjectTable(repositories, 0, left_out),
            "Name URL                     TotalRevisions\n"
            "a    http://localhost/svn/a/ \n"
            "b                            7\n");
  EXPECT_TRUE(left_out.empty());
  EXPECT_EQ(ObjectTable(repositories, 40, left_out),
            "Name URL\na    http://localhost/svn/a/\nb    \n");
  EXPECT_EQ(left_out, std::vector<std::u16string>{u"TotalRevisions"});
}

}  // namespace
}  // namespace kelvarion::host
