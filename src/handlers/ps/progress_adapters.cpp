#include "handlers/ps/progress_adapters.h"

#include <chrono>

#include "platform/text/format.h"

namespace kelvarion {
namespace {

std::u16string ImportActivity(const std::u16string& source, const std::u16string& name) {
  return Format(u"Import-SvnRepository -Path \"%s\" -DestinationName \"%s\"", source, name);
}

}  // namespace

std::int32_t Percent(std::uint64_t done, std::uint64_t total) {
  if (total == 0 || done > total) return 100;
  return static_cast<std::int32_t>(done * 100 / total);
}

std::int64_t RecordTimer::Now() {
  using std::chrono::duration_cast;
  return duration_cast<std::chrono::microseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

bool RecordTimer::IsDue() {
  const std::int64_t now = clock_();
  if (now - last_ < kInterval) return false;
  last_ = now;
  return true;
}

void ProgressAdapter::Write(std::optional<std::u16string> operation, std::u16string status,
                            std::int32_t percent) {
  sink_.WriteProgress({activity_, std::move(operation), std::move(status), percent, -1});
}

CVerifyRepositoryNotifyAdapter::CVerifyRepositoryNotifyAdapter(ResponseSink& sink,
                                                               const std::u16string& name,
                                                               const RecordTimer::Clock& clock)
    : ProgressAdapter(sink, Format(u"Test-SvnRepository %s", name), clock),
      metadata_timer_(clock) {}

void CVerifyRepositoryNotifyAdapter::MetadataStarted() {
  Write(std::nullopt, u"Verifying repository metadata", -1);
}

void CVerifyRepositoryNotifyAdapter::MetadataVerified(std::int64_t revision) {
  if (metadata_timer_.IsDue())
    Write(std::nullopt, Format(u"Verifying metadata at revision %ld", revision), -1);
}

void CVerifyRepositoryNotifyAdapter::RevisionVerified(std::int64_t revision, std::int64_t first,
                                                      std::int64_t last) {
  if (!timer_.IsDue()) return;
  Write(Format(u"Revision %ld of %ld", revision, last), u"Verifying revisions content",
        Percent(static_cast<std::uint64_t>(revision), static_cast<std::uint64_t>(last - first)));
}

CImportRepositoryNotifyAdapter::CImportRepositoryNotifyAdapter(ResponseSink& sink,
                                                               const std::u16string& source,
                                                               const std::u16string& name,
                                                               const RecordTimer::Clock& clock)
    : ProgressAdapter(sink, ImportActivity(source, name), clock) {}

void CImportRepositoryNotifyAdapter::RevisionsCopied(std::int64_t last, std::int64_t total) {
  if (!timer_.IsDue()) return;
  Write(std::nullopt, Format(u"Revision %ld of %ld", last, total),
        Percent(static_cast<std::uint64_t>(last), static_cast<std::uint64_t>(total)));
}

CImportDumpFileNotifyAdapter::CImportDumpFileNotifyAdapter(ResponseSink& sink,
                                                           const std::u16string& source,
                                                           const std::u16string& name,
                                                           const RecordTimer::Clock& clock)
    : ProgressAdapter(sink, ImportActivity(source, name), clock) {}

void CImportDumpFileNotifyAdapter::BytesRead(std::uint64_t bytes, std::uint64_t file_size) {
  percent_ = Percent(bytes, file_size);
  WriteIfDue();
}

void CImportDumpFileNotifyAdapter::RevisionCommitted(std::int64_t revision) {
  revision_ = revision;
  WriteIfDue();
}

void CImportDumpFileNotifyAdapter::WriteIfDue() {
  if (timer_.IsDue()) Write(std::nullopt, Format(u"Revision %ld", revision_), percent_);
}

}  // namespace kelvarion
