#include "provider/events.h"

#include <gtest/gtest.h>

#include "config/registry_accessor.h"
#include "errors/exception.h"
#include "platform/com/class_object.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using platform::EventRecord;
using platform::EventType;

struct Row {
  const char16_t* source;
  EventType type;
  std::uint32_t id;
  std::vector<std::u16string> strings;
  bool user = true;     // Whether it tells whose request it was.
  bool always = false;  // Whether log level 0 does not silence it.
};

TEST(EventRecorderTest, EachEventHasItsLayoutAndObeysTheLogLevel) {
  const char16_t* const server = u"Kelvarion Server 3.5";
  const char16_t* const management = u"Kelvarion Server Management";
  const std::vector<Row> all = {
      {server, EventType::kError, 0xC00007D0, {u"no"}},
      {server, EventType::kError, 0xC00007D1, {}},
      {server, EventType::kError, 0xC00007D2, {}, false},
      {server, EventType::kError, 0xC00007D3, {u"HRESULT 0x8abcdef0"}, false},
      {server, EventType::kWarning, 0x800007D4, {u"purge"}},
      {management, EventType::kInformation, 2006, {u"r", u"/p", u"a", u"b"}, true, true},
      {management, EventType::kInformation, 2007, {u"r", u"/p", u"a", u"b"}, true, true},
      {management, EventType::kInformation, 2008, {u"a", u"b"}, true, true},
      {management, EventType::kInformation, 0xC00007D5, {u"5"}, true, true},
  };
  const testing::TestHome home;
  const platform::Machine& machine = *home.machine();
  const std::shared_ptr<IcRegistryAccessor> configuration =
      std::make_shared<RegistryAccessor>(*machine.registry);
  EventRecorder events(*machine.event_log, configuration);
  const ScopedClient client({u"S-1-22-1-4711", {}, ImpersonationLevel::kImpersonation});
  ASSERT_EQ(CoImpersonateClient(), S_OK);
  platform::EventPosition position;
  for (const std::uint32_t level : {0u, 1u, 2u}) {
    machine.registry->Set({platform::RootKey::kLocalMachine, kServerKeyPath},
                          u"WmiProviderLogLevel", platform::RegistryValue::Dword(level));
    events.LogException(SimpleException(u"no"));
    events.LogUnknownException();
    events.LogAccessDenied();
    events.LogImpersonationFailure(Code(0x8ABCDEF0));
    events.LogWarning(u"purge");
    events.LogRepositoryPermissionsChanged(u"r", u"/p", u"a", u"b", false);
    events.LogRepositoryPermissionsChanged(u"r", u"/p", u"a", u"b", true);
    events.LogGlobalPermissionsChanged(u"a", u"b");
    events.LogReportFailure(u"5");
    std::vector<EventRecord> found;
    position = machine.event_log->Read(position, [&](const auto& e) { found.push_back(e); });
    std::vector<Row> expected = all;
    if (level == 0) std::erase_if(expected, [](const Row& row) { return !row.always; });
    ASSERT_EQ(found.size(), expected.size()) << level;
    for (std::size_t i = 0; i < found.size(); ++i) {
      SCOPED_TRACE(expected[i].id);
      EXPECT_EQ(found[i].source, expected[i].source);
      EXPECT_EQ(found[i].type, expected[i].type);
      EXPECT_EQ(found[i].category, 1);
      EXPECT_EQ(found[i].id, expected[i].id);
      EXPECT_EQ(found[i].strings, expected[i].strings);
      EXPECT_EQ(found[i].user_sid.value_or(u"none"), expected[i].user ? u"S-1-22-1-4711" : u"none");
    }
  }
  CoRevertToSelf();
}

}  // namespace
}  // namespace kelvarion
