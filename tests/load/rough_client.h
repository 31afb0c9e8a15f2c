// A client without manners: it cancels, sends nonsense and leaves in the middle. It knows what it
// has made, so it still knows every answer.
#pragma once

#include "tests/load/requests.h"
#include "tests/load/worker.h"

namespace kelvarion::load {

class RoughClient final : public Worker {
 public:
  // `shared` is a repository that all clients read and change.
  RoughClient(const std::string& socket, std::string shared, int number, unsigned seed);

  void Step() override;
  void CleanUp() override;
  const Tally& tally() override { return requests_.tally(); }

 private:
  struct Choice;

  void Read();
  void List();
  void ToggleUser();
  void ToggleGroup();
  void ToggleRepository();
  void ChangeRules();
  void ReadRules();
  void Cancel();
  void SendNonsense();
  void Vanish();
  void StopSending();

  void ExpectCall(const char* what, Request call, std::initializer_list<std::uint32_t> statuses);

  const std::string shared_;
  const std::string user_;
  const std::string group_;
  const std::string repository_;
  Requests requests_;
  bool has_user_ = false;
  bool has_group_ = false;
  bool has_repository_ = false;
};

}  // namespace kelvarion::load
