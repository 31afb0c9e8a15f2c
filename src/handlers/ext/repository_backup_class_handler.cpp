// The server keeps no list of backups: there are methods and no instances.

#include "handlers/ext/repository_backup_class_handler.h"

#include "handlers/ps/progress_adapters.h"
#include "repos/backup.h"

namespace kelvarion {
namespace {

constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::u16string> kPath{u"Path"};

// Copying is the first half of the work, reading the copy back the second.
class CopyProgress final : public IcImportRepositoryNotify, ProgressAdapter {
 public:
  CopyProgress(ResponseSink& sink, const std::u16string& activity)
      : ProgressAdapter(sink, activity, RecordTimer::Now) {}
  void RevisionsCopied(std::int64_t last, std::int64_t total) override {
    if (!timer_.IsDue()) return;
    Write(Format(u"Revision %ld of %ld", last, total), u"Copying",
          Percent(static_cast<std::uint64_t>(last), static_cast<std::uint64_t>(total)) / 2);
  }
};

class ReadProgress final : public IcVerifyRepositoryNotify, ProgressAdapter {
 public:
  ReadProgress(ResponseSink& sink, const std::u16string& activity)
      : ProgressAdapter(sink, activity, RecordTimer::Now) {}
  void MetadataStarted() override { Write(std::nullopt, u"Verifying the copy", 50); }
  void MetadataVerified(std::int64_t) override {}
  void RevisionVerified(std::int64_t revision, std::int64_t, std::int64_t last) override {
    if (!timer_.IsDue()) return;
    Write(Format(u"Revision %ld of %ld", revision, last), u"Verifying the copy",
          50 + Percent(static_cast<std::uint64_t>(revision), static_cast<std::uint64_t>(last)) / 2);
  }
  void Warning(const std::u16string& text) override { WriteWarning(text); }
};

}  // namespace

HRESULT RepositoryBackupClassHandler::GetObject(ParsedObjectPath&, CallContext*, WMIObject&) {
  throw WMIException(WBEM_E_NOT_SUPPORTED);
}

HRESULT RepositoryBackupClassHandler::EnumerateInstances(CallContext*, ResponseSink&) {
  throw WMIException(WBEM_E_NOT_SUPPORTED);
}

void RepositoryBackupClassHandler::Create(MethodCall& call) {
  const std::u16string name = call.in(kName);
  const std::u16string activity = Format(u"Backup of %s", name);
  CopyProgress copying(call.sink(), activity);
  ReadProgress reading(call.sink(), activity);
  repos::BackupRepository(context(), name, call.in(kPath), {&copying, &reading}, &call.cancel());
}

void RepositoryBackupClassHandler::Restore(MethodCall& call) {
  const std::u16string name = call.in(kName);
  const std::u16string activity = Format(u"Restore of %s", name);
  CopyProgress copying(call.sink(), activity);
  ReadProgress reading(call.sink(), activity);
  repos::RestoreRepository(context(), call.in(kPath), name, {&copying, &reading}, &call.cancel(),
                           call.warn());
}

const MethodTable<RepositoryBackupClassHandler>& RepositoryBackupClassHandler::Methods() {
  static const MethodTable<RepositoryBackupClassHandler> table{
      {u"Create", &RepositoryBackupClassHandler::Create},
      {u"Restore", &RepositoryBackupClassHandler::Restore},
  };
  return table;
}

}  // namespace kelvarion
