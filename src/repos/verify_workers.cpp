#include "repos/verify_workers.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#include "platform/process/line_program.h"
#include "platform/services/service.h"
#include "platform/text/encoding.h"
#include "repos/verify_lines.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

using platform::LineProgram;
using Programs = std::vector<std::unique_ptr<LineProgram>>;

constexpr std::chrono::milliseconds kBetweenQuestions{100};  // Whether to go on.

// One program a processor is enough for all verifications of the process that run at the same time,
// but each of them gets one.
class Share {
 public:
  explicit Share(std::size_t wanted) {
    const std::lock_guard guard(mutex_);
    const std::size_t all = std::max(1u, std::thread::hardware_concurrency());
    count_ = std::clamp<std::size_t>(all - std::min(all, taken_), 1, wanted);
    taken_ += count_;
  }
  ~Share() {
    const std::lock_guard guard(mutex_);
    taken_ -= count_;
  }
  Share(const Share&) = delete;
  Share& operator=(const Share&) = delete;
  std::size_t count() const { return count_; }

 private:
  inline static std::mutex mutex_;
  inline static std::size_t taken_ = 0;
  std::size_t count_ = 0;
};

// What a program is asked to do at a time.
struct Task {
  const char* word;
  RevisionRange range;
};

// The metadata of all revisions come first and are told first, as by one program; whoever checks
// contents meanwhile is ahead of what is told.
std::vector<Task> Tasks(const std::vector<RevisionRange>& ranges) {
  std::vector<Task> tasks{{kMetadata, {ranges.front().first, ranges.back().last}}};
  for (const RevisionRange& range : ranges) tasks.push_back({kContents, range});
  return tasks;
}

// As many as can be started.
Programs StartPrograms(const std::u16string& folder, std::size_t count) {
  const std::string program = platform::FindProgram("kelvarion-verifier");
  Programs programs;
  while (programs.size() < count) {
    std::unique_ptr<LineProgram> one;
    if (LineProgram::Start(program, {svn::DirentFromPath(folder)}, one) != ERROR_SUCCESS) break;
    programs.push_back(std::move(one));
  }
  return programs;
}

// The tasks on their way through the programs: each program has a thread that hands it one task
// after the other and keeps its answers; the thread of the operation takes them in their order.
class Work {
 public:
  Work(std::vector<Task> tasks, Programs programs)
      : tasks_(std::move(tasks)), answers_(tasks_.size()), programs_(std::move(programs)) {}
  ~Work() {
    {
      const std::lock_guard guard(mutex_);
      next_ = tasks_.size();
    }
    for (const auto& program : programs_) program->Kill();
  }

  // Programs for which there is no thread have nothing to do. False when that is all of them.
  bool Start() {
    threads_.reserve(programs_.size());
    try {
      for (const auto& program : programs_) threads_.emplace_back([&] { Serve(*program); });
    } catch (const std::system_error&) {  // The machine has no more threads for us.
    }
    return !threads_.empty();
  }

  std::size_t size() const { return tasks_.size(); }
  // The next line about the task; nothing when there is none yet.
  std::optional<std::string> Take(std::size_t task) {
    std::unique_lock lock(mutex_);
    std::deque<std::string>& lines = answers_[task];
    arrived_.wait_for(lock, kBetweenQuestions, [&] { return !lines.empty(); });
    if (lines.empty()) return std::nullopt;
    std::string line = std::move(lines.front());
    lines.pop_front();
    return line;
  }

 private:
  void Serve(LineProgram& program) {
    while (const auto next = Next()) {
      const auto& [word, range] = tasks_[*next];
      program.Write(std::string(word) + ' ' + std::to_string(range.first) + ' ' +
                    std::to_string(range.last));
      for (std::string line; !IsLast(line);) {
        if (!program.Read(line)) line = Died(range);
        const std::lock_guard guard(mutex_);
        answers_[*next].push_back(line);
        arrived_.notify_all();
      }
    }
  }
  std::optional<std::size_t> Next() {
    const std::lock_guard guard(mutex_);
    if (next_ >= tasks_.size()) return std::nullopt;
    return next_++;
  }
  static bool IsLast(const std::string& line) {
    return line.starts_with(kSound) || line.starts_with(kFault);
  }
  static std::string Died(const RevisionRange& range) {
    return std::string(kFault) + " The check of the revisions " + std::to_string(range.first) +
           " to " + std::to_string(range.last) + " ended unexpectedly.";
  }

  const std::vector<Task> tasks_;
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::size_t next_ = 0;                          // Guarded, as the next.
  std::vector<std::deque<std::string>> answers_;  // By task.
  Programs programs_;
  std::vector<std::jthread> threads_;  // Joined first.
};

// Tells what one line says. True for the last line of a task.
class Teller {
 public:
  Teller(IcVerifyRepositoryNotify* notify, RevisionRange whole) : notify_(notify), whole_(whole) {}

  bool Tell(const std::string& line, VerifyResult& result) {
    const std::size_t blank = line.find(' ');
    const std::string word = line.substr(0, blank);
    const std::string rest = blank == std::string::npos ? "" : line.substr(blank + 1);
    result.success = word != kFault;
    if (!result.success) result.message = platform::Utf16ForDisplay(Unescaped(rest));
    if (notify_) Notify(word, rest);
    return word == kSound || word == kFault;
  }

 private:
  void Notify(const std::string& word, const std::string& rest) {
    if (word == kMetadata) {
      notify_->MetadataStarted();
    } else if (word == kStructure) {
      notify_->MetadataVerified(std::stoll(rest));
    } else if (word == kRevision) {
      notify_->RevisionVerified(std::stoll(rest), whole_.first, whole_.last);
    } else if (word == kWarning) {
      notify_->Warning(platform::Utf16ForDisplay(Unescaped(rest)));
    }
  }

  IcVerifyRepositoryNotify* notify_;
  RevisionRange whole_;
};

}  // namespace

std::optional<VerifyResult> VerifyByWorkers(const std::u16string& folder,
                                            const std::vector<RevisionRange>& ranges,
                                            IcVerifyRepositoryNotify* notify,
                                            LongOperation& operation) {
  const Share share(ranges.size());
  Work work(Tasks(ranges), StartPrograms(folder, share.count()));
  if (!work.Start()) return std::nullopt;
  Teller teller(notify, {ranges.front().first, ranges.back().last});
  VerifyResult result;
  for (std::size_t task = 0; task < work.size();) {
    operation.Check();
    const auto line = work.Take(task);
    if (line && teller.Tell(*line, result)) ++task;
    if (line && !result.success) return result;
  }
  return result;
}

}  // namespace kelvarion::repos
