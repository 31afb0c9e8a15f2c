#include "repos/first_files.h"

#include <svn_error.h>
#include <svn_io.h>

#include <optional>

#include "access/authz_files.h"
#include "svn/atomic_file.h"
#include "svn/error.h"
#include "svn/text.h"
#include "util/server_files.h"

namespace kelvarion::repos {
namespace {

std::string InConf(const std::string& folder, std::string_view name) {
  return svn::JoinDirent(svn::JoinDirent(folder, "conf"), name);
}

void WriteIfMissing(const std::string& file, const svn::Pool& scratch) {
  svn_node_kind_t kind = svn_node_none;
  svn::Check(svn_io_check_path(file.c_str(), &kind, scratch));
  if (kind != svn_node_none) return;
  svn::ReplaceFile(svn::PathFromDirent(file), access::kAuthorizationHeader,
                   platform::NewFile::kAsFolderSays, scratch);
}

}  // namespace

void WriteMissingRules(const std::string& folder, Rules rules, const svn::Pool& scratch) {
  std::optional<SvnException> failure;
  const auto write = [&](std::string_view name) {
    try {
      WriteIfMissing(InConf(folder, name), scratch);
    } catch (const SvnException& one) {
      failure = failure ? SvnException(svn_error_compose_create(svn_error_dup(failure->chain()),
                                                                svn_error_dup(one.chain())))
                        : one;
    }
  };
  write(server_files::kSubversionRules);
  if (rules == Rules::kBoth) write(server_files::kWindowsRules);
  if (failure) throw SvnException(*failure);
}

void WriteFirstReplicationSettings(const std::string& folder, const svn::Pool& scratch) {
  svn::ReplaceFile(svn::PathFromDirent(InConf(folder, server_files::kReplication)),
                   std::string(access::kSettingsHeader) + "\r\n[general]\r\nenabled = yes\r\n",
                   platform::NewFile::kAsFolderSays, scratch);
}

}  // namespace kelvarion::repos
