#include "svn/commit.h"

#include <svn_fs.h>
#include <svn_props.h>
#include <svn_repos.h>
#include <svn_subst.h>

#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::svn {
namespace {

std::string WithPlainLineEnds(const std::u16string& message, const Pool& pool) {
  const char* translated = nullptr;
  Check(svn_subst_translate_cstring2(Utf8(message).c_str(), &translated, "\n", FALSE, nullptr,
                                     FALSE, pool));
  return translated;
}

void SetProperty(svn_fs_txn_t* transaction, const char* name, const std::string& value,
                 const Pool& pool) {
  const svn_string_t text{value.data(), value.size()};
  Check(svn_repos_fs_change_txn_prop(transaction, name, &text, pool));
}

void Commit(svn_fs_txn_t* transaction, const WarningSink& warnings, const Pool& pool) {
  const char* conflict = nullptr;
  svn_revnum_t revision = SVN_INVALID_REVNUM;
  try {
    Check(svn_fs_commit_txn(&conflict, &revision, transaction, pool));
  } catch (const SvnException& failure) {
    if (!SVN_IS_VALID_REVNUM(revision)) throw;
    if (warnings) warnings(failure.FullText());
  }
}

}  // namespace

void CommitChange(svn_repos_t* repository, const std::string& author, const std::u16string& message,
                  const TreeChange& change, const WarningSink& warnings, const Pool& parent) {
  const Pool pool(parent);
  const std::string log = WithPlainLineEnds(message, pool);
  svn_fs_t* const fs = svn_repos_fs(repository);
  svn_revnum_t youngest = SVN_INVALID_REVNUM;
  Check(svn_fs_youngest_rev(&youngest, fs, pool));
  svn_fs_txn_t* transaction = nullptr;
  Check(svn_fs_begin_txn2(&transaction, fs, youngest, 0, pool));
  try {
    SetProperty(transaction, SVN_PROP_REVISION_AUTHOR, author, pool);
    SetProperty(transaction, SVN_PROP_REVISION_LOG, log, pool);
    svn_fs_root_t* root = nullptr;
    Check(svn_fs_txn_root(&root, transaction, pool));
    change(root, pool);
    Commit(transaction, warnings, pool);
  } catch (const SvnException& failure) {
    Check(svn_error_compose_create(svn_error_dup(failure.chain()),
                                   svn_fs_abort_txn(transaction, pool)));
  } catch (...) {
    Ignore(svn_fs_abort_txn(transaction, pool));  // The change's own failure says more.
    throw;
  }
}

}  // namespace kelvarion::svn
