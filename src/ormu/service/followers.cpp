#include "ormu/service/followers.h"

#include <thread>

#include "ormu/slave_guard.h"
#include "ormu/status_json.h"
#include "svn/error.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::ormu {
namespace {

using namespace std::chrono_literals;

// How soon it is noticed that somebody cancels.
constexpr auto kBetweenChecks = 50ms;

}  // namespace

Followers::Followers(const ServiceParts& parts, std::function<std::u16string()> root)
    : parts_(parts), root_(std::move(root)) {}

Followers::Slaves Followers::FindSlaves() const {
  const svn::Pool pool(nullptr);
  const std::u16string root = root_();
  const std::string folder = svn::DirentFromPath(root);
  Slaves slaves;
  for (const SlaveStatus& slave : ReadSlaves(root, pool))
    slaves.emplace(slave.name, svn::JoinDirent(folder, slave.name));
  return slaves;
}

void Followers::Look() {
  const std::lock_guard lock(mutex_);
  if (parts_.stopping) return;
  Slaves slaves = FindSlaves();
  for (auto each = followers_.begin(); each != followers_.end();) {
    const auto slave = slaves.find(each->first);
    if (slave != slaves.end() && slave->second == each->second->folder()) {
      slaves.erase(slave);
      ++each;
      continue;
    }
    each->second->Stop();
    ending_.push_back(std::move(each->second));
    each = followers_.erase(each);
  }
  for (const auto& [name, folder] : slaves)
    if (!held_.contains(name))
      followers_.emplace(name, std::make_shared<Follower>(parts_, name, folder));
  ending_.remove_if([](const auto& follower) { return follower->Ended(); });
}

void Followers::Wake(const std::string& name) {
  const std::lock_guard lock(mutex_);
  if (const auto found = followers_.find(name); found != followers_.end()) found->second->Wake();
}

std::vector<SlaveStatus> Followers::Status() const {
  const svn::Pool pool(nullptr);
  std::vector<SlaveStatus> status = ReadSlaves(root_(), pool);
  const std::lock_guard lock(mutex_);
  for (SlaveStatus& each : status) {
    const auto follower = followers_.find(each.name);
    if (follower == followers_.end()) continue;
    const SlaveStatus known = follower->second->Status();
    // What the files say is as new as can be.
    each.master_revision = known.master_revision;
    each.revisions_behind = known.revisions_behind;
    each.seconds_behind = known.seconds_behind;
    each.last_contact = known.last_contact;
    if (!known.last_error.empty()) each.last_error = known.last_error;
  }
  return status;
}

bool Followers::Stop(std::chrono::milliseconds patience) {
  const auto end = std::chrono::steady_clock::now() + patience;
  const std::lock_guard lock(mutex_);
  for (auto& [name, follower] : followers_) {
    follower->Stop();
    ending_.push_back(std::move(follower));
  }
  followers_.clear();
  for (;;) {
    ending_.remove_if([](const auto& follower) { return follower->Ended(); });
    if (ending_.empty()) return true;
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(10ms);
  }
}

void Followers::Await(std::unique_lock<std::mutex>& lock, const svn::Cancellation& cancellation,
                      const std::function<bool()>& condition) {
  for (;;) {
    cancellation.Check();
    if (condition()) return;
    changed_.wait_for(lock, kBetweenChecks);
  }
}

// Whoever is told here to end and gets the right to write later is refused it.
void Followers::EndWriting(const std::string& name, const svn::Cancellation& cancellation) {
  std::unique_lock lock(mutex_);
  for (Visit* const visit : visits_)
    if (visit->name_ == name) visit->ends_ = true;
  std::shared_ptr<Follower> follower;
  if (const auto found = followers_.find(name); found != followers_.end()) {
    follower = ending_.emplace_back(std::move(found->second));
    followers_.erase(found);
    follower->Stop();
  }
  const std::string folder = svn::JoinDirent(svn::DirentFromPath(root_()), name);
  Await(lock, cancellation, [&] {
    return (!follower || follower->Ended() || follower->Following()) && !HasWriter(folder);
  });
}

Followers::Claim::Claim(Followers& followers, std::string name,
                        const svn::Cancellation& cancellation)
    : followers_(followers), name_(std::move(name)) {
  std::unique_lock lock(followers_.mutex_);
  followers_.Await(lock, cancellation, [this] { return !followers_.held_.contains(name_); });
  followers_.held_.insert(name_);
}

Followers::Claim::~Claim() {
  {
    const std::lock_guard lock(followers_.mutex_);
    followers_.held_.erase(name_);
    followers_.changed_.notify_all();
  }
  try {
    followers_.Look();
  } catch (const Exception&) {  // The next look sees it.
  }
}

Followers::Visit::Visit(Followers& followers, const std::string& name,
                        const svn::Cancellation& cancellation)
    : followers_(followers), name_(name), outer_(cancellation) {
  std::unique_lock lock(followers_.mutex_);
  followers_.Await(lock, cancellation, [this] { return !followers_.held_.contains(name_); });
  followers_.visits_.insert(this);
}

Followers::Visit::~Visit() {
  const std::lock_guard lock(followers_.mutex_);
  followers_.visits_.erase(this);
}

svn::Cancellation Followers::Visit::cancellation() const {
  return {[this] { return ends_ || outer_.is_cancelled(); },
          u"The slave is being changed, or nobody waits for the answer."};
}

}  // namespace kelvarion::ormu
