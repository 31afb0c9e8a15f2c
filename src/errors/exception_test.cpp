#include "errors/exception.h"

#include <gtest/gtest.h>

#include "errors/hresult_text.h"
#include "platform/text/encoding.h"

namespace kelvarion {
namespace {

TEST(HresultTextTest, NamesTheCodeExceptWhereAccessIsDenied) {
  const std::pair<std::uint32_t, std::u16string> rows[] = {
      {0x80041003, u"WMI access denied."},
      {0x8001011B, u"RPC access denied."},
      {0x00000000, u"The operation completed successfully. (0x00000000)"},
      {0x8007ABCD, u"HRESULT 0x8007ABCD"},
      {0x00001234, u"HRESULT 0x00001234"},
  };
  for (const auto& [code, text] : rows) EXPECT_EQ(HresultText(Code(code)), text) << code;
}

TEST(ExceptionTest, MessagesAreComposedOfTextAndCode) {
  const std::pair<std::unique_ptr<Exception>, std::u16string> rows[] = {
      {SimpleException(u"'%s' has %d", u"x", 3).Clone(), u"'x' has 3"},
      {SimpleException(std::u16string(u"100%s")).Clone(), u"100%s"},
      {ComException(WBEM_E_ACCESS_DENIED, u"Cannot get property '%s'", u"Name").Clone(),
       u"Cannot get property 'Name': WMI access denied."},
      {ComException(WBEM_E_NOT_FOUND).Clone(), u"Not found (0x80041002)"},
      {Win32Exception(ERROR_ACCESS_DENIED, u"Cannot open").Clone(),
       u"Cannot open: Access is denied. (0x80070005)"},
      {WMIException(Code(0x80041FFF), u"No").Clone(), u"No: HRESULT 0x80041FFF"},
      {LocalServerAdminException(u"s", u"d", u"what happened", 7).Clone(), u"what happened"},
  };
  for (const auto& [exception, message] : rows) EXPECT_EQ(exception->Message(), message);
}

TEST(ExceptionTest, Win32CodesBecomeHresults) {
  const std::pair<std::int64_t, std::uint32_t> rows[] = {
      {5, 0x80070005}, {0, 0}, {-2147467259, 0x80004005}, {0x12345, 0x80072345}};
  for (const auto& [error, hr] : rows)
    EXPECT_EQ(Win32Exception(error).hresult(), Code(hr)) << error;
}

template <class T>
bool RethrowsAs(const Exception& exception) {
  try {
    exception.Clone()->Rethrow();
  } catch (const Exception& caught) {
    return typeid(caught) == typeid(T) && caught.Message() == exception.Message();
  }
  return false;
}

TEST(ExceptionTest, CopiesKeepTheirTypeAndFields) {
  EXPECT_TRUE(RethrowsAs<SimpleException>(SimpleException(u"a")));
  EXPECT_TRUE(RethrowsAs<SSLException>(SSLException(u"a")));
  EXPECT_TRUE(RethrowsAs<ComException>(ComException(E_FAIL, u"a")));
  EXPECT_TRUE(RethrowsAs<Win32Exception>(Win32Exception(5, u"a")));
  EXPECT_TRUE(RethrowsAs<WMIException>(WMIException(WBEM_E_FAILED, u"a")));
  const LocalServerAdminException admin(u"s", u"d", u"e", 9);
  EXPECT_TRUE(RethrowsAs<LocalServerAdminException>(admin));
  const auto copy = admin.Clone();
  const auto& same = dynamic_cast<const LocalServerAdminException&>(*copy);
  EXPECT_EQ(same.summary(), u"s");
  EXPECT_EQ(same.details(), u"d");
  EXPECT_EQ(same.probable_reason(), 9u);
  EXPECT_NO_THROW(ThrowIfFailed(S_FALSE));
  EXPECT_THROW(ThrowIfFailed(E_OUTOFMEMORY), ComException);
}

}  // namespace
}  // namespace kelvarion
