// A small home with a bit of everything and a provider on it.
//
// Everything is real but the services, which obey at once and start no process: the web server
// runs, the replication service does not, so what needs a master's answers ends there. Beside the
// home lies a folder of somebody else, into which links lead from the places where they may stand.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "fuzz/folder_image.h"
#include "fuzz/request_lines.h"
#include "platform/machine/machine.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::fuzz {

class SmallHome {
 public:
  SmallHome();
  ~SmallHome();

  const testing::ProviderHost& host() const { return *host_; }
  Places places() const { return {folder_.native(), outside_.native()}; }
  Requester requester() const { return {*host_, places()}; }
  // Where the provider may change everything: the home and the folder of temporary files.
  std::vector<std::string> own_folders() const { return {folder_.native(), temporary_.native()}; }
  // A repository of somebody else that the administrator linked into the repositories root.
  std::string linked_repository() const { return outside_.native() + "/repository"; }

  // Everything as it was at first. Aborts when something outside has been changed.
  void Reset();

 private:
  void Make();
  void Open();
  void Close();
  bool StoresChanged() const;

  testing::TemporaryFolder folder_;
  testing::TemporaryFolder outside_;
  testing::TemporaryFolder temporary_;
  std::shared_ptr<platform::Machine> machine_;
  std::unique_ptr<testing::ProviderHost> host_;
  std::unique_ptr<FolderImage> home_image_;
  std::unique_ptr<FolderImage> outside_image_;
  std::unique_ptr<FolderImage> temporary_image_;
  std::vector<struct stat> stores_;
};

}  // namespace kelvarion::fuzz
