// What long operations tell, as progress records and warnings of the request that they run for.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "provider/response_sink.h"
#include "repos/notify.h"

namespace kelvarion {

// 100 when there is nothing to do or more than all is done.
std::int32_t Percent(std::uint64_t done, std::uint64_t total);

// Lets a record through when none went through within the last half second.
class RecordTimer {
 public:
  // Microseconds that only grow.
  using Clock = std::function<std::int64_t()>;
  explicit RecordTimer(Clock clock) : clock_(std::move(clock)) {}
  bool IsDue();

  static std::int64_t Now();

 private:
  static constexpr std::int64_t kInterval = 500000;
  Clock clock_;
  std::int64_t last_ = -kInterval;
};

// What the adapters share; each belongs to one request and its thread.
class ProgressAdapter {
 protected:
  ProgressAdapter(ResponseSink& sink, std::u16string activity, RecordTimer::Clock clock)
      : timer_(std::move(clock)), sink_(sink), activity_(std::move(activity)) {}

  void Write(std::optional<std::u16string> operation, std::u16string status, std::int32_t percent);
  void WriteWarning(const std::u16string& text) { sink_.WriteWarning(text); }

  RecordTimer timer_;

 private:
  ResponseSink& sink_;
  std::u16string activity_;
};

class CVerifyRepositoryNotifyAdapter final : public IcVerifyRepositoryNotify, ProgressAdapter {
 public:
  CVerifyRepositoryNotifyAdapter(ResponseSink& sink, const std::u16string& name,
                                 const RecordTimer::Clock& clock = RecordTimer::Now);

  void MetadataStarted() override;
  void MetadataVerified(std::int64_t revision) override;
  void RevisionVerified(std::int64_t revision, std::int64_t first, std::int64_t last) override;
  void Warning(const std::u16string& text) override { WriteWarning(text); }

 private:
  RecordTimer metadata_timer_;
};

class CImportRepositoryNotifyAdapter final : public IcImportRepositoryNotify, ProgressAdapter {
 public:
  CImportRepositoryNotifyAdapter(ResponseSink& sink, const std::u16string& source,
                                 const std::u16string& name,
                                 const RecordTimer::Clock& clock = RecordTimer::Now);

  void RevisionsCopied(std::int64_t last, std::int64_t total) override;
};

class CImportDumpFileNotifyAdapter final : public IcImportDumpFileNotify, ProgressAdapter {
 public:
  CImportDumpFileNotifyAdapter(ResponseSink& sink, const std::u16string& source,
                               const std::u16string& name,
                               const RecordTimer::Clock& clock = RecordTimer::Now);

  void BytesRead(std::uint64_t bytes, std::uint64_t file_size) override;
  void RevisionCommitted(std::int64_t revision) override;
  void Warning(const std::u16string& text) override { WriteWarning(text); }

 private:
  void WriteIfDue();

  std::int32_t percent_ = 0;
  std::int64_t revision_ = 0;
};

}  // namespace kelvarion
