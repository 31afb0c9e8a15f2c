// A client as there are many: it looks at things much more often than it changes them.
//
// It knows what stands on the server and what it has made itself, and says so when an answer is
// another one. Of repositories that others move it accepts that they are gone exactly when they
// are, with the status that the class's description names.
#pragma once

#include "tests/load/large_server.h"
#include "tests/load/moving_repositories.h"
#include "tests/load/requests.h"
#include "tests/load/worker.h"

namespace kelvarion::load {

class Administrator final : public Worker {
 public:
  // Both outlive it. It asks for moving repositories, too, when there are any.
  Administrator(const std::string& socket, const Standing& standing,
                const MovingRepositories& moving, int number, unsigned seed);

  void Step() override;
  void CleanUp() override {}
  const Tally& tally() override { return requests_.tally(); }

 private:
  struct Choice;
  struct Question;
  static const Question kQuestions[];

  // About one repository.
  void Ask();
  void ChangeRules();
  void ChangeHook();
  // About all at once.
  void ListRepositories();
  void ListRepositoriesSorted();
  void ListUsers();
  void ListGroups();
  void ReadRulesOfLargeFile();
  // About the server.
  void ReadServer();
  void ChangeSettings();
  // About accounts.
  void ReadAccount();
  void ExplainAccount();
  void ExplainAll();
  void LetUserComeAndGo();
  void LetGroupComeAndGo();

  // Expects the objects that stand on the server among those of the class.
  void List(const char* what, const std::string& class_name, const std::string& prefix, int count);
  void ExpectValue(const Answer& answer, const char* name, const Json& value);
  std::string AnyProject() { return Standing::Project(Below(standing_.repositories)); }
  std::string AnyUser() { return Standing::User(Below(standing_.users)); }

  const Standing& standing_;
  const MovingRepositories& moving_;
  const std::string self_;
  int made_ = 0;
  Requests requests_;
};

}  // namespace kelvarion::load
