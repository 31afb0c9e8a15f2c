#include <algorithm>

#include "errors/exception.h"
#include "host/commands.h"
#include "host/request_objects.h"
#include "host/text.h"
#include "platform/text/compare.h"

namespace kelvarion::host {
namespace {

constexpr const char* kClassHelp = "Name of the class";
constexpr const char* kPathHelp = "An object path: Class.Key=\"value\", or Class=@ for a singleton";
constexpr const char* kValueHelp = "NAME=TEXT, or NAME:=JSON for lists, null and embedded objects";

struct RequestWords {
  std::string subject;  // A class or a path.
  std::string method;
  std::vector<std::string> values;
};

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

Outcome Put(Session& session, const RequestWords& words) {
  const std::u16string name = ParseWord(words.subject);
  const std::vector<Argument> properties = ParseArguments(words.values);
  const auto context = session.context();
  RequestTarget& target = session.target();
  const ObjectPtr instance = MakeInstance(*session.schema(), name, properties);
  return FromReply(target.Put(instance.Get(), context.Get(), session.observer));
}

Outcome Delete(Session& session, const RequestWords& words) {
  const std::u16string text = ParseWord(words.subject);
  const auto context = session.context();
  return FromReply(session.target().Delete(text, context.Get(), session.observer));
}

void AddCall(CLI::App& app, Command& chosen) {
  const auto [call, words] =
      AddCommand<RequestWords>(app, "call", "Call a method of a class or of an instance", chosen,
                               [](Session& session, const RequestWords& called) {
                                 return Call(session, called.subject, called.method, called.values);
                               });
  call->add_option("PATH", words->subject, "A class for its static methods, else an object path")
      ->required();
  call->add_option("METHOD", words->method, "Name of the method")->required();
  call->add_option("PARAMETER", words->values, kValueHelp);
  call->footer(
      "Examples:\n"
      "  kelvarionctl call Kelvarion_Repository Create Name=demo\n"
      "  kelvarionctl call 'Kelvarion_Repository.Name=\"demo\"' SetSecurity Path=/ \\\n"
      "    ResetChildren=false 'Permissions:=[{\"__CLASS\":\"Kelvarion_PermissionEntry\",\n"
      "    \"Account\":{\"__CLASS\":\"Kelvarion_User\",\"Name\":\"alice\"},\"AccessLevel\":2}]'\n"
      "Ctrl-C cancels a call that runs long and waits until it has cleaned up.");
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

void AddRequestCommands(CLI::App& app, Command& chosen) {
  const auto add = [&](const char* name, const char* description, const char* subject,
                       const char* help, Outcome (*run)(Session&, const RequestWords&)) {
    const auto added = AddCommand(app, name, description, chosen, run);
    added.first->add_option(subject, added.second->subject, help)->required();
    return added;
  };
  add("enumerate", "List all instances of a class", "CLASS", kClassHelp,
      [](Session& session, const RequestWords& words) { return Enumerate(session, words.subject); })
      .first->footer("Example:\n  kelvarionctl enumerate Kelvarion_Repository");
  add("get", "Show one instance", "PATH", kPathHelp,
      [](Session& session, const RequestWords& words) { return Get(session, words.subject); })
      .first->footer(
          "Examples:\n  kelvarionctl get 'Kelvarion_Repository.Name=\"demo\"'\n"
          "  kelvarionctl get Kelvarion_VersionInfo=@");
  const auto [put, stored] = add("put", "Store an instance", "CLASS", kClassHelp, Put);
  put->add_option("PROPERTY", stored->values, kValueHelp);
  add("delete", "Delete one instance", "PATH", kPathHelp, Delete);
  AddCall(app, chosen);
}

}  // namespace kelvarion::host
