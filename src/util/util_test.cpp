#include <gtest/gtest.h>

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "util/atomic_file.h"
#include "util/base64.h"
#include "util/computer.h"
#include "util/paths.h"
#include "util/repository_path.h"
#include "util/resources.h"
#include "util/version.h"

namespace kelvarion::util {
namespace {

std::string Shown(std::u16string_view text) { return platform::Utf8ForDisplay(text); }

TEST(JoinPathTest, LeavesOneSeparatorAtTheSeam) {
  struct Row {
    std::u16string first;
    std::u16string second;
    char16_t separator;
    std::u16string joined;
  };
  const Row rows[] = {
      {u"C:/Repos/", u"/htpasswd", u'/', u"C:/Repos/htpasswd"},
      {u"C:/Repos", u"htpasswd", u'/', u"C:/Repos/htpasswd"},
      {u"C:\\Repos\\\\", u"\\\\x", u'\\', u"C:\\Repos\\x"},
      {u"", u"x", u'/', u"x"},
      {u"", u"/x", u'/', u"/x"},
      {u"x/", u"", u'/', u"x/"},
      {u"/", u"x", u'/', u"/x"},
      {u"100%s", u"%d", u'/', u"100%s/%d"},
  };
  for (const Row& row : rows)
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
  for (const char16_t* text : {u"1.2.3.4.5", u"1.2.3.4."}) {
    try {
      ParseVersion(text);
      ADD_FAILURE() << Shown(text);
    } catch (const SimpleException& e) {
      EXPECT_EQ(e.Message(), u"Cannot parse version string '" + std::u16string(text) +
                                 u"'. Number of groups exceeds 4.");
    }
  }
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
  try {
    GetFileAttributesOrMissing(u"/" + std::u16string(300, u'x'));
    ADD_FAILURE();
  } catch (const Win32Exception& e) {
    EXPECT_TRUE(e.Message().starts_with(u"Cannot get attributes of file '/xxx"));
  }
}

TEST(VolumeInfoTest, TellsAMissingPathApart) {
  EXPECT_FALSE(GetVolumeInfo(u"/proc").file_system.empty());
  try {
    GetVolumeInfo(u"/none");
    ADD_FAILURE();
  } catch (const Win32Exception& e) {
    EXPECT_TRUE(e.Message().starts_with(u"Cannot get volume information for '/none'"));
  }
}

TEST(Base64Test, FailuresAreThrown) {
  const std::u16string text = EncodeBase64("x", platform::Base64Format::kCertificate);
  EXPECT_EQ(DecodeBase64(text), "x");
  const auto message = [](auto action) -> std::u16string {
    try {
      action();
    } catch (const Win32Exception& e) {
      EXPECT_EQ(e.hresult(), HresultFromWin32(ERROR_INVALID_DATA));
      return e.Message();
    }
    return {};
  };
  EXPECT_TRUE(
      message([] { DecodeBase64(u"nothing"); }).starts_with(u"Cannot decode base64 data: "));
  EXPECT_TRUE(message([&] {
                CreateCertificateContext(text);
              }).starts_with(u"Cannot create certificate context: "));
}

TEST(ResourcesTest, FilesOfTheProgramAreFoundByTypeAndName) {
  const std::string page = LoadTextResource(u"webui.index.template");
  EXPECT_EQ(page, ReadWholeFile(platform::PathFromNative(
                      KELVARION_SOURCE_DIR "/src/apache/templates/WebUI.Index.Template.html")));
  EXPECT_FALSE(LoadResource(u"REGISTRY", u"102").empty());
  struct Row {
    std::u16string type;
    std::u16string name;
    Win32Error error;
  };
  const Row rows[] = {
      {u"TEXT", u"102", ERROR_RESOURCE_NAME_NOT_FOUND},
      {u"TEXT", u"", ERROR_RESOURCE_NAME_NOT_FOUND},
      {u"IMAGE", u"102", ERROR_RESOURCE_TYPE_NOT_FOUND},
  };
  for (const Row& row : rows) {
    try {
      LoadResource(row.type, row.name);
      ADD_FAILURE() << Shown(row.name);
    } catch (const Win32Exception& e) {
      EXPECT_EQ(e.hresult(), HresultFromWin32(row.error)) << Shown(row.name);
      EXPECT_EQ(e.text(), u"");
    }
  }
}

TEST(ComputerNameTest, IsNeverEmpty) { EXPECT_NE(GetComputerDnsName(), u""); }

}  // namespace
}  // namespace kelvarion::util
