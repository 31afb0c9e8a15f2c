#include "host/everyday/requests.h"

#include <fstream>
#include <iostream>
#include <iterator>

#include "host/commands.h"
#include "host/table.h"
#include "host/text.h"
#include "platform/process/process.h"

namespace kelvarion::host {
namespace {

std::string Cell(const Json& object, const char* property) {
  const Json& value = object.at(property);
  if (value.is_null()) return "-";
  return value.is_string() ? value.get<std::string>() : value.dump();
}

}  // namespace

std::string ObjectPath(const std::string& class_name, const Keys& keys) {
  std::string path = class_name;
  char separator = '.';
  for (const auto& [key, value] : keys) {
    path += separator + std::string(key) + "=\"";
    for (const char c : value) {
      if (c == '"' || c == '\\') path += '\\';
      path += c;
    }
    path += '"';
    separator = ',';
  }
  return path;
}

std::string Switch(const char* parameter, bool on) {
  return std::string(parameter) + (on ? "=true" : "=false");
}

void TakeResult(Outcome& outcome, const char* parameter) {
  if (Failed(outcome.status) || outcome.objects.empty()) return;
  const Json result = outcome.objects.front().at(parameter);
  outcome.objects.clear();
  outcome.text.clear();
  if (result.is_array())
    outcome.objects.assign(result.begin(), result.end());
  else if (!result.is_null())
    outcome.objects.push_back(result);
}

Outcome OrMissing(Outcome outcome, const std::string& words) {
  if (outcome.status == WBEM_E_NOT_FOUND) return Failure(outcome.status, Utf16(words));
  return outcome;
}

void ShowTable(Outcome& outcome, const Columns& columns, const char* nothing) {
  if (Failed(outcome.status)) return;
  Table table;
  for (const auto& [heading, property] : columns) table.headings.emplace_back(heading);
  for (const Json& object : outcome.objects) {
    std::vector<std::string> row;
    for (const auto& [heading, property] : columns) row.push_back(Cell(object, property));
    table.rows.push_back(std::move(row));
  }
  outcome.text = outcome.objects.empty() ? nothing : table.Render(columns.size());
}

Outcome ListNames(Session& session, const std::string& class_name) {
  Outcome outcome = Enumerate(session, class_name);
  outcome.text.clear();
  for (const Json& object : outcome.objects)
    outcome.text += object.at("Name").get<std::string>() + "\n";
  return outcome;
}

void Confirm(const std::string& question, bool yes) {
  if (yes) return;
  if (!platform::InputIsTerminal())
    throw UsageError("There is nobody to ask; --yes says that it is meant.");
  std::cerr << question << " [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "y" && answer != "Y" && answer != "yes") throw UsageError("Nothing was changed.");
}

std::string ReadPassword(const std::string& prompt, Typed typed) {
  std::string password;
  std::string again;
  if (!platform::ReadSecretLine(prompt, password))
    throw UsageError("No password was given; nothing is changed.");
  if (typed == Typed::kTwice && platform::InputIsTerminal()) {
    if (!platform::ReadSecretLine("Again: ", again) || again != password)
      throw UsageError("The two passwords differ; nothing is changed.");
  }
  std::u16string text;
  if (!platform::Utf8ToUtf16(password, text))
    throw UsageError("The password is not valid UTF-8; nothing is changed.");
  return password;
}

std::filesystem::path Absolute(const std::string& path) {
  std::filesystem::path absolute = std::filesystem::absolute(path).lexically_normal();
  return absolute.has_filename() ? absolute : absolute.parent_path();
}

std::filesystem::path PlaceIn(const std::string& folder, const std::string& name) {
  const std::filesystem::path absolute = Absolute(folder);
  if (!std::filesystem::is_directory(absolute))
    throw UsageError("There is no folder '" + absolute.string() + "' to put the copy into.");
  return absolute / name;
}

std::string ReadInput(const std::string& file) {
  if (file == "-") return {std::istreambuf_iterator<char>(std::cin), {}};
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw UsageError("'" + file + "' cannot be read.");
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace kelvarion::host
