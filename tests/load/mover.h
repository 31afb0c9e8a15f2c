// Makes some repositories come and go: creates, imports, renames and deletes them.
#pragma once

#include "tests/load/moving_repositories.h"
#include "tests/load/requests.h"
#include "tests/load/worker.h"

namespace kelvarion::load {

class Mover final : public Worker {
 public:
  // What it imports from: absolute paths.
  struct Sources {
    std::string dump;
    std::string repository;
  };

  // The repositories are this one's alone to move.
  Mover(const std::string& socket, Sources sources, std::vector<MovingRepository*> repositories,
        unsigned seed);

  void Step() override;
  void CleanUp() override;
  const Tally& tally() override { return requests_.tally(); }

 private:
  void Bring(MovingRepository& repository);
  void Rename(MovingRepository& from, MovingRepository& to);
  void Delete(MovingRepository& repository);

  const Sources sources_;
  const std::vector<MovingRepository*> repositories_;
  Requests requests_;
};

}  // namespace kelvarion::load
