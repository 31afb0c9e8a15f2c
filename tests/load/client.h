// One of the many clients of a load run: it knows what it has made, so it knows every answer.
#pragma once

#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "host/argument.h"
#include "platform/files/descriptor.h"
#include "tests/load/tally.h"

namespace kelvarion::load {

using host::Json;

// A repository that all clients read and change.
inline constexpr const char* kShared = "shared";

// For one thread.
class Client {
 public:
  Client(std::string socket, int number, unsigned seed);

  // One step of the mix, chosen at random.
  void Step();
  // Removes what it has made.
  void CleanUp();
  const Tally& tally() const { return tally_; }

 private:
  struct Choice;
  static const std::vector<Choice>& Choices();

  void Get();
  void Enumerate();
  void ToggleUser();
  void ToggleGroup();
  void ToggleRepository();
  void ChangeRules();
  void ReadRules();
  void Cancel();
  void SendNonsense();
  void Vanish();
  void StopSending();

  // The answer's status; counted, and unexpected unless it is one of `expected`.
  void Expect(const std::string& kind, const Json& body, std::vector<std::uint32_t> expected);
  void ExpectCall(const std::string& path, const std::string& method, const Json& parameters,
                  std::vector<std::uint32_t> expected = {0});
  void Unexpected(const std::string& what) { ++tally_.unexpected[what]; }
  // Makes the connection anew when there is none.
  int socket();
  bool Chance(int one_in) { return Below(one_in) == 0; }
  int Below(int limit) { return std::uniform_int_distribution(0, limit - 1)(random_); }

  const std::string path_;
  const std::string user_;
  const std::string group_;
  const std::string repository_;
  std::mt19937 random_;
  platform::Descriptor connection_;
  bool has_user_ = false;
  bool has_group_ = false;
  bool has_repository_ = false;
  Tally tally_;
};

}  // namespace kelvarion::load
