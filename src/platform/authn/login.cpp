#include "platform/authn/login.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>

#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

constexpr std::size_t kLongestName = 256;
constexpr std::size_t kLongestPassword = 511;  // PAM takes no longer ones.
constexpr const char* kVerdicts[] = {"accepted", "refused", "busy", "failed"};

std::vector<std::string_view> Fields(std::string_view text) {
  std::vector<std::string_view> fields;
  for (;;) {
    const std::size_t end = text.find('\0');
    fields.push_back(text.substr(0, end));
    if (end == text.npos) return fields;
    text.remove_prefix(end + 1);
  }
}

bool IsControl(char16_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0); }

bool IsPlausible(const std::string& text, std::size_t longest) {
  std::u16string wide;
  const bool plausible = !text.empty() && text.size() <= longest && Utf8ToUtf16(text, wide) &&
                         std::none_of(wide.begin(), wide.end(), IsControl);
  explicit_bzero(wide.data(), wide.size() * sizeof wide[0]);
  return plausible;
}

}  // namespace

void Wipe(std::string& text) { explicit_bzero(text.data(), text.size()); }

bool ParseLoginRequest(std::string_view text, LoginRequest& out) {
  const std::vector<std::string_view> fields = Fields(text);
  if (fields.size() != 5) return false;
  unsigned seconds = 0;
  const std::string_view number = fields[4];
  const auto end = std::from_chars(number.data(), number.data() + number.size(), seconds);
  if (end.ec != std::errc() || end.ptr != number.data() + number.size()) return false;
  out.name = fields[0];
  // On the heap whatever its length: so there is only one, which moves without being copied.
  out.password.reserve(kLongestPassword);
  out.password = fields[1];
  out.client = fields[2];
  out.upn = fields[3] == "upn";
  out.remember = std::chrono::seconds(seconds);
  return true;
}

bool IsPlausible(const LoginRequest& request) {
  return IsPlausible(request.name, kLongestName) && IsPlausible(request.password, kLongestPassword);
}

std::string ToText(const LoginAnswer& answer) {
  std::string text = kVerdicts[static_cast<int>(answer.verdict)];
  text.append(1, '\0').append(answer.text);
  for (const std::string& sid : answer.sids) text.append(1, '\0').append(sid);
  return text;
}

LoginAnswer ParseLoginAnswer(std::string_view text) {
  const std::vector<std::string_view> fields = Fields(text);
  const auto* const verdict = std::find(std::begin(kVerdicts), std::end(kVerdicts), fields[0]);
  if (verdict == std::end(kVerdicts) || fields.size() < 2)
    return {LoginVerdict::kFailed, "The check of the password ended without an answer.", {}};
  return {static_cast<LoginVerdict>(verdict - kVerdicts),
          std::string(fields[1]),
          {fields.begin() + 2, fields.end()}};
}

}  // namespace kelvarion::platform
