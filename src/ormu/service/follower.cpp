#include "ormu/service/follower.h"

#include <svn_error_codes.h>

#include <algorithm>

#include "ormu/slave_guard.h"
#include "ormu/synchronise.h"
#include "ormu/trust.h"
#include "platform/text/encoding.h"
#include "svn/error.h"

namespace kelvarion::ormu {
namespace {

using namespace std::chrono_literals;

// With the comparisons no more than one request a second.
constexpr auto kBetweenQuestions = 1250ms;
constexpr std::chrono::steady_clock::duration kLongestWait = 60s;
constexpr auto kBetweenComparisons = 10s;
constexpr auto kBetweenFullComparisons = 10min;
// Properties are mostly changed of revisions that were just made.
constexpr std::int64_t kRecentRevisions = 100;

std::int64_t MicrosecondsNow() {
  return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

}  // namespace

Follower::Follower(const ServiceParts& parts, std::string name, std::string folder)
    : parts_(parts),
      name_(std::move(name)),
      folder_(std::move(folder)),
      wait_(kBetweenQuestions),
      thread_([this] { Run(); }) {}

Follower::~Follower() {
  Stop();
  thread_.join();
}

void Follower::Stop() {
  stop_ = true;
  Wake();
}

void Follower::Wake() {
  const std::lock_guard lock(mutex_);
  wake_ = true;
  woken_.notify_all();
}

SlaveStatus Follower::Status() const {
  const std::lock_guard lock(mutex_);
  SlaveStatus status = status_;
  status.name = name_;
  if (!status.master_revision) return status;
  status.revisions_behind = std::max<std::int64_t>(*status.master_revision - status.revision, 0);
  if (status.revisions_behind == 0)
    status.seconds_behind = 0;
  else if (oldest_missing_us_)
    status.seconds_behind =
        std::max<std::int64_t>((MicrosecondsNow() - *oldest_missing_us_) / 1'000'000, 0);
  return status;
}

void Follower::Run() {
  pool_.emplace(nullptr);
  while (!Stopped()) {
    try {
      Pass();
    } catch (const SvnException& exception) {
      OnFailure(platform::Utf8ForDisplay(exception.FullText()), exception.code());
    } catch (const Exception& exception) {
      OnFailure(platform::Utf8ForDisplay(exception.Message()), SVN_ERR_BASE);
    } catch (const std::exception& exception) {
      OnFailure(exception.what(), SVN_ERR_BASE);
    }
    following_ = false;
    Pause();
  }
  session_.reset();
  pool_.reset();
  ended_ = true;
}

void Follower::Pause() {
  std::unique_lock lock(mutex_);
  woken_.wait_for(lock, wait_, [this] { return wake_ || Stopped(); });
  if (std::exchange(wake_, false)) wait_ = kBetweenQuestions;
}

void Follower::Pass() {
  const svn::Pool scratch(*pool_);
  const auto role = svn::ReadReplicaRole(folder_, scratch);
  if (!role || role->master) return session_.reset();
  // First: what a loss of power hurt may not even be readable.
  if (compare_last_ <= Clock::now()) MendGuard(folder_, scratch);
  const std::int64_t revision = YoungestRevision(folder_, scratch);
  {
    const std::lock_guard lock(mutex_);
    status_.master_server = role->master_server;
    status_.master_repository = role->master_repository;
    status_.suspended = role->suspended;
    status_.revision = revision;
    if (role->suspended) status_.last_error.clear();
  }
  if (role->suspended) {
    wait_ = kBetweenQuestions;  // Also after failures: so soon it is seen to be resumed.
    return session_.reset();
  }
  following_ = true;
  Follow(*role);
  OnSuccess();
}

void Follower::Follow(const svn::ReplicaRole& role) {
  Master master{role.master_server, role.master_repository,
                RequireMaster(parts_.home, role.master_server)};
  if (session_ && session_->master() != master) session_.reset();
  if (!session_) Connect(std::move(master));
  const std::int64_t youngest = session_->Youngest();
  {
    const std::lock_guard lock(mutex_);
    status_.master_revision = youngest;
    status_.last_contact = MicrosecondsNow() / 1'000'000;
  }
  Replay(youngest);
  CompareProperties(youngest);
}

void Follower::Connect(Master master) {
  svn::Cancellation cancellation{[this] { return Stopped(); }, u"Replication has been stopped."};
  session_.emplace(std::move(master), std::move(cancellation), *pool_);
  RequireSameHistory(*session_, folder_);
  compare_all_ = {};
}

void Follower::Replay(std::int64_t youngest) {
  const std::int64_t own = Status().revision;
  if (own == youngest) return;
  const auto date = own < youngest ? session_->DateOf(own + 1) : std::nullopt;
  {
    const std::lock_guard lock(mutex_);
    oldest_missing_us_ = date;
  }
  Synchronise(*session_, folder_, youngest, [this](std::int64_t revision) {
    const std::lock_guard lock(mutex_);
    status_.revision = revision;
    status_.last_contact = MicrosecondsNow() / 1'000'000;
  });
  parts_.log.Note(name_ + ": has revisions up to " + std::to_string(youngest));
  const std::lock_guard lock(mutex_);
  status_.revision = youngest;
}

void Follower::CompareProperties(std::int64_t youngest) {
  const Clock::time_point now = Clock::now();
  if (now < compare_last_) return;
  const bool all = now >= compare_all_;
  const std::int64_t first = all ? 0 : std::max<std::int64_t>(youngest - kRecentRevisions + 1, 0);
  if (const std::int64_t changed = SynchroniseProperties(*session_, folder_, first, youngest))
    parts_.log.Note(name_ + ": took over changed properties of " + std::to_string(changed) +
                    " revisions");
  if (all) compare_all_ = Clock::now() + kBetweenFullComparisons;
  compare_last_ = Clock::now() + kBetweenComparisons;
}

void Follower::OnSuccess() {
  wait_ = kBetweenQuestions;
  {
    const std::lock_guard lock(mutex_);
    status_.last_error.clear();
  }
  if (std::exchange(reported_, std::nullopt)) parts_.log.ReportRecovery(name_);
}

// Nobody can say what state the connection is in; the next try makes a new one.
void Follower::OnFailure(const std::string& reason, int code) {
  session_.reset();
  pool_->Clear();
  if (Stopped()) return;
  wait_ = reported_ ? std::min(wait_ * 2, kLongestWait) : kBetweenQuestions;
  {
    const std::lock_guard lock(mutex_);
    status_.last_error = reason;
  }
  if (reported_ == code) return;
  reported_ = code;
  parts_.log.ReportFailure(name_, reason);
}

}  // namespace kelvarion::ormu
