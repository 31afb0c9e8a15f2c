// Masters and slaves that begin as a copy of another repository. Paths are the libraries'.
#pragma once

#include <string>

#include "svn/pool.h"

struct svn_error_t;

namespace kelvarion::ormu {

struct CancelFunction {
  svn_error_t* (*function)(void* baton);
  void* baton;
};

// What of a repository's settings comes along.
struct ImportedSettings {
  bool permissions;
  bool delegation;
  bool hooks;
};

// As ormu_spawn_slave and ormu_import_master; failures throw SvnException.
void SpawnSlave(const std::string& destination, const std::string& master_uri,
                const std::string& master, CancelFunction cancel, const svn::Pool& scratch);
void ImportMaster(const std::string& path, const std::string& source, ImportedSettings settings,
                  CancelFunction cancel, const svn::Pool& scratch);

}  // namespace kelvarion::ormu
