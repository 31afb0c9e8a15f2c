// Requests to a provider as lines of JSON, one a line:
//
//   {"get": PATH}  {"delete": PATH}  {"enumerate": CLASS}  {"put": OBJECT}
//   {"call": PATH, "method": NAME, "in": OBJECT, "context": {NAME: VALUE, …}}
//
// What a line has in mind may be wrong in every way that a client can be wrong. An object is of the
// class that its "__CLASS" names, or of a class of its own when that is null or unknown, with
// properties of the values' own types; parameters without "__CLASS" are those that the schema
// declares. A value that a declared property cannot hold is left out.
// In texts "<home>" and "<outside>" stand for the folders, "<long>" for 65,536 letters, and
// characters of the private use area from U+E000 for lone halves of surrogate pairs. A list that
// begins with "<many>" has its second element a thousand times.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/provider_host/provider_host.h"

namespace kelvarion::fuzz {

using Json = nlohmann::ordered_json;

// Nothing for bytes that are not whole lines of JSON objects.
std::optional<std::vector<Json>> ReadLines(std::string_view bytes);
std::string WriteLines(const std::vector<Json>& requests);

// Null for a class that the schema does not have.
ComPtr<IWbemClassObject> FindClass(const testing::ProviderHost& host, const std::u16string& name);

struct Places {
  std::string home;
  std::string outside;
};

// Makes requests of one provider.
class Requester {
 public:
  Requester(const testing::ProviderHost& host, Places places)
      : host_(host), places_(std::move(places)) {}

  // Nothing for a line that asks for nothing.
  std::optional<testing::Answer> Make(const Json& request) const;
  // The folders, free of links, that a request names where the schema says that an absolute path is
  // wanted: to change them is what was asked for.
  std::vector<std::string> NamedFolders(const Json& request) const;

 private:
  std::u16string Text(const std::string& utf8) const;
  std::u16string TextOf(const Json& object, const char* member) const;
  Variant ValueOf(const Json& json) const;
  Variant ListOf(const Json& json) const;
  ComPtr<IWbemClassObject> ObjectOf(const Json& json,
                                    ComPtr<IWbemClassObject> class_object = nullptr) const;
  ComPtr<IWbemClassObject> ClassOfItsOwn(const Json& json) const;
  ComPtr<IWbemClassObject> SignatureOf(const Json& call) const;
  ComPtr<IWbemContext> ContextOf(const Json& request) const;
  testing::Answer Call(const Json& request) const;

  const testing::ProviderHost& host_;
  Places places_;
};

}  // namespace kelvarion::fuzz
