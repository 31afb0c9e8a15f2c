#include "platform/crypto/base64.h"

#include <gtest/gtest.h>

namespace kelvarion::platform {
namespace {

TEST(Base64Test, EveryLengthComesBackAndLinesAreShort) {
  std::string bytes;
  for (int length = 0; length < 200; ++length) {
    std::u16string text;
    ASSERT_EQ(EncodeBase64(bytes, Base64Format::kCertificate, text), ERROR_SUCCESS);
    EXPECT_EQ(text.find(u'\r'), std::u16string::npos);
    for (std::size_t at = 0, end = 0; at < text.size(); at = end + 1) {
      end = text.find(u'\n', at);
      ASSERT_LE(end - at, 64u);
    }
    std::string back = "old";
    EXPECT_EQ(DecodeBase64WithHeader(text, back), ERROR_SUCCESS) << length;
    EXPECT_EQ(back, bytes) << length;
    bytes.push_back(static_cast<char>(length * 37));
  }
}

TEST(Base64Test, HeaderLinesAreThereWhenAskedFor) {
  std::u16string text;
  EncodeBase64("hello", Base64Format::kCertificate, text);
  EXPECT_EQ(text, u"-----BEGIN CERTIFICATE-----\naGVsbG8=\n-----END CERTIFICATE-----\n");
  EncodeBase64("hello", Base64Format::kPlain, text);
  EXPECT_EQ(text, u"aGVsbG8=\n");
}

TEST(Base64Test, TheFirstBlockIsDecodedWhateverStandsAround) {
  const std::pair<const char*, std::u16string> rows[] = {
      {"text around", u"subject=x\r\n-----BEGIN X-----\naGVs\r\nbG8=\r\n-----END X-----\nmore"},
      {"blanks", u"-----BEGIN X-----\n\n  aGVs bG8=\t\n-----END X-----"},
      {"two blocks",
       u"-----BEGIN A-----\naGVsbG8=\n-----END A-----\n"
       u"-----BEGIN B-----\neA==\n-----END B-----\n"},
  };
  for (const auto& [what, text] : rows) {
    std::string bytes;
    EXPECT_EQ(DecodeBase64WithHeader(text, bytes), ERROR_SUCCESS) << what;
    EXPECT_EQ(bytes, "hello") << what;
  }
}

TEST(Base64Test, AnythingElseIsInvalidData) {
  const std::pair<const char*, std::u16string> rows[] = {
      {"no header", u"aGVsbG8="},
      {"no end", u"-----BEGIN X-----\naGVsbG8=\n"},
      {"a digit missing", u"-----BEGIN X-----\naGVsbG8\n-----END X-----\n"},
      {"no base64", u"-----BEGIN X-----\naGV*bG8=\n-----END X-----\n"},
      {"not ASCII", u"-----BEGIN X-----\naGV\u0173bG8=\n-----END X-----\n"},
      {"padding inside", u"-----BEGIN X-----\naGU=aGU=\n-----END X-----\n"},
      {"a digit after padding", u"-----BEGIN X-----\naG=U\n-----END X-----\n"},
      {"only padding", u"-----BEGIN X-----\n====\n-----END X-----\n"},
  };
  for (const auto& [what, text] : rows) {
    std::string bytes = "untouched";
    EXPECT_EQ(DecodeBase64WithHeader(text, bytes), ERROR_INVALID_DATA) << what;
    EXPECT_EQ(bytes, "untouched") << what;
  }
}

}  // namespace
}  // namespace kelvarion::platform
