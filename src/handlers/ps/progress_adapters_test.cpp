#include "handlers/ps/progress_adapters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "errors/exception.h"
#include "platform/com/unknown.h"
#include "platform/text/encoding.h"

namespace kelvarion {
namespace {

using ::testing::ElementsAre;

class NotingSink final : public ComObject<IWbemObjectSinkEx> {
 public:
  HRESULT QueryInterface(const Guid& iid, void** out) override {
    return ComObject::QueryInterface(iid == IWbemObjectSink::kIid ? IUnknown::kIid : iid, out);
  }
  HRESULT Indicate(std::int32_t, IWbemClassObject**) override { return S_OK; }
  HRESULT SetStatus(std::int32_t, HRESULT, const std::u16string*, IWbemClassObject*) override {
    return S_OK;
  }
  HRESULT WriteMessage(std::uint32_t channel, const std::u16string& text) override {
    records.push_back("warning " + std::to_string(channel) + " " + platform::Utf8ForDisplay(text));
    return message_result;
  }
  HRESULT WriteProgress(const std::u16string* activity, const std::u16string* operation,
                        const std::u16string* status, std::int32_t percent,
                        std::int32_t seconds) override {
    const auto text = [](const std::u16string* t) {
      return t ? platform::Utf8ForDisplay(*t) : std::string("-");
    };
    records.push_back(text(activity) + "|" + text(operation) + "|" + text(status) + "|" +
                      std::to_string(percent) + "|" + std::to_string(seconds));
    return S_OK;
  }
  std::vector<std::string> records;
  HRESULT message_result = S_OK;
};

class ProgressAdaptersTest : public ::testing::Test {
 protected:
  RecordTimer::Clock clock() {
    return [this] { return now_; };
  }
  std::vector<std::string> Taken() { return std::exchange(noted_->records, {}); }

  std::int64_t now_ = 1000;
  ComPtr<NotingSink> noted_ = MakeCom<NotingSink>();
  ResponseSink sink_{ComPtr<IWbemObjectSink>(noted_)};
};

TEST(PercentTest, NothingToDoAndTooMuchDoneAreAll) {
  const struct {
    std::uint64_t done, total;
    std::int32_t percent;
  } rows[] = {{0, 0, 100}, {0, 3, 0},   {1, 3, 33},
              {2, 3, 66},  {3, 3, 100}, {4, 3, 100},
              {5, 0, 100}, {1, 200, 0}, {90000000000000000, 100000000000000000, 90}};
  for (const auto& row : rows) EXPECT_EQ(Percent(row.done, row.total), row.percent);
}

TEST_F(ProgressAdaptersTest, VerificationTellsMetadataAndContentsOnTimersOfTheirOwn) {
  CVerifyRepositoryNotifyAdapter adapter(sink_, u"demo", clock());
  adapter.MetadataStarted();
  adapter.MetadataVerified(3);
  adapter.MetadataVerified(4);
  adapter.RevisionVerified(0, 0, 8);
  EXPECT_THAT(Taken(),
              ElementsAre("Test-SvnRepository demo|-|Verifying repository metadata|-1|-1",
                          "Test-SvnRepository demo|-|Verifying metadata at revision 3|-1|-1",
                          "Test-SvnRepository demo|Revision 0 of 8|Verifying revisions "
                          "content|0|-1"));
  now_ += 100000;
  adapter.RevisionVerified(1, 0, 8);
  now_ += 399999;
  adapter.RevisionVerified(2, 0, 8);
  EXPECT_THAT(Taken(), ElementsAre());
  now_ += 1;
  adapter.RevisionVerified(4, 0, 8);
  EXPECT_THAT(Taken(), ElementsAre("Test-SvnRepository demo|Revision 4 of 8|Verifying revisions "
                                   "content|50|-1"));
}

TEST_F(ProgressAdaptersTest, WarningsReachTheClientUnlessItHasNoUseForThem) {
  CVerifyRepositoryNotifyAdapter adapter(sink_, u"demo", clock());
  adapter.Warning(u"careful");
  EXPECT_THAT(Taken(), ElementsAre("warning 0 careful"));
  noted_->message_result = WBEM_E_NOT_SUPPORTED;
  EXPECT_NO_THROW(adapter.Warning(u"careful"));
  noted_->message_result = E_FAIL;
  EXPECT_THROW(adapter.Warning(u"careful"), ComException);
}

TEST_F(ProgressAdaptersTest, ImportsTellRevisionsAndHowFarTheFileIsRead) {
  CImportRepositoryNotifyAdapter copy(sink_, u"/srv/old", u"new", clock());
  copy.RevisionsCopied(499, 2000);
  copy.RevisionsCopied(999, 2000);
  EXPECT_THAT(Taken(), ElementsAre("Import-SvnRepository -Path \"/srv/old\" -DestinationName "
                                   "\"new\"|-|Revision 499 of 2000|24|-1"));
  CImportDumpFileNotifyAdapter load(sink_, u"/srv/dump", u"new", clock());
  load.BytesRead(10, 100);
  now_ += 300000;
  load.RevisionCommitted(7);
  load.BytesRead(60, 100);
  now_ += 300000;
  load.RevisionCommitted(8);
  const std::string activity =
      "Import-SvnRepository -Path \"/srv/dump\" -DestinationName \"new\"|-|";
  EXPECT_THAT(Taken(), ElementsAre(activity + "Revision 0|10|-1", activity + "Revision 8|60|-1"));
}

}  // namespace
}  // namespace kelvarion
