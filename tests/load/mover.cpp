#include "tests/load/mover.h"

namespace kelvarion::load {
namespace {

constexpr const char* kClass = "Kelvarion_Repository";

}  // namespace

Mover::Mover(const std::string& socket, Sources sources,
             std::vector<MovingRepository*> repositories, unsigned seed)
    : Worker(seed),
      sources_(std::move(sources)),
      repositories_(std::move(repositories)),
      requests_(socket) {}

void Mover::Step() {
  const auto any = [this]() -> MovingRepository& {
    return *repositories_[static_cast<std::size_t>(Below(static_cast<int>(repositories_.size())))];
  };
  MovingRepository& repository = any();
  MovingRepository& other = any();
  if (!repository.IsThere()) return Bring(repository);
  if (!other.IsThere()) return Rename(repository, other);
  Delete(repository);
}

void Mover::CleanUp() {
  for (MovingRepository* const repository : repositories_)
    if (repository->IsThere()) Delete(*repository);
}

void Mover::Bring(MovingRepository& repository) {
  const Json name = repository.name;
  repository.Turn();
  switch (Below(3)) {
    case 0:
      requests_.Expect("create repository", Call(kClass, "Create", {{"Name", name}}));
      break;
    case 1:
      requests_.Expect("import repository from dump",
                       Call(kClass, "ImportRepository",
                            {{"Name", name}, {"ImportPath", sources_.dump}, {"ImportMode", 1}}));
      break;
    default:
      requests_.Expect(
          "import repository by copy",
          Call(kClass, "ImportRepository",
               {{"Name", name}, {"ImportPath", sources_.repository}, {"ImportMode", 0}}));
  }
  repository.Turn();
}

void Mover::Rename(MovingRepository& from, MovingRepository& to) {
  from.Turn();
  to.Turn();
  requests_.Expect("rename repository",
                   Call(kClass, "Rename", {{"OldName", from.name}, {"NewName", to.name}}));
  to.Turn();
  from.Turn();
}

void Mover::Delete(MovingRepository& repository) {
  repository.Turn();
  requests_.Expect("delete repository", Call(kClass, "Delete", {{"Name", repository.name}}));
  repository.Turn();
}

}  // namespace kelvarion::load
