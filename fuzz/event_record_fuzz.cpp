// Lines of the event log, which a full disk or a kill may have damaged: a record that is read is
// written and read the same, and cutting it keeps to the length.
#include "fuzz/fuzz.h"
#include "platform/event_log/record_line.h"

using namespace kelvarion;
using platform::EventRecord;

void kelvarion::fuzz::Target(std::string_view bytes) {
  constexpr std::uint64_t kPlenty = 1 << 20;
  constexpr std::uint64_t kLittle = 1024;
  const std::string line(bytes);
  EventRecord record;
  if (!platform::FromLine(line, record)) return;
  EventRecord again;
  fuzz::Expect(platform::FromLine(platform::ToLine(record, record.time_us, kPlenty), again),
               "a record can be written");
  fuzz::Expect(again.source == record.source && again.type == record.type &&
                   again.category == record.category && again.id == record.id &&
                   again.user_sid == record.user_sid && again.strings == record.strings &&
                   again.time_us == record.time_us,
               "a record survives being written");
  const std::string cut = platform::ToLine(record, record.time_us, kLittle);
  EventRecord shorter;
  fuzz::Expect(platform::FromLine(cut, shorter), "a cut record can be read");
  const bool strings_alone = record.source.size() < 20 && !record.user_sid;
  if (strings_alone && record.strings.size() < 10)
    fuzz::Expect(cut.size() <= kLittle, "a cut record keeps to the length");
}
