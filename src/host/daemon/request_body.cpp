#include "host/daemon/request_body.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <set>

#include "errors/exception.h"
#include "host/request_objects.h"
#include "host/text.h"
#include "host/wire.h"

namespace kelvarion::host {
namespace {

// Both far more than the classes have. What is below a value is walked by recursion; the members of
// an object are searched one by one, which takes long among many.
constexpr int kGreatestDepth = 32;
constexpr std::size_t kMostMembers = 256;

[[noreturn]] void Refuse(const std::u16string& reason) {
  throw WMIException(WBEM_E_INVALID_PARAMETER, u"The request cannot be read: %s", reason);
}

Json Parse(std::string_view body) {
  // The names in the object that is open, by its depth: the document keeps the last of equal ones.
  std::array<std::set<std::string>, kGreatestDepth + 2> names;
  const auto check = [&](int depth, Json::parse_event_t event, Json& value) {
    if (depth > kGreatestDepth) Refuse(u"it is nested too deeply");
    const auto level = static_cast<std::size_t>(depth);
    if (event == Json::parse_event_t::object_start) names[level + 1].clear();
    if (event != Json::parse_event_t::key) return true;
    if (!names[level].insert(value.get<std::string>()).second)
      Refuse(Format(u"'%s' is given twice", Utf16(value.get<std::string>())));
    if (names[level].size() > kMostMembers)
      Refuse(Format(u"an object has more than %lu members", kMostMembers));
    return true;
  };
  try {
    return Json::parse(body, check);
  } catch (const Json::exception& error) {  // Also for a number that is too large.
    Refuse(Utf16(error.what()));
  }
}

// The members of a body, each asked for by name once.
class Members {
 public:
  explicit Members(Json body) : body_(std::move(body)) {
    if (!body_.is_object()) Refuse(u"it is no object");
  }

  std::u16string Text(const char* name) {
    const Json value = Take(name);
    if (!value.is_string()) Refuse(Format(u"it has no text '%s'", Utf16(name)));
    return Utf16(value.get<std::string>());
  }
  Json Object(const char* name) {
    Json value = Take(name);
    if (!value.is_object()) Refuse(Format(u"it has no object '%s'", Utf16(name)));
    return value;
  }
  // Null when it is missing.
  Json OptionalObject(const char* name) { return body_.contains(name) ? Object(name) : Json(); }

  // What nobody asked for is a mistake of the client's.
  void ExpectNoMore() const {
    if (!body_.empty()) Refuse(Format(u"it has an unknown '%s'", Utf16(body_.begin().key())));
  }

 private:
  Json Take(const char* name) {
    const auto found = body_.find(name);
    if (found == body_.end()) return nullptr;
    Json value = std::move(*found);
    body_.erase(found);
    return value;
  }

  Json body_;
};

ClientRequest ReadGet(Members& members, const ComPtr<IWbemContext>& context, const Schema&) {
  return [path = members.Text("path"), context](IWbemServices& services, auto* sink) {
    return services.GetObjectAsync(path, 0, context.Get(), sink);
  };
}

ClientRequest ReadDelete(Members& members, const ComPtr<IWbemContext>& context, const Schema&) {
  return [path = members.Text("path"), context](IWbemServices& services, auto* sink) {
    return services.DeleteInstanceAsync(path, 0, context.Get(), sink);
  };
}

ClientRequest ReadEnumerate(Members& members, const ComPtr<IWbemContext>& context, const Schema&) {
  return [name = members.Text("class"), context](IWbemServices& services, auto* sink) {
    return services.CreateInstanceEnumAsync(name, 0, context.Get(), sink);
  };
}

ClientRequest ReadPut(Members& members, const ComPtr<IWbemContext>& context, const Schema& schema) {
  Json object = members.Object("object");
  Members properties(object);
  const std::u16string name = properties.Text("__CLASS");
  object.erase("__CLASS");
  const ObjectPtr instance = MakeInstance(schema, name, ArgumentsFromJson(object));
  return [instance, context](IWbemServices& services, auto* sink) {
    return services.PutInstanceAsync(instance.Get(), 0, context.Get(), sink);
  };
}

ClientRequest ReadCall(Members& members, const ComPtr<IWbemContext>& context,
                       const Schema& schema) {
  const std::u16string path = members.Text("path");
  const std::u16string method = members.Text("method");
  const Json parameters = members.OptionalObject("parameters");
  const ObjectPtr in = MakeParameters(schema, path, method, ArgumentsFromJson(parameters));
  return [path, method, in, context](IWbemServices& services, auto* sink) {
    return services.ExecMethodAsync(path, method, 0, context.Get(), in.Get(), sink);
  };
}

constexpr struct {
  std::string_view kind;
  ClientRequest (*read)(Members&, const ComPtr<IWbemContext>&, const Schema&);
} kKinds[] = {{kGet, ReadGet},
              {kPut, ReadPut},
              {kDelete, ReadDelete},
              {kEnumerate, ReadEnumerate},
              {kCall, ReadCall}};

const auto* FindKind(std::string_view kind) {
  return std::find_if(std::begin(kKinds), std::end(kKinds),
                      [&](const auto& row) { return row.kind == kind; });
}

}  // namespace

bool IsRequestKind(std::string_view kind) { return FindKind(kind) != std::end(kKinds); }

ClientRequest ReadRequest(std::string_view kind, std::string_view body, const Schema& schema) {
  const auto* const row = FindKind(kind);
  if (row == std::end(kKinds)) Refuse(u"there is no such kind");
  Members members(Parse(body));
  const ComPtr<IWbemContext> context = ContextFromJson(members.OptionalObject("context"));
  ClientRequest request = row->read(members, context, schema);
  members.ExpectNoMore();
  return request;
}

}  // namespace kelvarion::host
