// The machine's local groups, in the home's file groups.db, and the folders opened up to them.
//
// Unix groups cannot hold groups, foreign accounts or well-known ones; so these are our own. A
// group's SID is S-1-5-21-<machine>-RID; machine is drawn by lot when the store is made. Names
// compare ignoring the case of ASCII letters. Safe from any thread and from several processes.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/com/types.h"
#include "platform/security/sid.h"
#include "platform/sqlite/sqlite.h"

namespace kelvarion::platform {

// By SID.
struct LocalGroup {
  std::string name;
  std::vector<std::string> members;
};
using LocalGroups = std::map<std::string, LocalGroup>;

class GroupStore {
 public:
  // The file is made when missing, for its owner alone (0600).
  static Win32Error Open(const std::string& path, std::unique_ptr<GroupStore>& out);

  // Success when the group exists already.
  Win32Error Create(const std::string& group);
  // NERR_GroupNotFound.
  Win32Error FindSid(const std::string& group, Sid& out) const;

  // Members are canonical SIDs, in the order they were set in, each once. NERR_GroupNotFound.
  Win32Error Members(const std::string& group, std::vector<std::string>& sids) const;
  Win32Error SetMembers(const std::string& group, const std::vector<std::string>& sids);

  // All groups as they are at one moment.
  Win32Error ReadAll(LocalGroups& out) const;

  // The groups that one of these is a member of, or that another of the groups is.
  Win32Error GroupsHolding(const std::vector<std::string>& sids, std::vector<Sid>& groups) const;

  // The folders whose access depends on who is a member.
  Win32Error SetFolder(const std::string& path, bool depends);
  Win32Error Folders(std::vector<std::string>& paths) const;

 private:
  explicit GroupStore(sqlite::Database database) : database_(std::move(database)) {}
  Win32Error Prepare();
  Sid SidOfId(std::int64_t id) const;
  Win32Error FindId(const std::string& group, std::int64_t& out) const;

  sqlite::Database database_;
  std::vector<std::uint32_t> machine_;
  mutable std::mutex mutex_;  // One connection, one statement at a time.
};

}  // namespace kelvarion::platform
