#include "platform/authn/login.h"

#include <gtest/gtest.h>

#include "platform/authn/login_name.h"
#include "platform/security/accounts.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

std::string Joined(const std::vector<std::string>& fields) {
  std::string text;
  for (const std::string& field : fields) text += field + '\0';
  text.pop_back();
  return text;
}

TEST(LoginTest, OnlyFiveFieldsWithANumberAtTheEndAreAQuestion) {
  LoginRequest request;
  const std::vector<std::string> bad[] = {{"alice", "secret", "192.0.2.1", "upn"},
                                          {"alice", "sec", "ret", "192.0.2.1", "upn", "60"},
                                          {"alice", "secret", "192.0.2.1", "upn", ""},
                                          {"alice", "secret", "192.0.2.1", "upn", "60s"},
                                          {"alice", "secret", "192.0.2.1", "upn", "-1"}};
  for (const std::vector<std::string>& fields : bad)
    EXPECT_FALSE(ParseLoginRequest(Joined(fields), request)) << ::testing::PrintToString(fields);
  EXPECT_TRUE(ParseLoginRequest(Joined({"alice", "", "192.0.2.1", "", "0"}), request));
  EXPECT_FALSE(request.upn);
  ASSERT_TRUE(ParseLoginRequest(Joined({"alice", "secret", "192.0.2.1", "upn", "60"}), request));
  EXPECT_EQ(request.name, "alice");
  EXPECT_EQ(request.password, "secret");
  EXPECT_EQ(request.client, "192.0.2.1");
  EXPECT_TRUE(request.upn);
  EXPECT_EQ(request.remember, std::chrono::seconds(60));
}

TEST(LoginTest, WhatNoAccountCanHaveIsNotPlausible) {
  const std::pair<std::string, bool> rows[] = {
      {"alice", true},
      {"Zoë Größe 東京", true},
      {"CORP\\alice", true},
      {"", false},
      {"al\nice", false},
      {"al\x1b[2Jice", false},
      {"al\x7fice", false},
      {"al\xc2\x85ice", false},   // U+0085, a line end.
      {"al\xff\xfeice", false},   // No UTF-8.
      {"al\xed\xa0\x80", false},  // Half of a surrogate pair.
      {std::string(256, 'a'), true},
      {std::string(512, 'a'), false},
  };
  for (const auto& [text, plausible] : rows) {
    LoginRequest request;
    for (const auto& [name, password] : {std::pair(text, std::string("x")), {"alice", text}}) {
      request.name = name;
      request.password = password;
      EXPECT_EQ(IsPlausible(request), plausible) << text;
    }
  }
}

TEST(LoginTest, AnswersArriveAsTheyWereSentAndGarbageIsAFailure) {
  for (const LoginAnswer& answer :
       {LoginAnswer{LoginVerdict::kAccepted, "alice", {"S-1-22-1-1000", "S-1-1-0"}},
        LoginAnswer{LoginVerdict::kRefused, "Authentication failure", {}},
        LoginAnswer{LoginVerdict::kBusy, "", {}}})
    EXPECT_EQ(ParseLoginAnswer(ToText(answer)), answer) << answer.text;
  // What a process that crashed may have said.
  for (const std::string garbage : {"", "acc", "accepted", "nonsense"})
    EXPECT_EQ(ParseLoginAnswer(garbage).verdict, LoginVerdict::kFailed) << garbage;
}

TEST(LoginNameTest, AccountsOfTheMachineHaveOneNameHoweverTheyAreCalled) {
  const std::string host = Utf8ForDisplay(HostName());
  using Names = std::vector<std::string>;
  const struct {
    std::string name;
    bool upn;
    Names names;
  } rows[] = {
      {"alice", false, {"alice"}},
      {"alice", true, {"alice"}},
      {".\\alice", false, {"alice"}},
      {host + "\\alice", false, {"alice"}},
      {host + ".example.org\\alice", false, {"alice"}},
      {"Unix User\\alice", false, {"alice"}},
      {"CORP\\alice", false, {"CORP\\alice"}},
      {"CORP\\alice@b", true, {"CORP\\alice@b"}},
      {"alice@" + host, false, {"alice@" + host}},
      {"alice@" + host, true, {"alice"}},
      {"al@ice@" + host, true, {"al@ice"}},
      {"alice@corp.example", true, {"alice@corp.example", "corp.example\\alice"}},
  };
  for (const auto& row : rows) EXPECT_EQ(SystemNames(row.name, row.upn), row.names) << row.name;
  EXPECT_EQ(ShownName("alice", false), "alice");
  EXPECT_EQ(ShownName("alice", true), "alice@" + host);
  EXPECT_EQ(ShownName("CORP\\alice", true), "alice@CORP");
  EXPECT_EQ(ShownName("alice@corp.example", true), "alice@corp.example");
}

}  // namespace
}  // namespace kelvarion::platform
