// Object paths: what is understood means the same when it is written down and read again; what is
// refused leaves a path object as it was.
#include "fuzz/fuzz.h"
#include "platform/wmi/local_classes.h"
#include "platform/wmi/path_text.h"

using namespace kelvarion;
using namespace kelvarion::platform::wmi;

namespace {

bool Same(const PathParts& a, const PathParts& b) {
  const auto same_key = [](const PathKey& x, const PathKey& y) {
    return x.name == y.name && x.type == y.type && x.value == y.value;
  };
  return a.scope == b.scope && a.class_name == b.class_name && a.singleton == b.singleton &&
         std::equal(a.keys.begin(), a.keys.end(), b.keys.begin(), b.keys.end(), same_key);
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view bytes) {
  const std::u16string text = fuzz::Text(bytes);
  const std::optional<PathParts> path = ParsePath(text);
  const ComPtr<IWbemPath> object = MakePath().As<IWbemPath>();
  const std::u16string before = u"Known.Key=1";
  object->SetText(0, before);
  fuzz::Expect(Succeeded(object->SetText(0, text)) == path.has_value(), "both readers agree");
  std::u16string printed;
  object->GetText(0, &printed);
  if (!path) {
    fuzz::Expect(printed == before, "a refused text leaves the object alone");
    return;
  }
  const std::optional<PathParts> again = ParsePath(printed);
  fuzz::Expect(again && Same(*path, *again), "a path survives being written down");
  fuzz::Expect(FormatPath(*again) == printed, "the canonical text is canonical");
}
