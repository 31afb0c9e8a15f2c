#include "host/client/daemon_client.h"

#include <atomic>

#include "errors/exception.h"
#include "host/client/http_exchange.h"
#include "host/request_objects.h"
#include "host/text.h"
#include "host/value_output.h"
#include "host/wire.h"
#include "platform/network/local_socket.h"
#include "platform/process/process.h"

namespace kelvarion::host {
namespace {

// Makes objects of what they were before they were sent.
using ObjectReader = std::function<ObjectPtr(const Json&)>;

// The lines of one answer become a reply.
class ReplyReader {
 public:
  ReplyReader(ObjectReader read_object, ObjectReader read_error, Observer* observer)
      : read_object_(std::move(read_object)),
        read_error_(std::move(read_error)),
        observer_(observer) {}

  void Take(const Json& line) {
    if (const auto object = line.find("object"); object != line.end()) {
      reply_.objects.push_back(read_object_(*object));
    } else if (const auto warning = line.find("warning"); warning != line.end()) {
      reply_.warnings.push_back(Utf16(warning->get<std::string>()));
      if (observer_) observer_->OnWarning(reply_.warnings.back());
    } else if (const auto progress = line.find("progress"); progress != line.end()) {
      reply_.progress.push_back(ProgressFromJson(*progress));
      if (observer_) observer_->OnProgress(reply_.progress.back());
    } else {
      TakeStatus(line);
    }
  }

  Reply Finish() {
    if (!complete_)
      throw WMIException(WBEM_E_TRANSPORT_FAILURE, u"The daemon's answer has no status");
    return std::move(reply_);
  }

 private:
  void TakeStatus(const Json& line) {
    reply_.status = static_cast<HRESULT>(line.at("status").get<std::uint32_t>());
    const Json& error = line.at("error");
    if (error.is_object()) reply_.error = read_error_(error);
    complete_ = true;
  }

  const ObjectReader read_object_;
  const ObjectReader read_error_;
  Observer* const observer_;
  Reply reply_;
  bool complete_ = false;
};

class DaemonClient final : public RequestTarget {
 public:
  DaemonClient(std::string home, std::shared_ptr<const Schema> schema, platform::Descriptor socket)
      : home_(std::move(home)), schema_(std::move(schema)), socket_(std::move(socket)) {}

  Reply Get(const std::u16string& path, IWbemContext* context, Observer* observer) override {
    return Request(kGet, {{"path", Utf8(path)}}, context, observer);
  }
  Reply Put(IWbemClassObject* instance, IWbemContext* context, Observer* observer) override {
    return Request(kPut, {{"object", ObjectToJson(*instance)}}, context, observer);
  }
  Reply Delete(const std::u16string& path, IWbemContext* context, Observer* observer) override {
    return Request(kDelete, {{"path", Utf8(path)}}, context, observer);
  }
  Reply Enumerate(const std::u16string& class_name, IWbemContext* context,
                  Observer* observer) override {
    return Request(kEnumerate, {{"class", Utf8(class_name)}}, context, observer);
  }
  Reply Call(const std::u16string& path, const std::u16string& method, IWbemContext* context,
             IWbemClassObject* in, Observer* observer) override;

 private:
  Reply Request(const char* kind, Json body, IWbemContext* context, Observer* observer) {
    return Send(kind, std::move(body), context, observer,
                [this](const Json& object) { return InstanceFromJson(object); });
  }
  Reply Send(const char* kind, Json body, IWbemContext* context, Observer* observer,
             const ObjectReader& read_object);
  void Connect();
  ObjectPtr InstanceFromJson(const Json& json) const;
  ObjectPtr ErrorFromJson(const Json& json) const;

  const std::string home_;
  const std::shared_ptr<const Schema> schema_;
  platform::Descriptor socket_;  // For the next request; none once it was made.
};

std::vector<Argument> Properties(Json object) {
  object.erase("__CLASS");
  return ArgumentsFromJson(object);
}

ObjectPtr DaemonClient::InstanceFromJson(const Json& json) const {
  return MakeInstance(*schema_, Utf16(json.at("__CLASS").get<std::string>()), Properties(json));
}

// Every error object has a class of its own, derived from one of two.
ObjectPtr DaemonClient::ErrorFromJson(const Json& json) const {
  const ObjectPtr base =
      schema_->Find(json.contains("Summary") ? u"Kelvarion_ExtendedError" : u"Kelvarion_Error");
  if (!base) return nullptr;
  ObjectPtr derived;
  ObjectPtr error;
  ThrowIfFailed(base->SpawnDerivedClass(0, derived.Put()));
  const std::u16string name = Utf16(json.at("__CLASS").get<std::string>());
  ThrowIfFailed(derived->Put(u"__CLASS", 0, Variant::FromString(name), 0));
  ThrowIfFailed(derived->SpawnInstance(0, error.Put()));
  Fill(*error, PropertiesOf(*derived), Properties(json), u"property", name, *schema_);
  return error;
}

Reply DaemonClient::Call(const std::u16string& path, const std::u16string& method,
                         IWbemContext* context, IWbemClassObject* in, Observer* observer) {
  Json body = {{"path", Utf8(path)}, {"method", Utf8(method)}};
  if (in) {
    body["parameters"] = ObjectToJson(*in);
    body["parameters"].erase("__CLASS");
  }
  // What a method indicates is declared by its out parameters.
  const ObjectReader read = [&](const Json& json) {
    const ObjectPtr class_object = schema_->Find(ClassOfPath(path));
    ObjectPtr signature;
    if (!class_object || Failed(class_object->GetMethod(method, 0, nullptr, signature.Put())) ||
        !signature || Utf16(json.at("__CLASS").get<std::string>()) != ClassNameOf(*signature))
      return InstanceFromJson(json);
    ObjectPtr out;
    ThrowIfFailed(signature->SpawnInstance(0, out.Put()));
    Fill(*out, PropertiesOf(*signature), Properties(json), u"parameter", method, *schema_);
    return out;
  };
  return Send(kCall, std::move(body), context, observer, read);
}

void DaemonClient::Connect() {
  if (socket_) return;
  if (platform::ConnectLocal(SocketPath(home_), socket_) != ERROR_SUCCESS) throw DaemonGone();
}

Reply DaemonClient::Send(const char* kind, Json body, IWbemContext* context, Observer* observer,
                         const ObjectReader& read_object) {
  Connect();
  if (context) body["context"] = ContextToJson(context);
  ReplyReader reader(
      read_object, [this](const Json& error) { return ErrorFromJson(error); }, observer);
  const platform::Descriptor socket = std::move(socket_);
  std::atomic<bool> interrupted = false;
  try {
    // Sending nothing more is how a client says that it does not want to go on.
    // Whoever insists does not even wait for the clean-up, which then goes on without him.
    const platform::InterruptWatch watch([&] {
      if (interrupted.exchange(true))
        platform::Disconnect(socket.get());
      else
        platform::EndSending(socket.get());
    });
    Exchange(socket.get(), kTargetPrefix + std::string(kind),
             body.dump(-1, ' ', false, Json::error_handler_t::replace),
             [&](const Json& line) { reader.Take(line); });
  } catch (const Json::exception& error) {
    throw WMIException(WBEM_E_TRANSPORT_FAILURE, u"The daemon's answer cannot be read: %s",
                       Utf16(error.what()));
  } catch (const DaemonGone& gone) {
    // What was cancelled is not to be made elsewhere.
    if (interrupted) throw WMIException(WBEM_E_CALL_CANCELLED);
    throw;
  }
  Reply reply = reader.Finish();
  if (reply.status == WBEM_E_SHUTTING_DOWN && !interrupted) throw DaemonGone();
  return reply;
}

}  // namespace

std::unique_ptr<RequestTarget> ConnectToDaemon(const std::string& home,
                                               std::shared_ptr<const Schema> schema) {
  platform::Descriptor socket;
  if (platform::ConnectLocal(SocketPath(home), socket) != ERROR_SUCCESS) return nullptr;
  return std::make_unique<DaemonClient>(home, std::move(schema), std::move(socket));
}

}  // namespace kelvarion::host
