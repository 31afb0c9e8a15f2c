#include <apr_file_io.h>
#include <svn_error_codes.h>
#include <svn_fs.h>
#include <svn_io.h>
#include <svn_repos.h>

#include <cstring>
#include <utility>

#include "access/authz_files.h"
#include "errors/exception.h"
#include "repos/import.h"
#include "repos/long_operation.h"
#include "repos/new_repository.h"
#include "repos/repository_store.h"
#include "svn/dump_input_stream.h"
#include "svn/dump_reader.h"
#include "svn/gzip_read_stream.h"
#include "svn/memory_transactions.h"
#include "svn/progress_stream.h"
#include "svn/remove_tree.h"
#include "svn/repository.h"
#include "svn/text.h"
#include "util/paths.h"

namespace kelvarion::repos {
namespace {

// A dump file at its first byte.
struct DumpFile {
  svn_stream_t* stream = nullptr;
  std::uint64_t size = 0;
  bool compressed = false;
};

// Opening a pipe or the like would wait for whoever writes it.
void RefuseOtherThanFile(const std::string& dirent, const svn::Pool& pool) {
  svn_node_kind_t kind = svn_node_none;
  svn::Check(svn_io_check_resolved_path(dirent.c_str(), &kind, pool));
  if (kind == svn_node_file || kind == svn_node_none) return;
  svn::ThrowError(SVN_ERR_BAD_FILENAME, Format(u"'%s' is not a file", svn::PathFromDirent(dirent)));
}

DumpFile OpenDumpFile(const std::u16string& path, const svn::Pool& pool) {
  const std::string dirent = svn::DirentFromPath(path);
  RefuseOtherThanFile(dirent, pool);
  apr_file_t* file = nullptr;
  svn::Check(
      svn_io_file_open(&file, dirent.c_str(), APR_READ | APR_BUFFERED, APR_OS_DEFAULT, pool));
  svn_filesize_t size = 0;
  svn::Check(svn_io_file_size_get(&size, file, pool));
  unsigned char begin[sizeof svn::GzipReadStream::kMagic] = {};
  apr_size_t length = sizeof begin;
  svn_boolean_t eof = FALSE;
  svn::Check(svn_io_file_read_full2(file, begin, sizeof begin, &length, &eof, pool));
  apr_off_t start = 0;
  svn::Check(svn_io_file_seek(file, APR_SET, &start, pool));
  DumpFile dump;
  dump.stream = svn_stream_from_aprfile2(file, FALSE, pool);
  dump.size = static_cast<std::uint64_t>(size);
  dump.compressed =
      length == sizeof begin && std::memcmp(begin, svn::GzipReadStream::kMagic, length) == 0;
  return dump;
}

// Only a hint: revisions may take less room than their dump, and what was compressed takes more.
void WarnOfShortage(const ServerContext& context, const DumpFile& dump,
                    IcImportDumpFileNotify& notify) {
  const std::uint64_t free = util::GetVolumeInfo(access::RepositoriesRoot(context)).bytes_free;
  if (free >= dump.size) return;
  notify.Warning(
      Format(u"The dump file has %s bytes, but the disk of the repositories root has only %s bytes "
             u"free; the import may run out of space.",
             svn::Utf16(std::to_string(dump.size)), svn::Utf16(std::to_string(free))));
}

// Asks whether to go on for each piece, since the libraries do so only between files. A piece is
// read when the one before has been loaded; only that one is told.
svn_stream_t* ContentOf(const DumpFile& dump, IcImportDumpFileNotify* notify,
                        LongOperation& operation, const svn::Pool& pool) {
  const auto tell = [notify, &operation, loaded = std::uint64_t{0}](std::uint64_t bytes,
                                                                    std::uint64_t size) mutable {
    const std::uint64_t before = std::exchange(loaded, bytes);
    operation.Step([&] {
      if (notify && bytes > before) notify->BytesRead(before, size);
    });
  };
  svn_stream_t* stream = svn::ProgressStream::Wrap(dump.stream, dump.size, tell, pool);
  if (dump.compressed) stream = svn::GzipReadStream::Wrap(stream, pool);
  return svn::DumpInputStream::Wrap(stream, pool);
}

struct Load {
  IcImportDumpFileNotify* notify;
  LongOperation* operation;
  svn::MemoryTransactions* transactions;
};

void Forward(const Load& load, const svn_repos_notify_t& event) {
  if (event.action == svn_repos_notify_load_node_start) load.transactions->OnNode();
  if (event.action != svn_repos_notify_load_txn_committed) return;
  load.transactions->OnCommitted();
  if (load.notify) load.notify->RevisionCommitted(event.new_revision);
}

void OnNotify(void* baton, const svn_repos_notify_t* event, apr_pool_t*) {
  const Load& load = *static_cast<Load*>(baton);
  load.operation->Notify([&] { Forward(load, *event); });
}

svn::DumpReader ReaderInto(svn_repos_t* repository, Load* load, const svn::Pool& pool) {
  svn::DumpReader reader{};
  svn::Check(svn_repos_get_fs_build_parser6(
      &reader.calls, &reader.baton, repository, SVN_INVALID_REVNUM, SVN_INVALID_REVNUM, TRUE, FALSE,
      svn_repos_load_uuid_force, nullptr, FALSE, FALSE, FALSE, FALSE, OnNotify, load, pool));
  return reader;
}

void LoadInto(NewRepository& repository, const DumpFile& dump, IcImportDumpFileNotify* notify,
              LongOperation& operation) {
  const svn::Pool& pool = repository.pool();
  bool warned = false;
  const auto warn = [&](const std::u16string& text) {
    warned = true;
    if (notify) operation.Notify([&] { notify->Warning(text); });
  };
  const std::u16string folder = svn::PathFromDirent(repository.folder());
  svn_repos_t* const target = svn::CreateRepository(folder, pool, warn, svn::Flushing::kByCaller);
  svn::MemoryTransactions transactions(repository.folder(), repository.work().MakeMemoryFolder(),
                                       [&] { operation.Check(); });
  Load load{notify, &operation, &transactions};
  const svn::DumpReader reader = svn::Guarded(ReaderInto(target, &load, pool), pool);
  operation.CheckAfter(svn_repos_parse_dumpstream3(ContentOf(dump, notify, operation, pool),
                                                   reader.calls, reader.baton, FALSE,
                                                   LongOperation::AskCancelled, &operation, pool));
  transactions.Finish();
  // The libraries load without their cache of texts when that fails them, and never mend it.
  if (warned) svn::RemoveTree(svn::JoinDirent(repository.folder(), "db/rep-cache.db"), pool);
  if (const Win32Error error = platform::FlushVolume(folder)) {
    throw Win32Exception(error, u"Cannot write '%s' to the disk", folder);
  }
  if (notify) notify->BytesRead(dump.size, dump.size);
}

}  // namespace

void ImportDumpFile(const ServerContext& context, const std::u16string& name,
                    const std::u16string& dump, IcImportDumpFileNotify* notify,
                    const IcCancelCallback* cancel) {
  RequireAbsolutePath(dump);
  const svn::Pool pool(context.root_pool());
  const DumpFile file = OpenDumpFile(dump, pool);
  NewRepository repository(context, name, Prepared::kRefuse);
  if (notify) WarnOfShortage(context, file, *notify);
  LongOperation operation(cancel, kImportCancelled);
  LoadInto(repository, file, notify, operation);
  repository.WriteMissingRules();
  operation.Check();
  repository.Publish();
}

}  // namespace kelvarion::repos
