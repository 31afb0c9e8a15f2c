#include "host/collecting_sink.h"

#include <gtest/gtest.h>

#include <thread>

namespace kelvarion::host {
namespace {

TEST(CollectingSinkTest, WaitsForTheFinalStatusFromAnotherThread) {
  const auto sink = MakeCom<CollectingSink>(nullptr);
  std::thread provider([&] {
    sink->WriteMessage(0, u"careful");
    sink->WriteMessage(1, u"chatter");
    sink->SetStatus(WBEM_STATUS_COMPLETE, WBEM_E_NOT_FOUND, nullptr, nullptr);
  });
  const Reply reply = sink->Wait(S_OK);
  provider.join();
  EXPECT_EQ(reply.status, WBEM_E_NOT_FOUND);
  EXPECT_EQ(reply.warnings, std::vector<std::u16string>{u"careful"});
}

TEST(CollectingSinkTest, ARefusalByTheEntryPointIsTheStatusUnlessThereIsOne) {
  const auto refused = MakeCom<CollectingSink>(nullptr);
  EXPECT_EQ(refused->Wait(WBEM_E_ACCESS_DENIED).status, WBEM_E_ACCESS_DENIED);
  const auto failed = MakeCom<CollectingSink>(nullptr);
  failed->SetStatus(WBEM_STATUS_COMPLETE, WBEM_E_NOT_FOUND, nullptr, nullptr);
  EXPECT_EQ(failed->Wait(WBEM_E_FAILED).status, WBEM_E_NOT_FOUND);
}

TEST(CollectingSinkTest, NothingIsTakenAfterTheFinalStatus) {
  const auto sink = MakeCom<CollectingSink>(nullptr);
  sink->SetStatus(WBEM_STATUS_COMPLETE, S_OK, nullptr, nullptr);
  EXPECT_TRUE(Failed(sink->Indicate(0, nullptr)));
  EXPECT_TRUE(Failed(sink->WriteMessage(0, u"late")));
  EXPECT_TRUE(Failed(sink->SetStatus(WBEM_STATUS_COMPLETE, WBEM_E_FAILED, nullptr, nullptr)));
  EXPECT_EQ(sink->Wait(S_OK).status, S_OK);
}

}  // namespace
}  // namespace kelvarion::host
