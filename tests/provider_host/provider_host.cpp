#include "tests/provider_host/provider_host.h"

#include <algorithm>
#include <stdexcept>

#include "host/request_objects.h"
#include "host/value_input.h"
#include "host/value_output.h"
#include "platform/text/encoding.h"
#include "platform/wmi/cancellable_sink.h"
#include "provider/provider.h"

namespace kelvarion::testing {
namespace {

class CollectingSink final : public ComObject<IWbemObjectSinkEx, IcCancellableSink> {
 public:
  explicit CollectingSink(const SinkOptions& options) : options_(options) {}

  HRESULT QueryInterface(const Guid& iid, void** out) override {
    if (iid == IWbemObjectSinkEx::kIid && !options_.extended) {
      *out = nullptr;
      return E_NOINTERFACE;
    }
    return ComObject::QueryInterface(iid == IWbemObjectSink::kIid ? IUnknown::kIid : iid, out);
  }
  bool IsCancelled() const override { return options_.is_cancelled && options_.is_cancelled(); }
  HRESULT Indicate(std::int32_t count, IWbemClassObject** objects) override {
    if (options_.on_indicate) options_.on_indicate();
    if (Failed(options_.indicate)) return options_.indicate;
    for (std::int32_t i = 0; i < count; ++i)
      answer.objects.emplace_back(ComPtr<IWbemClassObject>(objects[i]));
    return S_OK;
  }
  HRESULT SetStatus(std::int32_t, HRESULT result, const std::u16string*,
                    IWbemClassObject* error) override {
    answer.status = result;
    answer.error = WMIObject(ComPtr<IWbemClassObject>(error));
    ++answer.completions;
    return S_OK;
  }
  HRESULT WriteMessage(std::uint32_t, const std::u16string& text) override {
    answer.warnings.push_back(text);
    return options_.message;
  }
  HRESULT WriteProgress(const std::u16string* activity, const std::u16string* operation,
                        const std::u16string* status, std::int32_t percent,
                        std::int32_t seconds) override {
    const auto copy = [](const std::u16string* text) {
      return text ? std::optional(*text) : std::nullopt;
    };
    answer.progress.push_back({copy(activity), copy(operation), copy(status), percent, seconds});
    return options_.progress;
  }

  Answer answer;

 private:
  SinkOptions options_;
};

class InitSink final : public ComObject<IWbemProviderInitSink> {
 public:
  HRESULT SetStatus(HRESULT result, std::int32_t) override {
    status = result;
    return S_OK;
  }
  HRESULT status = E_FAIL;
};

// A namespace without some of its classes.
class FilteredNamespace final : public ComObject<platform::ServicesBase> {
 public:
  FilteredNamespace(ComPtr<IWbemServices> all, std::vector<std::u16string> hidden)
      : all_(std::move(all)), hidden_(std::move(hidden)) {}
  HRESULT GetObject(Text path, std::int32_t flags, IWbemContext* context,
                    IWbemClassObject** out) override {
    if (std::ranges::count(hidden_, path)) return WBEM_E_NOT_FOUND;
    return all_->GetObject(path, flags, context, out);
  }

 private:
  ComPtr<IWbemServices> all_;
  std::vector<std::u16string> hidden_;
};

// Classes are only read, so all providers of the process share them.
const ComPtr<IWbemServices>& CompiledSchema() {
  static const ComPtr<IWbemServices> schema = [] {
    RegisterWbemClasses();
    SchemaError error;
    ComPtr<IWbemServices> opened = OpenNamespaceFolder(KELVARION_SOURCE_DIR "/schema", error);
    if (!opened) throw std::runtime_error("the schema does not compile: " + error.text);
    return opened;
  }();
  return schema;
}

}  // namespace

std::u16string Answer::Message() const {
  return error ? error.Get(Property<std::u16string>{u"Description"}) : std::u16string();
}

std::vector<host::Json> Answer::all() const {
  std::vector<host::Json> shown;
  for (const WMIObject& each : objects) shown.push_back(host::ObjectToJson(*each.object()));
  return shown;
}

host::Json Answer::out() const { return objects.empty() ? host::Json() : all().front(); }

std::string Answer::said() const { return platform::Utf8ForDisplay(Message()); }

ClientToken ProviderHost::DefaultClient() {
  return {platform::CurrentUserSid(), {}, ImpersonationLevel::kImpersonation};
}

ProviderHost::ProviderHost(std::shared_ptr<platform::Machine> machine,
                           std::vector<std::u16string> hidden)
    : schema_(CompiledSchema()), client_(DefaultClient()) {
  namespace_ = std::make_unique<WMINamespace>(schema_.Get());
  const auto provider = MakeCom<CKelvarionWMIProvider>(std::move(machine));
  const auto filtered = MakeCom<FilteredNamespace>(schema_, std::move(hidden));
  const auto sink = MakeCom<InitSink>();
  const ScopedClient client(*client_);
  provider->Initialize(nullptr, 0, u"root\\Kelvarion", nullptr, filtered.Get(), nullptr,
                       sink.Get());
  initialize_status_ = sink->status;
  services_ = provider.As<IWbemServices>();
}

ProviderHost::~ProviderHost() = default;

Answer ProviderHost::Serve(const SinkOptions& options, const Request& request) const {
  const auto sink = MakeCom<CollectingSink>(options);
  std::optional<ScopedClient> client;
  if (client_) client.emplace(*client_);
  sink->answer.returned = request(sink.Get());
  return std::move(sink->answer);
}

Answer ProviderHost::Get(const std::u16string& path, const SinkOptions& options) const {
  return Serve(options, [&](IWbemObjectSink* sink) {
    return services_->GetObjectAsync(path, 0, nullptr, sink);
  });
}

Answer ProviderHost::Put(const WMIObject& instance) const {
  return Serve({}, [&](IWbemObjectSink* sink) {
    return services_->PutInstanceAsync(instance.object().Get(), 0, nullptr, sink);
  });
}

Answer ProviderHost::Delete(const std::u16string& path) const {
  return Serve({}, [&](IWbemObjectSink* sink) {
    return services_->DeleteInstanceAsync(path, 0, nullptr, sink);
  });
}

Answer ProviderHost::Enumerate(const std::u16string& class_name, IWbemContext* context,
                               const SinkOptions& options) const {
  return Serve(options, [&](IWbemObjectSink* sink) {
    return services_->CreateInstanceEnumAsync(class_name, 0, context, sink);
  });
}

Answer ProviderHost::Call(const std::u16string& path, const std::u16string& method,
                          const Fill& fill, IWbemContext* context,
                          const SinkOptions& options) const {
  WMIObject in_params;
  if (fill) {
    in_params = InParameters(path, method);
    fill(in_params);
  }
  return Serve(options, [&](IWbemObjectSink* sink) {
    return services_->ExecMethodAsync(path, method, 0, context, in_params.object().Get(), sink);
  });
}

Answer ProviderHost::Call(const std::string& path, const std::string& method,
                          const std::vector<std::string>& parameters,
                          const SinkOptions& options) const {
  static const host::Schema schema(KELVARION_SOURCE_DIR "/schema");
  const std::u16string where = platform::Utf16ForDisplay(path);
  const std::u16string what = platform::Utf16ForDisplay(method);
  host::ObjectPtr in;
  if (!parameters.empty())
    in = host::MakeParameters(schema, where, what, host::ParseArguments(parameters));
  return Serve(options, [&](IWbemObjectSink* sink) {
    return services_->ExecMethodAsync(where, what, 0, nullptr, in.Get(), sink);
  });
}

Answer ProviderHost::Get(const std::string& path) const {
  return Get(platform::Utf16ForDisplay(path));
}

Answer ProviderHost::List(const std::string& class_name,
                          const std::vector<std::string>& context) const {
  const ComPtr<IWbemContext> values = MakeContext();
  for (const host::Argument& each : host::ParseArguments(context))
    values->SetValue(each.name, 0, host::ContextValue(each));
  return Enumerate(platform::Utf16ForDisplay(class_name), values.Get());
}

WMIObject ProviderHost::Spawn(const std::u16string& class_name) const {
  return namespace_->LoadClass(class_name, nullptr).SpawnInstance();
}

WMIObject ProviderHost::InParameters(const std::u16string& path,
                                     const std::u16string& method) const {
  const WMIClass owner = namespace_->LoadClass(namespace_->ParsePath(path).ClassName(), nullptr);
  ComPtr<IWbemClassObject> signature;
  ThrowIfFailed(owner.object()->GetMethod(method, 0, signature.Put(), nullptr));
  if (!signature) throw std::runtime_error("the method takes no parameters");
  ComPtr<IWbemClassObject> instance;
  ThrowIfFailed(signature->SpawnInstance(0, instance.Put()));
  return WMIObject(instance);
}

}  // namespace kelvarion::testing
