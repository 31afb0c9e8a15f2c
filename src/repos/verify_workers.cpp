#include "repos/verify_workers.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
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

// Nothing when one cannot be started.
Programs StartPrograms(const std::u16string& folder, unsigned count) {
  const std::string program = platform::FindProgram("kelvarion-verifier");
  Programs programs;
  for (unsigned i = 0; i < count; ++i) {
    std::unique_ptr<LineProgram> one;
    if (LineProgram::Start(program, {svn::DirentFromPath(folder)}, one) != ERROR_SUCCESS) return {};
    programs.push_back(std::move(one));
  }
  return programs;
}

// The ranges on their way through the programs: each program has a thread that hands it one range
// after the other and keeps its answers; the thread of the operation takes them in their order.
class Work {
 public:
  Work(const std::vector<RevisionRange>& ranges, Programs programs)
      : ranges_(ranges), answers_(ranges.size()), programs_(std::move(programs)) {
    for (const auto& program : programs_) threads_.emplace_back([&] { Serve(*program); });
  }
  ~Work() {
    {
      const std::lock_guard guard(mutex_);
      next_ = ranges_.size();
    }
    for (const auto& program : programs_) program->Kill();
  }

  // The next line about the range; nothing when there is none yet.
  std::optional<std::string> Take(std::size_t range) {
    std::unique_lock lock(mutex_);
    std::deque<std::string>& lines = answers_[range];
    arrived_.wait_for(lock, kBetweenQuestions, [&] { return !lines.empty(); });
    if (lines.empty()) return std::nullopt;
    std::string line = std::move(lines.front());
    lines.pop_front();
    return line;
  }

 private:
  void Serve(LineProgram& program) {
    while (const auto range = Next()) {
      const RevisionRange& revisions = ranges_[*range];
      program.Write(std::to_string(revisions.first) + ' ' + std::to_string(revisions.last));
      for (std::string line; !IsLast(line);) {
        if (!program.Read(line)) line = Died(revisions);
        const std::lock_guard guard(mutex_);
        answers_[*range].push_back(line);
        arrived_.notify_all();
      }
    }
  }
  std::optional<std::size_t> Next() {
    const std::lock_guard guard(mutex_);
    if (next_ >= ranges_.size()) return std::nullopt;
    return next_++;
  }
  static bool IsLast(const std::string& line) {
    return line.starts_with(kSound) || line.starts_with(kFault);
  }
  static std::string Died(const RevisionRange& revisions) {
    return std::string(kFault) + " The check of the revisions " + std::to_string(revisions.first) +
           " to " + std::to_string(revisions.last) + " ended unexpectedly.";
  }

  const std::vector<RevisionRange>& ranges_;
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::size_t next_ = 0;                          // Guarded, as the next.
  std::vector<std::deque<std::string>> answers_;  // By range.
  Programs programs_;
  std::vector<std::jthread> threads_;  // Joined first.
};

// Tells what one line says. True for the last line of a range.
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
      if (!std::exchange(metadata_, true)) notify_->MetadataStarted();
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
  bool metadata_ = false;
};

}  // namespace

std::optional<VerifyResult> VerifyByWorkers(const std::u16string& folder,
                                            const std::vector<RevisionRange>& ranges,
                                            unsigned workers, IcVerifyRepositoryNotify* notify,
                                            LongOperation& operation) {
  Programs programs = StartPrograms(folder, workers);
  if (programs.empty()) return std::nullopt;
  Work work(ranges, std::move(programs));
  Teller teller(notify, {ranges.front().first, ranges.back().last});
  VerifyResult result;
  for (std::size_t range = 0; range < ranges.size();) {
    operation.Check();
    const auto line = work.Take(range);
    if (line && teller.Tell(*line, result)) ++range;
    if (line && !result.success) return result;
  }
  return result;
}

}  // namespace kelvarion::repos
