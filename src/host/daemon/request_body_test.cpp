#include "host/daemon/request_body.h"

#include <gtest/gtest.h>

#include "errors/exception.h"
#include "host/text.h"

namespace kelvarion::host {
namespace {

class RequestBodyTest : public ::testing::Test {
 protected:
  // The status and message that the body is refused with; nothing when it is read.
  std::string Refusal(const char* kind, const std::string& body) const {
    try {
      ReadRequest(kind, body, schema_);
      return {};
    } catch (const WMIException& refusal) {
      return StatusText(refusal.status()) + " " + Utf8(refusal.Message());
    }
  }

  const Schema schema_{KELVARION_SOURCE_DIR "/schema"};
};

TEST_F(RequestBodyTest, RefusalsSayWhatIsWrong) {
  const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
  std::string many = "{";
  for (int i = 0; i < 300; ++i) many += "\"k" + std::to_string(i) + "\":0,";
  many.back() = '}';
  const struct {
    const char* kind;
    std::string body;
    const char* says;
  } rows[] = {
      {"get", "", "0x80041008"},
      {"get", "[]", "it is no object"},
      {"get", R"({"path":"X=@","paht":1})", "it has an unknown 'paht'"},
      {"get", R"({"path":"X=@","context":[]})", "it has no object 'context'"},
      {"get", R"({"path":"X=@","context":{"A":{}}})", "0x8004102F"},
      {"get", R"({"path":"X=@","context":{"A":1,"a":2}})", "'a' is given twice"},
      {"get", "{\"path\":\"\xFF\"}", "0x80041008"},
      {"enumerate", R"({"path":"X"})", "it has no text 'class'"},
      {"put", R"({"object":{"__CLASS":"Kelvarion_User","Mail":"x"}})", "no property 'Mail'"},
      {"call", R"({"path":"Kelvarion_User"})", "it has no text 'method'"},
      {"call", R"({"path":"Kelvarion_User","method":"Create","parameters":{"User":"x"}})",
       "no parameter 'User'"},
      {"call", R"({"path":"Kelvarion_User","method":"Create","parameters":{"Name":)" + deep + "}}",
       "nested too deeply"},
      {"call", R"({"path":"Kelvarion_User","method":"Create","parameters":)" + many + "}",
       "an object has more than 256 members"},
      {"get", R"({"path":"X=@","path":"Y=@"})", "'path' is given twice"},
      {"get", R"({"path":1e999})", "number overflow"},
      {"invent", "{}", "there is no such kind"},
  };
  for (const auto& row : rows) {
    const std::string refusal = Refusal(row.kind, row.body);
    EXPECT_NE(refusal.find(row.says), std::string::npos) << row.body.substr(0, 99) << refusal;
  }
}

}  // namespace
}  // namespace kelvarion::host
