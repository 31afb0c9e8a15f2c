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

constexpr const char16_t* kServer = u"Kelvarion Server 3.5";
constexpr const char16_t* kManagement = u"Kelvarion Server Management";

struct Row {
  void (*log)(EventRecorder&);
  const char16_t* source;
  EventType type;
  std::uint32_t id;
  std::vector<std::u16string> strings;
  bool user = true;     // Whether it tells whose request it was.
  bool always = false;  // Whether log level 0 does not silence it.
};

const Row kRows[] = {
    {[](EventRecorder& e) { e.LogException(SimpleException(u"no")); },
     kServer,
     EventType::kError,
     0xC00007D0,
     {u"no"}},
    {[](EventRecorder& e) { e.LogUnknownException(); }, kServer, EventType::kError, 0xC00007D1, {}},
    {[](EventRecorder& e) { e.LogAccessDenied(); },
     kServer,
     EventType::kError,
     0xC00007D2,
     {},
     false},
    {[](EventRecorder& e) { e.LogImpersonationFailure(Code(0x8ABCDEF0)); },
     kServer,
     EventType::kError,
     0xC00007D3,
     {u"HRESULT 0x8abcdef0"},
     false},
    {[](EventRecorder& e) { e.LogWarning(u"purge"); },
     kServer,
     EventType::kWarning,
     0x800007D4,
     {u"purge"}},
    {[](EventRecorder& e) { e.LogRepositoryPermissionsChanged(u"r", u"/p", u"a", u"b", false); },
     kManagement,
     EventType::kInformation,
     2006,
     {u"r", u"/p", u"a", u"b"},
     true,
     true},
    {[](EventRecorder& e) { e.LogRepositoryPermissionsChanged(u"r", u"/p", u"a", u"b", true); },
     kManagement,
     EventType::kInformation,
     2007,
     {u"r", u"/p", u"a", u"b"},
     true,
     true},
    {[](EventRecorder& e) { e.LogGlobalPermissionsChanged(u"a", u"b"); },
     kManagement,
     EventType::kInformation,
     2008,
     {u"a", u"b"},
     true,
     true},
    {[](EventRecorder& e) { e.LogReportFailure(u"5"); },
     kManagement,
     EventType::kInformation,
     0xC00007D5,
     {u"5"},
     true,
     true},
};

TEST(EventRecorderTest, EachEventHasItsLayoutAndObeysTheLogLevel) {
  const testing::TestHome home;
  const platform::Machine& machine = *home.machine();
  const std::shared_ptr<IcRegistryAccessor> configuration =
      std::make_shared<RegistryAccessor>(*machine.registry);
  EventRecorder events(*machine.event_log, configuration);
  const ScopedClient client({u"S-1-22-1-4711", {}, ImpersonationLevel::kImpersonation});
  ASSERT_EQ(CoImpersonateClient(), S_OK);
  platform::EventPosition position;
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.id);
    for (const std::uint32_t level : {0u, 1u, 2u}) {
      machine.registry->Set({platform::RootKey::kLocalMachine, kServerKeyPath},
                            u"WmiProviderLogLevel", platform::RegistryValue::Dword(level));
      row.log(events);
      std::vector<EventRecord> found;
      position = machine.event_log->Read(
          position, [&](const EventRecord& record) { found.push_back(record); });
      ASSERT_EQ(found.size(), level > 0 || row.always ? 1u : 0u) << level;
      if (found.empty()) continue;
      EXPECT_EQ(found[0].source, row.source);
      EXPECT_EQ(found[0].type, row.type);
      EXPECT_EQ(found[0].category, 1);
      EXPECT_EQ(found[0].id, row.id);
      EXPECT_EQ(found[0].strings, row.strings);
      EXPECT_EQ(found[0].user_sid.value_or(u"none"), row.user ? u"S-1-22-1-4711" : u"none");
    }
  }
  CoRevertToSelf();
}

}  // namespace
}  // namespace kelvarion
