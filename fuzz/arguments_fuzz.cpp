// The words of a command line: a class, then a value a line for its properties. What is read
// becomes an object that, given as JSON, is made again.
#include "errors/exception.h"
#include "fuzz/fuzz.h"
#include "host/event_filter.h"
#include "host/request_objects.h"
#include "host/value_output.h"
#include "host/wire.h"

using namespace kelvarion;
using namespace kelvarion::host;

void kelvarion::fuzz::Target(std::string_view lines) {
  static const Schema& schema = *new Schema(KELVARION_SOURCE_DIR "/schema");
  const std::string name(fuzz::TakeLine(lines));
  std::vector<std::string> words;
  while (!lines.empty()) words.emplace_back(fuzz::TakeLine(lines));
  try {
    constexpr std::int64_t kNow = 1'700'000'000'000'000;
    ParseSince(name, kNow);
    return;
  } catch (const UsageError&) {
  }
  try {
    const ObjectPtr object = MakeInstance(schema, ParseWord(name), ParseArguments(words));
    Json json = ObjectToJson(*object);
    json.erase("__CLASS");
    const ObjectPtr again = MakeInstance(schema, ParseWord(name), ArgumentsFromJson(json));
    Json same = ObjectToJson(*again);
    same.erase("__CLASS");
    fuzz::Expect(same == json, "an object is made again of what it shows");
  } catch (const Exception& refusal) {
    fuzz::Expect(!refusal.Message().empty(), "a refusal says why");
  } catch (const UsageError&) {
  }
}
