#include <gtest/gtest.h>

#include <tuple>

#include "errors/exception.h"
#include "errors/hresult_text.h"
#include "platform/text/encoding.h"
#include "tests/support/failure.h"
#include "util/atomic_file.h"
#include "util/base64.h"
#include "util/paths.h"
#include "util/repository_path.h"
#include "util/resources.h"
#include "util/version.h"

namespace kelvarion::util {
namespace {

using testing::MessageOf;

std::string Shown(std::u16string_view text) { return platform::Utf8ForDisplay(text); }

TEST(JoinPathTest, LeavesOneSeparatorAtTheSeam) {
  const struct {
    std::u16string first;
    std::u16string second;
    char16_t separator;
    std::u16string joined;
  } rows[] = {{u"C:/Repos/", u"/htpasswd", u'/', u"C:/Repos/htpasswd"},
              {u"C:/Repos", u"htpasswd", u'/', u"C:/Repos/htpasswd"},
              {u"C:\\Repos\\\\", u"\\\\x", u'\\', u"C:\\Repos\\x"},
              {u"", u"x", u'/', u"x"},
              {u"", u"/x", u'/', u"/x"},
              {u"x/", u"", u'/', u"x/"},
              {u"/", u"x", u'/', u"/x"},
              {u"100%s", u"%d", u'/', u"100%s/%d"}};
  for (const auto& row : rows)
    EXPECT_EQ(JoinPath(row.first, row.second, row.separator), row.joined) << Shown(row.joined);
}

TEST(IsCanonicalRepositoryPathTest, OnePathHasOneSpelling) {
  const std::pair<std::u16string, bool> rows[] = {
      {u"/", true},        {u"/trunk/a b", true}, {u"/.hidden", true}, {u"/a/..", true},
      {u"/a./b", true},    {u"", false},          {u"trunk", false},   {u"//", false},
      {u"/trunk/", false}, {u"/a//b", false},     {u"/a/./b", false},  {u"/.", false},
      {u"/./a", false},    {u"/a/.", false},
  };
  for (const auto& [path, canonical] : rows)
    EXPECT_EQ(IsCanonicalRepositoryPath(path), canonical) << Shown(path);
}

TEST(IsAbsoluteOrNetworkPathTest, KnowsDrivesSharesAndLocalRoots) {
  const std::pair<std::u16string, bool> rows[] = {
      {u"d:/data", true},       {u"Z:\\", true},
      {u"/srv", true},          {u"\\\\server\\share", true},
      {u"\\\\s\\x", true},      {u"data", false},
      {u"C:", false},           {u"C:data", false},
      {u"1:/data", false},      {u"\\\\?\\C:\\x", false},
      {u"\\\\.\\pipe", false},  {u"\\\\server", false},
      {u"\\\\server\\", false}, {u"\\\\\\share", false},
      {u"\\data", false},       {u"", false},
      {u"./data", false},       {u"\u00C4:/x", false},
  };
  for (const auto& [path, expected] : rows)
    EXPECT_EQ(IsAbsoluteOrNetworkPath(path), expected) << Shown(path);
}

TEST(ParseVersionTest, MissingAndEmptyGroupsAreZero) {
  const std::pair<std::u16string, ProviderVersion> rows[] = {
      {u"3.5", {3, 5, 0, 0}},
      {u"3..8", {3, 0, 8, 0}},
      {u"", {0, 0, 0, 0}},
      {u"1.2.3.4", {1, 2, 3, 4}},
      {u"1.2.3.", {1, 2, 3, 0}},
      {u" 7x.-2", {7, -2, 0, 0}},
      {u"99999999999", {2147483647, 0, 0, 0}},
  };
  for (const auto& [text, version] : rows) EXPECT_EQ(ParseVersion(text), version) << Shown(text);
  for (const char16_t* text : {u"1.2.3.4.5", u"1.2.3.4."})
    EXPECT_THROW(ParseVersion(text), SimpleException) << Shown(text);
}

TEST(FormatVersionTest, ShowsThePartsThatAreThere) {
  EXPECT_EQ(FormatVersion(ParseVersion(u"2.0")), u"2.0.0.0");
  EXPECT_EQ(FormatVersion({3, 5, -1, -1}), u"3.5");
  EXPECT_EQ(FormatVersion(ProviderVersion()), u"-1");
}

TEST(FileAttributesTest, AMissingFileIsNoFailureButAnUnreachableOneIs) {
  EXPECT_EQ(GetFileAttributesOrMissing(u"/none/here"), kMissingFile);
  EXPECT_EQ(GetFileAttributesOrMissing(u"/dev/null/x"), kMissingFile);
  EXPECT_NE(GetFileAttributesOrMissing(u"/proc") & platform::FILE_ATTRIBUTE_DIRECTORY, 0u);
  EXPECT_TRUE(IsFolder(u"/proc"));
  EXPECT_FALSE(IsFolder(u"/none"));
  EXPECT_FALSE(IsFolder(u"/dev/null"));
  EXPECT_TRUE(MessageOf([] {
                GetFileAttributesOrMissing(u"/" + std::u16string(300, u'x'));
              }).starts_with(u"Cannot get attributes of file '/xxx"));
}

TEST(VolumeInfoTest, TellsAMissingPathApart) {
  EXPECT_FALSE(GetVolumeInfo(u"/proc").file_system.empty());
  EXPECT_TRUE(MessageOf([] {
                GetVolumeInfo(u"/none");
              }).starts_with(u"Cannot get volume information for '/none'"));
}

TEST(Base64Test, FailuresAreThrown) {
  const std::u16string text = EncodeBase64("x", platform::Base64Format::kCertificate);
  EXPECT_EQ(DecodeBase64(text), "x");
  EXPECT_EQ(MessageOf([] { DecodeBase64(u"nothing"); }),
            u"Cannot decode base64 data: The data is invalid. (0x8007000D)");
  EXPECT_EQ(MessageOf([&] { CreateCertificateContext(text); }),
            u"Cannot create certificate context: The data is invalid. (0x8007000D)");
}

TEST(ResourcesTest, FilesOfTheProgramAreFoundByTypeAndName) {
  const std::string page = LoadTextResource(u"webui.index.template");
  EXPECT_EQ(page, ReadWholeFile(platform::PathFromNative(
                      KELVARION_SOURCE_DIR "/src/apache/templates/WebUI.Index.Template.html")));
  const struct {
    const char16_t *type, *name;
    Win32Error error;
  } rows[] = {{u"TEXT", u"102", ERROR_RESOURCE_NAME_NOT_FOUND},
              {u"TEXT", u"", ERROR_RESOURCE_NAME_NOT_FOUND},
              {u"IMAGE", u"102", ERROR_RESOURCE_TYPE_NOT_FOUND}};
  for (const auto& row : rows)
    EXPECT_EQ(MessageOf<Win32Exception>([&] { LoadResource(row.type, row.name); }),
              HresultText(HresultFromWin32(row.error)));
}

}  // namespace
}  // namespace kelvarion::util
