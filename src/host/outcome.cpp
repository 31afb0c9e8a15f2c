#include "host/outcome.h"

#include "errors/hresult_text.h"
#include "host/text.h"
#include "host/value_output.h"
#include "platform/process/process.h"

namespace kelvarion::host {
namespace {

Json OrNull(const std::u16string& text) { return text.empty() ? Json(nullptr) : Json(Utf8(text)); }
Json OrNull(int number) { return number < 0 ? Json(nullptr) : Json(number); }

std::string TextOf(const std::vector<ObjectPtr>& objects) {
  if (objects.empty()) return {};
  if (objects.size() == 1) return PropertyList(*objects.front());
  std::vector<std::u16string> left_out;
  const int width = platform::OutputIsTerminal() ? platform::TerminalWidth() : 0;
  std::string text = ObjectTable(objects, width, left_out);
  if (!left_out.empty()) text += "Not shown: " + Utf8(Join(left_out)) + "\n";
  return text;
}

std::string TextMember(const Json& object, const char* name) {
  if (!object.is_object()) return {};
  const auto found = object.find(name);
  if (found == object.end() || !found->is_string()) return {};
  return found->get<std::string>();
}

}  // namespace

Json ToJson(const Progress& progress) {
  return {{"activity", OrNull(progress.activity)},
          {"currentOperation", OrNull(progress.current_operation)},
          {"statusDescription", OrNull(progress.status_description)},
          {"percentComplete", OrNull(progress.percent_complete)},
          {"secondsRemaining", OrNull(progress.seconds_remaining)}};
}

Outcome Failure(HRESULT status, const std::u16string& message) {
  const std::string text = Utf8(message);
  Outcome outcome;
  outcome.status = status;
  outcome.error = {{"__CLASS", "CIM_Error"},  {"StatusCode", static_cast<std::uint32_t>(status)},
                   {"Description", text},     {"CIMStatusCode", 1},
                   {"Message", text},         {"MessageID", "HRESULT " + StatusText(status)},
                   {"error_Category", 0},     {"error_Code", static_cast<std::uint32_t>(status)},
                   {"error_Type", "HRESULT"}, {"error_WindowsErrorMessage", text}};
  return outcome;
}

Outcome FromReply(Reply reply) {
  Outcome outcome;
  outcome.status = reply.status;
  for (const ObjectPtr& object : reply.objects) outcome.objects.push_back(ObjectToJson(*object));
  outcome.text = TextOf(reply.objects);
  outcome.warnings = std::move(reply.warnings);
  outcome.progress = std::move(reply.progress);
  if (reply.error) outcome.error = ObjectToJson(*reply.error);
  return outcome;
}

std::string ToDocument(const Outcome& outcome) {
  Json warnings = Json::array();
  for (const std::u16string& warning : outcome.warnings) warnings.push_back(Utf8(warning));
  Json progress = Json::array();
  for (const Progress& step : outcome.progress) progress.push_back(ToJson(step));
  const Json document = {{"status", static_cast<std::uint32_t>(outcome.status)},
                         {"statusText", StatusText(outcome.status)},
                         {"objects", outcome.objects},
                         {"warnings", warnings},
                         {"progress", progress},
                         {"error", outcome.error}};
  return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string ForTerminal(std::string text) {
  if (!platform::OutputIsTerminal()) return text;
  for (char& c : text)
    if ((static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t') || c == '\x7F') c = '?';
  return text;
}

std::string ErrorDescription(const Outcome& outcome) {
  const std::string text = TextMember(outcome.error, "Description");
  return text.empty() ? Utf8(HresultText(outcome.status)) : text;
}

std::string ErrorText(const Outcome& outcome) {
  const std::string description = ErrorDescription(outcome);
  std::string text = description;
  if (text.find(StatusText(outcome.status)) == std::string::npos)
    text += " (" + StatusText(outcome.status) + ")";
  text = "kelvarionctl: " + text + "\n";
  const std::string summary = TextMember(outcome.error, "Summary");
  if (description.starts_with(summary)) return text;  // It says the details as well then.
  text += summary + "\n";
  const std::string details = TextMember(outcome.error, "Details");
  if (!details.empty()) text += details + "\n";
  return text;
}

}  // namespace kelvarion::host
