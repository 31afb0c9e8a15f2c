#include "svn/error.h"

#include <gtest/gtest.h>
#include <svn_error.h>
#include <svn_error_codes.h>

#include <stdexcept>

#include "svn/pool.h"

namespace kelvarion::svn {
namespace {

class SvnErrorTest : public ::testing::Test {
 protected:
  SvnErrorTest() { Initialize(); }
};

TEST_F(SvnErrorTest, MessageIsTheFirstLinkAndFullTextAllThatSaySomething) {
  const auto link = [](int code, const char* message, svn_error_t* child = nullptr) {
    return svn_error_create(code, child, message);
  };
  const struct {
    const char* what;
    svn_error_t* chain;
    std::u16string message;
    std::u16string full;
  } rows[] = {
      {"no chain", nullptr, u"", u""},
      {"one message", link(SVN_ERR_FS_CORRUPT, "café"), u"café", u"café"},
      {"generic text of a code", link(SVN_ERR_CANCELLED, nullptr), u"The operation was interrupted",
       u"The operation was interrupted"},
      {"a cause", link(SVN_ERR_FS_CORRUPT, "outer", link(SVN_ERR_BAD_UUID, "inner")), u"outer",
       u"outer\ninner"},
      {"a place, and twice the code that says what is wrong there",
       link(SVN_ERR_CANCELLED, "in r7",
            link(SVN_ERR_CANCELLED, nullptr, link(SVN_ERR_CANCELLED, nullptr))),
       u"in r7", u"in r7\nThe operation was interrupted"},
      {"two chains joined",
       svn_error_compose_create(link(SVN_ERR_FS_CORRUPT, "first"), link(SVN_ERR_BAD_UUID, "then")),
       u"first", u"first\nthen"},
      {"bytes that are not UTF-8", link(SVN_ERR_FS_CORRUPT, "a\xFF"), u"a\uFFFD", u"a\uFFFD"},
  };
  for (const auto& row : rows) {
    const SvnException exception(row.chain);
    EXPECT_EQ(exception.Message(), row.message) << row.what;
    EXPECT_EQ(exception.FullText(), row.full) << row.what;
  }
}

TEST_F(SvnErrorTest, ACopyOutlivesTheOriginal) {
  std::unique_ptr<Exception> copy;
  try {
    ThrowAprError(APR_ENOENT, u"Can't stat 'x'");
  } catch (const SvnException& exception) {
    EXPECT_TRUE(exception.Has(APR_ENOENT));
    EXPECT_FALSE(exception.Has(SVN_ERR_FS_CORRUPT));
    copy = exception.Clone();
  }
  EXPECT_EQ(copy->Message(), u"Can't stat 'x': No such file or directory");
  EXPECT_THROW(copy->Rethrow(), SvnException);
}

// Across C frames nothing may be thrown, and what the library makes of the interruption must not
// hide its cause.
TEST_F(SvnErrorTest, WhatACallbackThrowsArrivesBehindTheLibrary) {
  Callback callback;
  svn_error_t* const stop = callback.Run([] { throw std::runtime_error("cause"); });
  ASSERT_NE(stop, nullptr);
  svn_error_t* const wrapped = svn_error_create(SVN_ERR_FS_GENERAL, stop, "The walk failed");
  EXPECT_THROW(callback.CheckAfter(wrapped), std::runtime_error);

  EXPECT_EQ(callback.Run([] {}), nullptr);
  callback.CheckAfter(nullptr);
  EXPECT_THROW(callback.CheckAfter(svn_error_create(SVN_ERR_FS_GENERAL, nullptr, "own")),
               SvnException);
}

}  // namespace
}  // namespace kelvarion::svn
