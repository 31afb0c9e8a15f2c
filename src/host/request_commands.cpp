#include <random>

#include "errors/exception.h"
#include "host/commands.h"
#include "host/request_objects.h"
#include "host/wire.h"

namespace kelvarion::host {
namespace {

// Any name will do that nobody else has at the same time.
std::u16string FreshActivityId() {
  std::random_device random;
  std::u16string id = u"kelvarionctl";
  for (int i = 0; i < 4; ++i) id += Format(u"-%8.8X", random());
  return id;
}

// So that an interrupt can cancel the call.
ComPtr<IWbemContext> WithActivity(ComPtr<IWbemContext> context) {
  if (!context) context = MakeContext();
  Variant given;
  if (Failed(context->GetValue(kActivityId, 0, &given)))
    context->SetValue(kActivityId, 0, Variant::FromString(FreshActivityId()));
  return context;
}

}  // namespace

Outcome Enumerate(Session& session, const std::string& class_name) {
  const std::u16string name = ParseWord(class_name);
  const auto context = session.context();
  return FromReply(session.target().Enumerate(name, context.Get(), session.observer));
}

Outcome Get(Session& session, const std::string& path) {
  const std::u16string text = ParseWord(path);
  const auto context = session.context();
  return FromReply(session.target().Get(text, context.Get(), session.observer));
}

Outcome Put(Session& session, const std::string& class_name,
            const std::vector<std::string>& values) {
  const std::u16string name = ParseWord(class_name);
  const std::vector<Argument> properties = ParseArguments(values);
  const auto context = session.context();
  RequestTarget& target = session.target();
  const ObjectPtr instance = MakeInstance(*session.schema(), name, properties);
  return FromReply(target.Put(instance.Get(), context.Get(), session.observer));
}

Outcome Delete(Session& session, const std::string& path) {
  const std::u16string text = ParseWord(path);
  const auto context = session.context();
  return FromReply(session.target().Delete(text, context.Get(), session.observer));
}

Outcome Call(Session& session, const std::string& path, const std::string& method,
             const std::vector<std::string>& parameters) {
  const std::u16string where = ParseWord(path);
  const std::u16string name = ParseWord(method);
  const std::vector<Argument> values = ParseArguments(parameters);
  const auto context = WithActivity(session.context());
  RequestTarget& target = session.target();
  const ObjectPtr in = MakeParameters(*session.schema(), where, name, values);
  return FromReply(target.Call(where, name, context.Get(), in.Get(), session.observer));
}

}  // namespace kelvarion::host
