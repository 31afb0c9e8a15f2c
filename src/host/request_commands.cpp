#include <algorithm>
#include <random>

#include "errors/exception.h"
#include "host/commands.h"
#include "host/text.h"
#include "host/value_input.h"
#include "platform/text/compare.h"

namespace kelvarion::host {
namespace {

constexpr const char16_t* kActivityId = u"ActivityId";

const Declaration* FindByName(const std::vector<Declaration>& list, const std::u16string& name) {
  for (const Declaration& declaration : list)
    if (platform::EqualIgnoreCase(declaration.name, name)) return &declaration;
  return nullptr;
}

std::u16string NamesOf(const std::vector<Declaration>& list) {
  std::vector<std::u16string> names;
  for (const Declaration& declaration : list) names.push_back(declaration.name);
  return names.empty() ? u"none" : Join(names);
}

// Sets the values on an object that has exactly the declared properties. `kind` and `owner` say in
// messages what they are properties of.
void Fill(IWbemClassObject& object, const std::vector<Declaration>& declared,
          const std::vector<Argument>& values, const std::u16string& kind,
          const std::u16string& owner, const Schema& schema) {
  for (const Argument& value : values) {
    const Declaration* const declaration = FindByName(declared, value.name);
    if (!declaration) {
      throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"%s has no %s '%s'; it has: %s", owner,
                         kind, value.name, NamesOf(declared));
    }
    const Target target{*declaration, Format(u"%s '%s' of %s", kind, declaration->name, owner)};
    const HRESULT hr =
        object.Put(declaration->name, 0, ValueOf(target, value, schema), declaration->type);
    if (Failed(hr)) {
      throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"The value of the %s does not fit",
                         target.what);
    }
  }
}

// The parameters object of a call; null when the schema knows no such method, which the provider
// is left to refuse, or when the method takes none.
ObjectPtr MakeParameters(const Schema& schema, const std::u16string& path,
                         const std::u16string& method_name,
                         const std::vector<Argument>& parameters) {
  const ObjectPtr class_object = schema.Find(ClassOfPath(path));
  if (!class_object) return nullptr;
  const std::optional<Method> method = FindMethod(*class_object, method_name);
  if (!method) return nullptr;
  const std::u16string owner = Format(u"%s.%s", ClassNameOf(*class_object), method->name);
  ObjectPtr in;
  if (method->in_signature) ThrowIfFailed(method->in_signature->SpawnInstance(0, in.Put()));
  if (!in && !parameters.empty()) {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"%s has no parameter '%s'; it has: none",
                       owner, parameters.front().name);
  }
  if (in) Fill(*in, method->in, parameters, u"parameter", owner, schema);
  return in;
}

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
  return FromReply(session.provider().Enumerate(name, context.Get(), session.observer));
}

Outcome Get(Session& session, const std::string& path) {
  const std::u16string text = ParseWord(path);
  const auto context = session.context();
  return FromReply(session.provider().Get(text, context.Get(), session.observer));
}

Outcome Put(Session& session, const std::string& class_name,
            const std::vector<std::string>& values) {
  const std::u16string name = ParseWord(class_name);
  const std::vector<Argument> properties = ParseArguments(values);
  const auto context = session.context();
  ProviderHost& provider = session.provider();
  const std::shared_ptr<const Schema> schema = session.schema();
  const ObjectPtr class_object = schema->Find(name);
  if (!class_object) throw ComException(WBEM_E_INVALID_CLASS, u"Unexpected class '%s'", name);
  ObjectPtr instance;
  ThrowIfFailed(class_object->SpawnInstance(0, instance.Put()));
  Fill(*instance, PropertiesOf(*class_object), properties, u"property", ClassNameOf(*class_object),
       *schema);
  return FromReply(provider.Put(instance.Get(), context.Get(), session.observer));
}

Outcome Delete(Session& session, const std::string& path) {
  const std::u16string text = ParseWord(path);
  const auto context = session.context();
  return FromReply(session.provider().Delete(text, context.Get(), session.observer));
}

Outcome Call(Session& session, const std::string& path, const std::string& method,
             const std::vector<std::string>& parameters) {
  const std::u16string where = ParseWord(path);
  const std::u16string name = ParseWord(method);
  const std::vector<Argument> values = ParseArguments(parameters);
  const auto context = WithActivity(session.context());
  ProviderHost& provider = session.provider();
  const ObjectPtr in = MakeParameters(*session.schema(), where, name, values);
  Outcome outcome =
      FromReply(provider.Call(where, name, context.Get(), in.Get(), session.observer));
  if (Failed(outcome.status) && session.observer) {
    const auto names = LeftOut(*session.schema(), where, name, values);
    if (!names.empty()) session.observer->OnWarning(u"The call left out: " + Join(names));
  }
  return outcome;
}

}  // namespace kelvarion::host
