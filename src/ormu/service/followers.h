// The slaves of a home, each with what follows its master.
#pragma once

#include <condition_variable>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "ormu/service/follower.h"
#include "svn/cancellation.h"

namespace kelvarion::ormu {

// Which slaves there are is read from the repositories root, anew with each look. Safe from any
// thread.
class Followers {
 public:
  // `root` says where the repositories lie now.
  Followers(const ServiceParts& parts, std::function<std::u16string()> root);

  // Starts following slaves that have come and stops following what has gone. Throws where the root
  // cannot be read; those who follow go on.
  void Look();
  void Wake(const std::string& name);
  // In the order of names; also slaves that nobody follows just now.
  std::vector<SlaveStatus> Status() const;
  // False when some did not end within the time; nothing may be destroyed then.
  bool Stop(std::chrono::milliseconds patience);

  // While it lives nobody follows the slave, whose folder may be changed, and no other hold of the
  // same name lives. Waits for what is going on to stop, unless cancelled. The slave is looked at
  // again afterwards.
  //
  // Who renames waits for it with the names of the root locked: so nobody waits for that lock who
  // holds a slave.
  class Hold {
   public:
    Hold(Followers& followers, std::string name, const svn::Cancellation& cancellation);
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

   private:
    Followers& followers_;
    std::string name_;
  };

 private:
  using Slaves = std::map<std::string, std::string>;  // Folders by name.

  Slaves FindSlaves() const;
  // Until it is so or somebody cancels. The lock is that of the mutex.
  void Await(std::unique_lock<std::mutex>& lock, const svn::Cancellation& cancellation,
             const std::function<bool()>& condition);

  const ServiceParts& parts_;
  const std::function<std::u16string()> root_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::set<std::string> held_;
  std::map<std::string, std::unique_ptr<Follower>> followers_;
  std::list<std::unique_ptr<Follower>> ending_;
};

}  // namespace kelvarion::ormu
