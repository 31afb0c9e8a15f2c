#include "access/repository_settings.h"

#include <svn_error_codes.h>
#include <svn_types.h>

#include "access/authz_files.h"
#include "access/ini_document.h"
#include "access/sid.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::access {
namespace {

const std::u16string kGeneral = u"general";
const std::u16string kEnabled = u"enabled";
const std::u16string kManagers = u"managers";
const std::u16string kReplicators = u"replicators";

bool ParseSwitch(const std::u16string& word) {
  switch (svn_tristate__from_word(svn::Utf8(word).c_str())) {
    case svn_tristate_true:
      return true;
    case svn_tristate_false:
      return false;
    case svn_tristate_unknown:
      break;
  }
  svn::ThrowError(SVN_ERR_BAD_CONFIG_VALUE,
                  Format(u"Config error: invalid boolean value '%s'.", word));
}

SharedWith Read(const ServerContext& context, const std::u16string& file,
                const std::u16string& section) {
  const svn::Pool pool(context.root_pool());
  IniDocument document;
  ReadIniFile(file, document, pool);
  SharedWith settings;
  const IniSection& general = document[kGeneral];
  if (const auto word = general.find(kEnabled); word != general.end())
    settings.enabled = ParseSwitch(word->second);
  for (const auto& [sid, value] : document[section]) settings.accounts.push_back(sid);
  return settings;
}

void Write(const ServerContext& context, const std::u16string& file, const std::u16string& section,
           const SharedWith& settings) {
  const svn::Pool pool(context.root_pool());
  IniDocument document;
  document[kGeneral][kEnabled] = settings.enabled ? u"yes" : u"no";
  for (const std::u16string& sid : settings.accounts)
    document[section][ParseSidString(*context.machine().security, sid)] = u"*";
  WriteIniFile(file, document, kSettingsHeader, pool);
}

}  // namespace

SharedWith ReadDelegation(const ServerContext& context, const std::u16string& repository) {
  return Read(context, DelegationFile(context, repository), kManagers);
}

SharedWith ReadReplication(const ServerContext& context, const std::u16string& repository) {
  return Read(context, ReplicationFile(context, repository), kReplicators);
}

void WriteDelegation(const ServerContext& context, const std::u16string& repository,
                     const SharedWith& settings) {
  Write(context, DelegationFile(context, repository), kManagers, settings);
}

void WriteReplication(const ServerContext& context, const std::u16string& repository,
                      const SharedWith& settings) {
  Write(context, ReplicationFile(context, repository), kReplicators, settings);
}

}  // namespace kelvarion::access
