#include <algorithm>

#include "errors/exception.h"
#include "host/commands.h"
#include "host/request_objects.h"
#include "host/text.h"
#include "platform/text/compare.h"

namespace kelvarion::host {
namespace {

// The parameters that the method cannot do without and that were not given. The provider says of
// such a one only that it is null.
std::vector<std::u16string> LeftOut(const Schema& schema, const std::u16string& path,
                                    const std::u16string& method_name,
                                    const std::vector<Argument>& parameters) {
  std::vector<std::u16string> names;
  const ObjectPtr class_object = schema.Find(ClassOfPath(path));
  const auto method = class_object ? FindMethod(*class_object, method_name) : std::nullopt;
  if (!method) return names;
  for (const Declaration& declared : method->in) {
    const bool given =
        std::any_of(parameters.begin(), parameters.end(), [&](const Argument& argument) {
          return platform::EqualIgnoreCase(argument.name, declared.name);
        });
    if (!given && !declared.optional) names.push_back(declared.name);
  }
  return names;
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
  const auto context = session.context();
  RequestTarget& target = session.target();
  const ObjectPtr in = MakeParameters(*session.schema(), where, name, values);
  Outcome outcome = FromReply(target.Call(where, name, context.Get(), in.Get(), session.observer));
  if (Failed(outcome.status) && session.observer) {
    const auto names = LeftOut(*session.schema(), where, name, values);
    if (!names.empty()) session.observer->OnWarning(u"The call left out: " + Join(names));
  }
  return outcome;
}

}  // namespace kelvarion::host
