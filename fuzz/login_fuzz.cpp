// What the web server's workers and the program that asks PAM say to each other.
#include "fuzz/fuzz.h"
#include "platform/authn/login.h"
#include "platform/authn/login_name.h"
#include "platform/authn/login_service.h"

using namespace kelvarion;
using namespace kelvarion::platform;

void kelvarion::fuzz::Target(std::string_view text) {
  LoginRequest request;
  if (ParseLoginRequest(text, request)) {
    for (const std::string* field : {&request.name, &request.password, &request.client})
      fuzz::Expect(field->find('\0') == field->npos, "fields end where they end");
    ClientNetwork(request.client);
    const std::vector<std::string> names = SystemNames(request.name, request.upn);
    fuzz::Expect(!names.empty(), "an account has a name");
    for (const std::string& name : names) ShownName(name, request.upn);
    if (IsPlausible(request))
      fuzz::Expect(request.name.find('\n') == request.name.npos, "names are one line in the log");
  }
  const LoginAnswer answer = ParseLoginAnswer(text);
  fuzz::Expect(ParseLoginAnswer(ToText(answer)) == answer, "an answer survives being sent");
}
